#include "app/runToAnswer.h"

#include <optional>
#include <utility>

#include "app/Terminal.h"
#include "base/spawn.h"
#include "platform/posix/TerminationSignals.h"

namespace halvercine::app {
namespace {

base::Task<void> store(base::Task<Answer> command, std::optional<Answer>& answer) {
  answer = co_await std::move(command);
}

}  // namespace

Answer runToAnswer(const CommandContext& context, Machine& machine, Interruption interruption,
                   base::Task<Answer> command) {
  std::optional<Answer> answer;
  int interruptions = 0;
  base::TaskScope scope(machine.actor(), *machine.platform().systemLog);
  const platform::posix::TerminationSignals signals(machine.actor(), [&](int) {
    if (++interruptions > 1 || interruption == Interruption::cancels) {
      scope.cancelAll();
    } else {
      writeDiagnostic("halvercine: " + context.text("ui.interrupt.waiting"));
    }
  });
  scope.spawn("command", store(std::move(command), answer));
  machine.actor().runUntil([&scope] { return scope.running() == 0; });
  if (answer) return std::move(*answer);
  if (interruptions > 0) {
    return failure(context.options, ExitStatus::interrupted, "interrupted",
                   context.text("ui.interrupt.done"));
  }
  return failure(context.options, ExitStatus::failed, "internal", context.text("disk.err.unknown"));
}

}  // namespace halvercine::app

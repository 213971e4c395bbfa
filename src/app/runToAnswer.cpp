#include "app/runToAnswer.h"

#include <optional>
#include <utility>

#include "base/spawn.h"
#include "platform/posix/TerminationSignals.h"

namespace halvercine::app {
namespace {

base::Task<void> store(base::Task<Answer> command, std::optional<Answer>& answer) {
  answer = co_await std::move(command);
}

}  // namespace

Answer runToAnswer(Machine& machine, base::Task<Answer> command) {
  std::optional<Answer> answer;
  bool interrupted = false;
  base::TaskScope scope(machine.actor(), *machine.platform().systemLog);
  const platform::posix::TerminationSignals signals(machine.actor(), [&](int) {
    interrupted = true;
    scope.cancelAll();
  });
  scope.spawn("command", store(std::move(command), answer));
  machine.actor().runUntil([&scope] { return scope.running() == 0; });
  if (answer) return std::move(*answer);
  return {interrupted ? ExitStatus::interrupted : ExitStatus::failed, "", ""};
}

}  // namespace halvercine::app

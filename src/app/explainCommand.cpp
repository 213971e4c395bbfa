#include <optional>
#include <string>

#include "app/DiskSelector.h"
#include "app/commands.h"
#include "app/explanationText.h"
#include "app/gatherFacts.h"
#include "app/runToAnswer.h"
#include "app/selectionFailure.h"
#include "base/BsdName.h"
#include "disks/DiskUtility.h"

namespace halvercine::app {
namespace {

Answer answerOf(const CommandContext& context, const mount::VolumeFacts& facts) {
  const auto explanation = mount::explain(facts);
  if (!context.options.json) {
    return {ExitStatus::done, explanationText(explanation, context.localization, context.terminal),
            ""};
  }
  return jsonAnswer(context.options,
                    explanationJson(facts.disk.id, explanation, context.localization));
}

base::Task<Answer> explainDisk(const CommandContext& context, const disks::DiskUtility& utility,
                               DiskView view) {
  const auto facts = co_await gatherFacts(context, utility, std::move(view));
  co_return answerOf(context, facts);
}

/// The BSD name that the argument spells, if there is such a medium: only the list leaves it out.
std::optional<std::string> unlistedName(const CommandContext& context) {
  std::string_view name = context.options.disk;
  for (const std::string_view prefix : {"/dev/r", "/dev/"}) {
    if (!name.starts_with(prefix)) continue;
    name.remove_prefix(prefix.size());
    break;
  }
  if (!base::wholeDiskName(name) || !context.platform.mediaRegistry->media(std::string(name))) {
    return std::nullopt;
  }
  return std::string(name);
}

}  // namespace

Answer explainCommand(const CommandContext& context, Machine& machine) {
  const auto views = viewDisks(context);
  if (!views) return views.error();
  const auto selected = selectDisk(*views, context.options.disk);
  if (!selected) {
    const auto unlisted = selected.error().isAmbiguous() ? std::nullopt : unlistedName(context);
    if (unlisted) return answerOf(context, factsOfUnlisted(*unlisted));
    return selectionFailure(context, selected.error());
  }
  const disks::DiskUtility utility(*context.platform.toolRunner, *context.platform.clock,
                                   *context.platform.mediaRegistry);
  return runToAnswer(context, machine, Interruption::cancels,
                     explainDisk(context, utility, **selected));
}

}  // namespace halvercine::app

#include <boost/json/array.hpp>

#include "app/commands.h"
#include "app/listText.h"

namespace halvercine::app {

Answer listCommand(const CommandContext& context) {
  const auto views = viewDisks(context);
  if (!views) return views.error();
  if (!context.options.json) return {ExitStatus::done, listText(context, *views), ""};
  boost::json::array disks;
  disks.reserve(views->size());
  for (const auto& view : *views) disks.push_back(view.toJson(context.localization));
  return jsonAnswer(context.options, {{"disks", std::move(disks)}});
}

}  // namespace halvercine::app

#include "app/selectionFailure.h"

#include <boost/json/value_from.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include "base/BsdName.h"
#include "base/Text.h"

namespace halvercine::app {

Answer selectionFailure(const CommandContext& context, const SelectionError& error) {
  const auto& wanted = context.options.disk;
  if (error.isAmbiguous()) return ambiguity(context, wanted, error);
  return failure(context.options, ExitStatus::noSuchDisk, "disk-not-found",
                 context.text("ui.error.nodisk", {base::displayText(wanted)}));
}

Answer ambiguity(const CommandContext& context, const std::string& argument,
                 const SelectionError& error) {
  const auto names = fmt::format("{}", fmt::join(error.candidates, ", "));
  return failure(context.options, ExitStatus::usage, "disk-ambiguous",
                 context.text("ui.error.ambiguous", {base::displayText(argument), names}),
                 {{"candidates", boost::json::value_from(error.candidates)}});
}

std::optional<Answer> wholeDiskFailure(const CommandContext& context,
                                       const std::vector<DiskView>& views,
                                       const disks::Disk& disk) {
  if (disk.isMounted) return std::nullopt;
  std::vector<std::string> volumes;
  for (const auto& view : views) {
    if (view.disk.id == disk.id || base::wholeDiskName(view.disk.id) != disk.id) continue;
    volumes.push_back(view.disk.id);
  }
  if (volumes.empty()) return std::nullopt;
  const auto names = fmt::format("{}", fmt::join(volumes, ", "));
  return failure(context.options, ExitStatus::failed, "whole-disk",
                 context.text("ui.error.wholedisk", {base::displayText(disk.name), names}),
                 {{"volumes", boost::json::value_from(volumes)}});
}

}  // namespace halvercine::app

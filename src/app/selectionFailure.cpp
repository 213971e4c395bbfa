#include "app/selectionFailure.h"

#include <boost/json/array.hpp>

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
  boost::json::array candidates;
  std::string names;
  for (const auto& candidate : error.candidates) {
    candidates.emplace_back(candidate);
    names += names.empty() ? candidate : ", " + candidate;
  }
  return failure(context.options, ExitStatus::usage, "disk-ambiguous",
                 context.text("ui.error.ambiguous", {base::displayText(argument), names}),
                 {{"candidates", std::move(candidates)}});
}

std::optional<Answer> wholeDiskFailure(const CommandContext& context,
                                       const std::vector<DiskView>& views,
                                       const disks::Disk& disk) {
  boost::json::array volumes;
  std::string names;
  for (const auto& view : views) {
    if (view.disk.id == disk.id || base::wholeDiskName(view.disk.id) != disk.id) continue;
    volumes.emplace_back(view.disk.id);
    names += (names.empty() ? "" : ", ") + view.disk.id;
  }
  if (disk.isMounted || volumes.empty()) return std::nullopt;
  return failure(context.options, ExitStatus::failed, "whole-disk",
                 context.text("ui.error.wholedisk", {base::displayText(disk.name), names}),
                 {{"volumes", std::move(volumes)}});
}

}  // namespace halvercine::app

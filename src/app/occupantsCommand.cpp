#include <expected>
#include <filesystem>
#include <optional>

#include <boost/json/array.hpp>

#include "app/DiskSelector.h"
#include "app/Table.h"
#include "app/commands.h"
#include "app/runToAnswer.h"
#include "app/selectionFailure.h"
#include "base/Text.h"
#include "disks/DiskUtility.h"

namespace halvercine::app {
namespace {

Answer occupantsAnswer(const CommandContext& context,
                       const std::vector<disks::Occupant>& occupants) {
  if (context.options.json) {
    boost::json::array list;
    for (const auto& occupant : occupants) {
      list.push_back(
          {{"pid", occupant.pid}, {"command", occupant.command}, {"path", occupant.path}});
    }
    return jsonAnswer(context.options, {{"occupants", std::move(list)}});
  }
  if (occupants.empty()) return {ExitStatus::done, context.text("ui.occupants.none") + '\n', ""};
  Table table({Table::Align::right, Table::Align::left, Table::Align::left});
  table.addRow({{context.text("ui.column.pid"), Tint::quiet},
                {context.text("ui.column.command"), Tint::quiet},
                {context.text("ui.column.path"), Tint::quiet}});
  for (const auto& occupant : occupants) {
    table.addRow({std::to_string(occupant.pid), occupant.command, occupant.path});
  }
  return {ExitStatus::done, table.render(context.terminal, 0), ""};
}

/// What is to be searched: paths in their canonical spelling, and the mount points of their
/// volumes.
struct Search {
  std::vector<std::string> paths;
  std::vector<std::string> mountPaths;
};

bool isBeneath(const std::string& path, const std::string& folder) {
  return path == folder || folder == "/" || path.starts_with(folder + "/");
}

/// The mount point of a listed volume that `path` is on: the longest that leads to it.
std::optional<std::string> mountPathOf(const std::vector<DiskView>& views,
                                       const std::string& path) {
  std::optional<std::string> found;
  for (const auto& view : views) {
    const auto& mountPath = view.disk.mountPath;
    if (!mountPath || !isBeneath(path, *mountPath)) continue;
    if (!found || mountPath->size() > found->size()) found = mountPath;
  }
  return found;
}

bool isMountPath(const std::vector<DiskView>& views, const std::string& path) {
  return mountPathOf(views, path) == path;
}

/// The path as the kernel spells it, or nothing when there is none. A mount point is taken as it
/// is: a volume that does not answer must not be asked. On a simulated Mac no path is real, and
/// none relative.
std::optional<std::string> canonicalPath(const CommandContext& context,
                                         const std::vector<DiskView>& views,
                                         const std::string& path) {
  auto plain = std::filesystem::path(path).lexically_normal().string();
  if (plain.size() > 1 && plain.ends_with('/')) plain.pop_back();
  if (isMountPath(views, plain)) return plain;
  if (context.options.scenario) return path.starts_with('/') ? std::optional(plain) : std::nullopt;
  std::error_code error;
  const auto canonical = std::filesystem::canonical(path, error);
  if (error) return std::nullopt;
  return canonical.string();
}

/// Where the volume is mounted that `argument` names in the way of every other command.
std::expected<std::string, Answer> mountPathOfDisk(const CommandContext& context,
                                                   const std::vector<DiskView>& views,
                                                   const std::string& argument) {
  const auto selected = selectDisk(views, argument);
  if (!selected) {
    return std::unexpected(
        selected.error().isAmbiguous()
            ? ambiguity(context, argument, selected.error())
            : failure(context.options, ExitStatus::failed, "no-such-path",
                      context.text("ui.error.nopath", {base::displayText(argument)})));
  }
  const auto& disk = (*selected)->disk;
  if (disk.mountPath) return *disk.mountPath;
  if (auto whole = wholeDiskFailure(context, views, disk)) return std::unexpected(*whole);
  return std::unexpected(
      failure(context.options, ExitStatus::failed, "not-mounted",
              context.text("ui.error.notmounted", {base::displayText(disk.name)})));
}

std::expected<Search, Answer> prepare(const CommandContext& context) {
  auto views = viewDisks(context);
  if (!views) return std::unexpected(std::move(views.error()));
  Search search;
  for (const auto& path : context.options.paths) {
    // A listed device stands for its volume: nothing is beneath the node itself.
    const bool isDevice = path.starts_with("/dev/") && selectDisk(*views, path);
    const auto canonical = isDevice ? std::nullopt : canonicalPath(context, *views, path);
    auto found = canonical ? std::expected<std::string, Answer>(*canonical)
                           : mountPathOfDisk(context, *views, path);
    if (!found) return std::unexpected(std::move(found.error()));
    search.mountPaths.push_back(mountPathOf(*views, *found).value_or(*found));
    search.paths.push_back(std::move(*found));
  }
  return search;
}

base::Task<Answer> findOccupants(const CommandContext& context, const disks::DiskUtility& utility,
                                 Search search) {
  const auto occupants = co_await utility.occupantsBeneath(search.paths, search.mountPaths);
  co_return occupantsAnswer(context, occupants);
}

}  // namespace

Answer occupantsCommand(const CommandContext& context, Machine& machine) {
  auto search = prepare(context);
  if (!search) return std::move(search.error());
  const disks::DiskUtility utility(*context.platform.toolRunner, *context.platform.clock,
                                   *context.platform.mediaRegistry);
  return runToAnswer(context, machine, Interruption::cancels,
                     findOccupants(context, utility, std::move(*search)));
}

}  // namespace halvercine::app

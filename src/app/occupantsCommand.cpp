#include <boost/json/array.hpp>

#include "app/Table.h"
#include "app/commands.h"
#include "app/runToAnswer.h"
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

base::Task<Answer> findOccupants(const CommandContext& context, const disks::DiskUtility& utility) {
  const auto occupants = co_await utility.volumeOccupants(context.options.paths);
  co_return occupantsAnswer(context, occupants);
}

}  // namespace

Answer occupantsCommand(const CommandContext& context, Machine& machine) {
  const disks::DiskUtility utility(*context.platform.toolRunner, *context.platform.clock,
                                   *context.platform.mediaRegistry);
  return runToAnswer(machine, findOccupants(context, utility));
}

}  // namespace halvercine::app

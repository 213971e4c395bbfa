#include <boost/json/array.hpp>

#include "app/Table.h"
#include "app/commands.h"
#include "base/Json.h"
#include "mount/ThirdPartyDriver.h"

namespace halvercine::app {
namespace {

std::string_view kindKey(mount::ThirdPartyDriver::Kind kind) {
  switch (kind) {
    case mount::ThirdPartyDriver::Kind::file:
      return "ui.driver.file";
    case mount::ThirdPartyDriver::Kind::fskitModule:
      return "ui.driver.module";
    case mount::ThirdPartyDriver::Kind::launchDaemon:
      return "ui.driver.daemon";
  }
  return "";
}

}  // namespace

Answer driversCommand(const CommandContext& context) {
  const auto drivers = mount::detectThirdPartyDrivers(*context.platform.containers);
  if (context.options.json) {
    boost::json::array list;
    for (const auto& driver : drivers) list.push_back(base::toJson(driver));
    return jsonAnswer(context.options, {{"drivers", std::move(list)}});
  }
  if (drivers.empty()) return {ExitStatus::done, context.text("ui.drivers.none") + '\n', ""};
  Table table({Table::Align::left, Table::Align::left, Table::Align::left});
  for (const auto& driver : drivers) {
    table.addRow({driver.name, {context.text(kindKey(driver.kind)), Tint::quiet}, driver.path});
  }
  return {ExitStatus::done, table.render(context.terminal, 0), ""};
}

}  // namespace halvercine::app

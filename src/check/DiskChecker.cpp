#include "check/DiskChecker.h"

#include <memory>
#include <utility>

#include "base/ShellQuoting.h"
#include "base/runAsAdministrator.h"
#include "base/runInBackground.h"
#include "check/CheckOutput.h"

namespace halvercine::check {
namespace {

constexpr std::string_view toolMissing = "fsck_halvercine not found in app bundle";

}  // namespace

std::string checkToolCommand(std::string_view toolPath, std::string_view bsdName, bool isRepair) {
  auto command = base::shellQuote(toolPath);
  command += isRepair ? " -y " : " -n ";
  command += base::shellQuote("/dev/r" + std::string(bsdName));
  command += "; echo \"";
  command += exitMarker;
  command += ":$?\"";
  return command;
}

base::Task<CheckOutcome> DiskChecker::run(std::string bsdName, bool isRepair) {
  const auto tool = containers_.bundleResource(std::string(checkToolName));
  if (!tool) co_return CheckFailed{std::string(toolMissing)};
  auto failedText = localization_.text("check.report.failed");
  // A command line ends at a zero byte: the tool would be run on something else.
  if (bsdName.find('\0') != std::string::npos) co_return CheckFailed{std::move(failedText)};
  auto command = checkToolCommand(tool->string(), bsdName, isRepair);
  const auto result = std::make_shared<platform::AdministratorResult>();
  *result = co_await base::runAsAdministrator(shell_, std::move(command));
  auto read = [result, failedText] {
    const auto taken = std::move(*result);  // large: freed where it is read, not on the actor
    return readCheckOutput(taken, failedText);
  };
  co_return co_await base::runInBackground(actor_, read);
}

}  // namespace halvercine::check

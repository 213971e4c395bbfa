// The commands, one function each: facts in, answer out.
#pragma once

#include <expected>
#include <vector>

#include "app/Answer.h"
#include "app/DiskView.h"
#include "app/Machine.h"
#include "app/Options.h"
#include "app/Terminal.h"
#include "base/Localization.h"
#include "platform/Platform.h"

namespace halvercine::app {

/// What a command works with.
struct CommandContext {
  const Options& options;
  const base::Localization& localization;
  const platform::Platform& platform;
  const Terminal& terminal;

  std::string text(std::string_view key, const std::vector<std::string>& arguments = {}) const {
    return localization.text(key, arguments);
  }
};

/// All disks that are to be listed, in display order; the failure to answer with when the disk
/// arbitration service cannot be reached.
std::expected<std::vector<DiskView>, Answer> viewDisks(const CommandContext& context);

/// The failure of every command that needs the disk arbitration service when there is none.
Answer arbitrationFailure(const CommandContext& context);

Answer listCommand(const CommandContext& context);
Answer infoCommand(const CommandContext& context, Machine& machine);
Answer explainCommand(const CommandContext& context, Machine& machine);
Answer mountCommand(const CommandContext& context, Machine& machine);
Answer unmountCommand(const CommandContext& context, Machine& machine);
Answer occupantsCommand(const CommandContext& context, Machine& machine);
Answer driversCommand(const CommandContext& context);
Answer logCommand(const CommandContext& context);
Answer checkCommand(const CommandContext& context, Machine& machine);
Answer helperCommand(const CommandContext& context, Machine& machine);
Answer watchCommand(const CommandContext& context, Machine& machine);
Answer runCommand(const CommandContext& context, Machine& machine);
Answer takeoverCommand(const CommandContext& context, Machine& machine);
Answer speedtestCommand(const CommandContext& context, Machine& machine);
Answer unlockCommand(const CommandContext& context, Machine& machine);
Answer versionCommand(const Options& options);

}  // namespace halvercine::app

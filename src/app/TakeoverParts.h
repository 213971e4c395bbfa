// What the commands that take volumes over are made of.
#pragma once

#include "app/Machine.h"
#include "app/commands.h"
#include "disks/DiskMonitor.h"
#include "disks/DiskUtility.h"
#include "mount/reasons/ManualUnmountRegistry.h"
#include "mount/takeover/VolumeTakeover.h"
#include "operations/OperationLog.h"

namespace halvercine::app {

/// The monitor and everything beside it, wired up. Main actor.
struct TakeoverParts {
  TakeoverParts(const CommandContext& ofCommand, Machine& ofMachine);
  TakeoverParts(const TakeoverParts&) = delete;
  TakeoverParts& operator=(const TakeoverParts&) = delete;

  /// It refers to the parts.
  mount::TakeoverContext context();

  const CommandContext& command;
  Machine& machine;
  disks::DiskMonitor monitor;
  disks::DiskUtility utility;
  mount::ManualUnmountRegistry registry;
  operations::OperationLog log;
};

}  // namespace halvercine::app

// What is said when the disk tool has failed.
#pragma once

#include <string>

#include "app/Answer.h"
#include "app/commands.h"
#include "base/Task.h"
#include "disks/Disk.h"
#include "disks/DiskUtility.h"

namespace halvercine::app {

/// The failure behind a text of the disk tool: its localized text, under it the tool's own words,
/// and who is in the way, which is looked up now.
base::Task<Answer> toolFailure(const CommandContext& context, const disks::DiskUtility& utility,
                               disks::Disk disk, std::string toolText);

}  // namespace halvercine::app

// Finding out what there is to know of one disk.
#pragma once

#include <string>

#include "app/DiskView.h"
#include "app/commands.h"
#include "base/Task.h"
#include "disks/DiskUtility.h"
#include "mount/explanation/VolumeFacts.h"

namespace halvercine::app {

/// The facts of a listed disk. Each tool that is asked has its limit; one that gives no answer by
/// then leaves its fact unknown. The disk is looked at again afterwards, so that what is said is of
/// one moment. Context and utility outlive the task.
base::Task<mount::VolumeFacts> gatherFacts(const CommandContext& context,
                                           const disks::DiskUtility& utility, DiskView view);

/// The facts of a disk that is there and not listed: system volumes and disk images.
mount::VolumeFacts factsOfUnlisted(const std::string& bsdName);

}  // namespace halvercine::app

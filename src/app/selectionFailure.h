// Saying that an argument names no disk, or not the kind that is needed.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/Answer.h"
#include "app/DiskSelector.h"
#include "app/commands.h"

namespace halvercine::app {

/// Of the DISK argument.
Answer selectionFailure(const CommandContext& context, const SelectionError& error);

/// Of `argument`, which fits several disks.
Answer ambiguity(const CommandContext& context, const std::string& argument,
                 const SelectionError& error);

/// Of a disk that is there for the volumes on it. One without partitions is a volume itself.
std::optional<Answer> wholeDiskFailure(const CommandContext& context,
                                       const std::vector<DiskView>& views, const disks::Disk& disk);

}  // namespace halvercine::app

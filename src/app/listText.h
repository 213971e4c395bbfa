// The list of disks for people.
#pragma once

#include <string>
#include <vector>

#include "app/DiskView.h"
#include "app/commands.h"

namespace halvercine::app {

/// The disks as aligned tables, NTFS volumes first, or what there is to say when there are none.
std::string listText(const CommandContext& context, const std::vector<DiskView>& views);

}  // namespace halvercine::app

// The user's list of enabled file-system modules.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace halvercine::mount {

/// The identifiers of the enabled modules in a settings file ("enabledModules.plist", XML or
/// binary), in its order; none when it cannot be understood.
///
/// The system writes a list of identifiers. Dictionaries from identifiers to a flag, or to settings
/// with a flag "enabled", are understood too, in the order of the identifiers: the format is the
/// system's own business and may grow states.
std::vector<std::string> enabledModules(std::string_view propertyList);

}  // namespace halvercine::mount

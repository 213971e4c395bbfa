// The user's list of enabled file-system modules.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Containers.h"

namespace halvercine::mount {

/// The identifiers of the enabled modules in a settings file ("enabledModules.plist", XML or
/// binary), in its order; none when it cannot be understood.
///
/// The system writes a list of identifiers. Dictionaries from identifiers to a flag, or to settings
/// with a flag "enabled", are understood too, in the order of the identifiers: the format is the
/// system's own business and may grow states.
std::vector<std::string> enabledModules(std::string_view propertyList);

/// The same for the user's own settings file; nothing when there is none that can be read now. The
/// system asks the user before it lets the file be read, which nobody waits for. Any thread.
std::optional<std::vector<std::string>> enabledModules(platform::Containers& containers);

/// The identifier of this product's file-system module.
inline constexpr std::string_view ownModule = "com.halvercine.app.fsmodule";

/// Whether this product's module may serve volumes. Nothing speaks against it where the system
/// keeps no such list.
bool isModuleAuthorized(platform::Containers& containers);

}  // namespace halvercine::mount

// The texts of the one-click installation, and nothing that runs them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace halvercine::helper {

/// The launch daemon's property list; nothing when a text cannot stand in one.
std::optional<std::string> daemonPropertyList(std::string_view executable,
                                              std::string_view bundleIdentifier);

/// The script that replaces the daemon by one with this property list, and starts it.
std::string installScript(std::string_view propertyList);

/// The administrator's command that runs the script at `scriptPath`, whose text is `script`.
/// Anybody who runs as the user can change that file until the prompt has been answered: so root
/// makes a copy in a new folder of its own at `privateFolder`, compares the copy with the text, and
/// runs the copy. Another text, and a folder that is there already, fail without running anything.
/// A script that fails leaves no property list: half of one would keep the system from registering
/// the helper.
std::string verifiedRun(std::string_view script, std::string_view scriptPath,
                        std::string_view privateFolder);

}  // namespace halvercine::helper

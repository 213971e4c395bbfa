#include "helper/installScript.h"

#include <fmt/format.h>

#include "base/ShellQuoting.h"
#include "base/base64.h"
#include "base/writePropertyList.h"
#include "helper/HelperClient.h"
#include "helper/HelperRegistration.h"

namespace halvercine::helper {

std::optional<std::string> daemonPropertyList(std::string_view executable,
                                              std::string_view bundleIdentifier) {
  const std::string label(helperLabel);
  const platform::PropertyArray bundles{std::string(bundleIdentifier)};
  const platform::PropertyDictionary services{{label, true}};
  const base::OrderedProperties properties{{"Label", label},
                                           {"Program", std::string(executable)},
                                           {"AssociatedBundleIdentifiers", bundles},
                                           {"MachServices", services},
                                           {"RunAtLoad", false}};
  return base::writeXmlPropertyList(properties);
}

std::string installScript(std::string_view propertyList) {
  return fmt::format(R"(#!/bin/sh
P="{0}"
/bin/launchctl bootout system/{1} 2>/dev/null || true
echo '{2}' | /usr/bin/base64 -D > "$P" || exit 1
/usr/sbin/chown root:wheel "$P" || exit 1
/bin/chmod 644 "$P" || exit 1
/bin/launchctl bootstrap system "$P" || {{ /bin/rm -f "$P"; exit 1; }}
)",
                     oneClickPropertyList, helperLabel, base::base64Encoded(propertyList));
}

std::string verifiedRun(std::string_view script, std::string_view scriptPath,
                        std::string_view privateFolder) {
  const auto folder = base::shellQuote(privateFolder);
  const auto copy = base::shellQuote(std::string(privateFolder) + "/install");
  return fmt::format(
      "/bin/mkdir -m 700 {0} || exit 1; "
      "/bin/cp {1} {2} && /usr/sbin/chown root:wheel {2} && /bin/chmod 700 {2} && "
      "{{ echo '{3}' | /usr/bin/base64 -D | /usr/bin/cmp -s - {2} || "
      "{{ echo 'the installation script was changed before it ran' >&2; false; }}; }} && "
      "{{ {2} || {{ /bin/rm -f '{4}'; false; }}; }}; "
      "S=$?; /bin/rm -rf {0}; exit $S",
      folder, base::shellQuote(scriptPath), copy, base::base64Encoded(script),
      oneClickPropertyList);
}

}  // namespace halvercine::helper

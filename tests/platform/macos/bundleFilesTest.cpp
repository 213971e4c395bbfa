// What the bundle says of itself has to agree with what the program asks the system for.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "base/PropertyList.h"
#include "base/SharedGroup.h"

namespace halvercine::tests {
namespace {

using platform::PropertyDictionary;
using platform::PropertyValue;

const std::filesystem::path packaging = HALVERCINE_PACKAGING;

PropertyDictionary dictionary(const std::string& name) {
  std::ifstream file(packaging / name, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  const auto value = base::parsePropertyList(text);
  const auto* found = value ? value->as<PropertyDictionary>() : nullptr;
  if (found == nullptr) ADD_FAILURE() << name << " is no property list of a dictionary";
  return found ? *found : PropertyDictionary();
}

PropertyValue list(const PropertyValue& only) { return platform::PropertyArray{only}; }

TEST(BundleFilesTest, theEntitlementsNameTheSharedContainer) {
  const auto entitlements = dictionary("Halvercine.entitlements");
  EXPECT_EQ(entitlements.at("com.apple.security.application-groups"),
            list(std::string(base::sharedGroup)));
}

TEST(BundleFilesTest, theDaemonIsFoundUnderTheNameOfItsFile) {
  const std::string label = "com.halvercine.app.authhelper";
  const auto daemon = dictionary(label + ".plist");
  EXPECT_EQ(daemon.at("Label"), PropertyValue(label));
  EXPECT_EQ(daemon.at("MachServices"), PropertyValue(PropertyDictionary{{label, true}}));
  EXPECT_EQ(daemon.at("BundleProgram"), PropertyValue("Contents/MacOS/halvercine-helper"));
  EXPECT_EQ(daemon.at("AssociatedBundleIdentifiers"),
            list(dictionary("Info.plist.in").at("CFBundleIdentifier")));
}

}  // namespace
}  // namespace halvercine::tests

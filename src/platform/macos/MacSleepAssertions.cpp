#include "platform/macos/MacSleepAssertions.h"

#include <utility>

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOReturn.h>
#if __has_include(<IOKit/pwr_mgt/IOPMLib.h>)
#include <IOKit/pwr_mgt/IOPMLib.h>
#else  // some sets of headers lack it
using IOPMAssertionID = std::uint32_t;
using IOPMAssertionLevel = std::uint32_t;
inline constexpr IOPMAssertionID kIOPMNullAssertionID = 0;
inline constexpr IOPMAssertionLevel kIOPMAssertionLevelOn = 255;
extern "C" IOReturn IOPMAssertionCreateWithName(CFStringRef type, IOPMAssertionLevel level,
                                                CFStringRef name, IOPMAssertionID* assertion);
extern "C" IOReturn IOPMAssertionRelease(IOPMAssertionID assertion);
#endif

#include "platform/macos/ScopedRef.h"
#include "platform/macos/systemText.h"

namespace halvercine::platform::macos {
namespace {

struct AssertionTraits {
  using Element = IOPMAssertionID;
  static constexpr Element none() { return kIOPMNullAssertionID; }
  static void release(Element assertion) { IOPMAssertionRelease(assertion); }
};
using ScopedAssertion = ScopedRef<AssertionTraits>;

class MacSleepAssertion : public SleepAssertion {
 public:
  explicit MacSleepAssertion(ScopedAssertion assertion) : assertion_(std::move(assertion)) {}

 private:
  ScopedAssertion assertion_;
};

}  // namespace

std::unique_ptr<SleepAssertion> MacSleepAssertions::take(const std::string& type,
                                                         const std::string& name) {
  const auto systemType = systemText(type);
  const auto systemName = systemText(name);
  ScopedAssertion assertion;
  if (!systemType || !systemName ||
      IOPMAssertionCreateWithName(systemType.get(), kIOPMAssertionLevelOn, systemName.get(),
                                  assertion.out()) != kIOReturnSuccess ||
      !assertion) {
    return nullptr;
  }
  return std::make_unique<MacSleepAssertion>(std::move(assertion));
}

}  // namespace halvercine::platform::macos

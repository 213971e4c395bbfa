#include "app/DiskEvents.h"

#include <gtest/gtest.h>

namespace halvercine::app {
namespace {

DiskView view(const std::string& id, std::uint64_t deviceId, std::int64_t available = 0) {
  DiskView made;
  made.disk.id = id;
  made.disk.available = available;
  made.deviceId = deviceId;
  return made;
}

TEST(DiskEventsTest, AnotherDeviceUnderTheSameNameWentAndCame) {
  const auto events = eventsBetween({view("disk4", 1), view("disk5", 2), view("disk6", 3, 10)},
                                    {view("disk4", 9), view("disk6", 3, 11), view("disk7", 4)});
  std::vector<std::pair<DiskEventKind, std::string>> found;
  for (const auto& event : events) found.emplace_back(event.kind, event.view.disk.id);
  using Kind = DiskEventKind;
  EXPECT_EQ(found, (std::vector<std::pair<Kind, std::string>>{{Kind::disappeared, "disk4"},
                                                              {Kind::disappeared, "disk5"},
                                                              {Kind::appeared, "disk4"},
                                                              {Kind::changed, "disk6"},
                                                              {Kind::appeared, "disk7"}}));
}

}  // namespace
}  // namespace halvercine::app

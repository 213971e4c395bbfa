#include "app/DiskSelector.h"

#include <gtest/gtest.h>

namespace halvercine::app {
namespace {

DiskView view(const std::string& id, const std::string& name, const std::string& node = "") {
  DiskView made;
  made.disk.id = id;
  made.disk.name = name;
  made.deviceNode = node.empty() ? "/dev/" + id : node;
  return made;
}

TEST(DiskSelectorTest, FirstWayThatFitsWins) {
  std::vector<DiskView> disks = {
      view("disk4s1", "disk5s1"),      view("disk5s1", "Cafe\xCC\x81"),
      view("disk6s1", "twin"),         view("disk7s1", "twin", "/dev/null"),
      view("disk8s1", "/dev/disk9s1"), view("disk10s1", "a/b")};
  disks[1].disk.volumeUUID = "ABCDEF01-2345-4789-ABCD-EF0123456789";
  disks[2].disk.mountPath = "/Volumes/T W/I\nN";
  struct Row {
    const char* argument;
    const char* id;  // "" for none
  };
  for (const auto& row :
       {Row{"disk5s1", "disk5s1"}, Row{"/dev/disk4s1", "disk4s1"}, Row{"/dev/rdisk4s1", "disk4s1"},
        Row{"/dev/null", "disk7s1"}, Row{"abcdef01-2345-4789-abcd-ef0123456789", "disk5s1"},
        Row{"/Volumes/T W/I\nN/", "disk6s1"}, Row{"Caf\xC3\xA9", "disk5s1"},
        Row{"/dev/disk9s1", ""}, Row{"a/b", "disk10s1"}, Row{"disk4", ""}, Row{"", ""},
        Row{"/", ""}, Row{"TWIN", ""}}) {
    const auto selected = selectDisk(disks, row.argument);
    EXPECT_EQ(selected ? (*selected)->disk.id : "", row.id) << row.argument;
    EXPECT_FALSE(!selected && selected.error().isAmbiguous()) << row.argument;
  }
  EXPECT_EQ(selectDisk(disks, "twin").error().candidates,
            (std::vector<std::string>{"disk6s1", "disk7s1"}));
}

}  // namespace
}  // namespace halvercine::app

#include "mount/reasons/PersonalityProbe.h"

#include <gtest/gtest.h>

namespace halvercine::mount {
namespace {

using Owner = PersonalityProbe::Owner;

TEST(PersonalityProbeTest, TellsWhoseDriverItIs) {
  const struct {
    const char* info;
    Owner owner;
    const char* driver;
  } cases[] = {
      {"   File System Personality:  NTFS\n", Owner::system, ""},
      {"   File System Personality:  nTfS  \r\n", Owner::system, ""},
      {"File System Personality: NTFS 3.1", Owner::thirdParty, "NTFS 3.1"},
      {"   File System Personality:   ufsd_NTFS\n", Owner::thirdParty, "Paragon NTFS"},
      {"   File System Personality:   Tuxera NTFS", Owner::thirdParty, "Tuxera NTFS"},
      {"   File System Personality:   PARAGON ntfs", Owner::thirdParty, "Paragon NTFS"},
      {"   File System Personality:   iBoySoft_NTFS", Owner::thirdParty, "iBoysoft NTFS"},
      {"   File System Personality:   Mounty NTFS: fast", Owner::thirdParty, "Mounty NTFS: fast"},
      {"Old File System Personality: My NTFS", Owner::thirdParty, "my ntfs"},
      {"   File System Personality:   Halvercine NTFS", Owner::ownEngine, ""},
      {"   File System Personality:   tarnwel-ntfs", Owner::ownEngine, ""},
      {"   File System Personality:   Halvercine", Owner::none, ""},
      {"   File System Personality:   ExFAT\n   File System Personality:   Tuxera NTFS",
       Owner::none, ""},
      {"   File System Personality without a colon\n", Owner::none, ""},
      {"Could not find disk: /dev/disk4s1", Owner::none, ""},
      {"", Owner::none, ""},
  };
  for (const auto& [info, owner, driver] : cases) {
    EXPECT_EQ(PersonalityProbe::of(info), (PersonalityProbe{owner, driver})) << info;
  }
}

}  // namespace
}  // namespace halvercine::mount

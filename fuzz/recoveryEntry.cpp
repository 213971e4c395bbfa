// What somebody types or pastes where a recovery password is asked for. What is shown is read again
// as the same, and an entry is valid just when nothing is wrong with it.
#include "bitlocker/unlock/RecoveryEntry.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "require.h"

using namespace halvercine;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const bitlocker::RecoveryEntry entry({reinterpret_cast<const char*>(data), size});
  fuzz::require(entry.isValid() == entry.faults().empty(), "a fault or none");
  const auto grouped = entry.grouped();
  const bitlocker::RecoveryEntry again(grouped.reveal());
  fuzz::require(again.grouped() == grouped && again.size() == entry.size(), "not the same");
  fuzz::require(again.wrongGroups() == entry.wrongGroups(), "other groups");
  return 0;
}

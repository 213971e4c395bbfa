#include "speedtest/SpeedProfile.h"

namespace halvercine::speedtest {

AccessPattern accessPattern(SpeedProfile profile) {
  constexpr std::size_t page = 4'096;
  switch (profile) {
    case SpeedProfile::seq1mQ8:
      return {mebibyte, 8, false};
    case SpeedProfile::seq1mQ1:
      return {mebibyte, 1, false};
    case SpeedProfile::rnd4kQ32:
      return {page, 32, true};
    case SpeedProfile::rnd4kQ1:
      return {page, 1, true};
  }
  return {};
}

}  // namespace halvercine::speedtest

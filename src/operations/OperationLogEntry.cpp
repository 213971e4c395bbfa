#include "operations/OperationLogEntry.h"

#include <algorithm>
#include <cmath>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include "base/Text.h"

namespace halvercine::operations {
namespace {

constexpr std::int64_t secondsUntil2001 = 978'307'200;
constexpr std::size_t longestText = 4096;  // bytes

// The first second of the year 1 and the last of 9999, counted from 1970.
constexpr double firstSecond = -62'135'596'800.0;
constexpr double lastSecond = 253'402'300'799.0;

std::string storable(std::string_view text) {
  auto valid = base::repairedUtf8(text);
  if (valid.size() <= longestText) return valid;
  auto end = longestText;
  const auto continues = [&valid](std::size_t at) {
    return (static_cast<unsigned char>(valid[at]) & 0xC0U) == 0x80U;
  };
  while (continues(end)) --end;
  valid.resize(end);
  return valid += "…";
}

}  // namespace

OperationLogEntry makeEntry(platform::WallTime time, std::string_view category,
                            std::string_view message) {
  static boost::uuids::random_generator generator;
  OperationLogEntry entry;
  entry.id = boost::algorithm::to_upper_copy(to_string(generator()));
  entry.time = platform::secondsSince1970(time - std::chrono::seconds(secondsUntil2001));
  entry.category = storable(category);
  entry.message = storable(message);
  return entry;
}

EntryTime entryTime(const OperationLogEntry& entry) {
  constexpr int perSecond = 1000;
  const double since1970 =
      std::clamp(entry.time + double{secondsUntil2001}, firstSecond, lastSecond);
  const double second = std::floor(since1970);
  const int milliseconds = static_cast<int>((since1970 - second) * perSecond);
  return {static_cast<std::int64_t>(second), std::min(milliseconds, perSecond - 1)};
}

}  // namespace halvercine::operations

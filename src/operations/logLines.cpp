#include "operations/logLines.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>

#include "base/Json.h"
#include "base/Text.h"

namespace halvercine::operations {
namespace {

// Several times what the longest texts that are added come to.
constexpr std::size_t longestLine = 64 * 1024;

bool isUuid(std::string_view text) {
  constexpr std::string_view shape = "00000000-0000-0000-0000-000000000000";
  const auto fits = [](char character, char expected) {
    if (expected == '-') return character == '-';
    return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'F');
  };
  return std::equal(text.begin(), text.end(), shape.begin(), shape.end(), fits);
}

std::optional<OperationLogEntry> decodeLine(std::string_view line) {
  if (line.empty() || line.size() > longestLine) return std::nullopt;
  auto entry = base::decodeJson<OperationLogEntry>(line);
  if (!entry) return std::nullopt;
  entry->id = base::asciiUppered(entry->id);
  if (!isUuid(entry->id)) return std::nullopt;
  return std::move(*entry);
}

}  // namespace

std::optional<std::string> encodeLine(const OperationLogEntry& entry) {
  if (!std::isfinite(entry.time) || !base::isUtf8(entry.category) || !base::isUtf8(entry.message)) {
    return std::nullopt;
  }
  return base::encodeJson(entry) += '\n';
}

std::vector<OperationLogEntry> decodeLines(std::string_view text, std::size_t most) {
  std::vector<OperationLogEntry> entries;
  std::unordered_set<std::string> known;
  // From the end: of a file that is too long the newest count.
  while (!text.empty() && entries.size() < most) {
    const auto before = text.rfind('\n');
    const auto start = before == std::string_view::npos ? 0 : before + 1;
    auto entry = decodeLine(text.substr(start));
    if (entry && known.insert(entry->id).second) entries.push_back(std::move(*entry));
    text = text.substr(0, start == 0 ? 0 : before);
  }
  std::reverse(entries.begin(), entries.end());
  return entries;
}

}  // namespace halvercine::operations

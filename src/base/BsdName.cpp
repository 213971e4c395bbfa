#include "base/BsdName.h"

#include <algorithm>

namespace halvercine::base {
namespace {

constexpr std::string_view prefix = "disk";

bool isDigit(char character) { return character >= '0' && character <= '9'; }

std::size_t digitsAt(std::string_view text, std::size_t from) {
  const auto end =
      std::find_if_not(text.begin() + static_cast<std::ptrdiff_t>(from), text.end(), isDigit);
  return static_cast<std::size_t>(end - text.begin()) - from;
}

}  // namespace

bool isPartitionName(std::string_view name) {
  const auto whole = wholeDiskName(name);
  if (!whole || name.size() == whole->size() || name[whole->size()] != 's') return false;
  const auto numberAt = whole->size() + 1;
  return numberAt < name.size() && numberAt + digitsAt(name, numberAt) == name.size();
}

std::optional<std::string> wholeDiskName(std::string_view name) {
  if (!name.starts_with(prefix)) return std::nullopt;
  const auto digits = digitsAt(name, prefix.size());
  if (digits == 0) return std::nullopt;
  return std::string(name.substr(0, prefix.size() + digits));
}

std::string_view partitionSuffix(std::string_view name) {
  const auto lastOther = name.find_last_not_of("0123456789");
  if (lastOther == std::string_view::npos || name[lastOther] != 's' ||
      lastOther + 1 == name.size()) {
    return {};
  }
  return name.substr(lastOther);
}

std::string devicePath(std::string_view name) { return "/dev/" + std::string(name); }

bool comesBefore(std::string_view left, std::string_view right) {
  while (!left.empty() && !right.empty()) {
    const auto leftDigits = digitsAt(left, 0);
    const auto rightDigits = digitsAt(right, 0);
    if (leftDigits > 0 && rightDigits > 0) {
      auto leftNumber = left.substr(0, leftDigits);
      auto rightNumber = right.substr(0, rightDigits);
      leftNumber.remove_prefix(std::min(leftNumber.find_first_not_of('0'), leftNumber.size()));
      rightNumber.remove_prefix(std::min(rightNumber.find_first_not_of('0'), rightNumber.size()));
      if (leftNumber.size() != rightNumber.size()) return leftNumber.size() < rightNumber.size();
      if (leftNumber != rightNumber) return leftNumber < rightNumber;
      left.remove_prefix(leftDigits);
      right.remove_prefix(rightDigits);
      continue;
    }
    if (left.front() != right.front()) return left.front() < right.front();
    left.remove_prefix(1);
    right.remove_prefix(1);
  }
  return left.size() < right.size();
}

}  // namespace halvercine::base

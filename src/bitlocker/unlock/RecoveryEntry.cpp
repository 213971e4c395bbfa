#include "bitlocker/unlock/RecoveryEntry.h"

#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "base/Text.h"

namespace halvercine::bitlocker {
namespace {

constexpr int divisor = 11;

int valueOf(std::string_view group) {
  int value = 0;
  for (const char digit : group) value = value * 10 + (digit - '0');
  return value;
}

}  // namespace

RecoveryEntry::RecoveryEntry(std::string_view text) {
  std::string digits;
  digits.reserve(text.size());  // a text that grows leaves copies of itself behind
  base::forEachNumber(text, [&](std::optional<int> digit) {
    if (digit) {
      digits += static_cast<char>('0' + *digit);
    } else {
      hasOtherNumbers_ = true;
    }
  });
  digits_ = base::Secret::takenFrom(digits);
}

bool RecoveryEntry::isValid() const {
  return size() == digitCount && !hasOtherNumbers_ && wrongGroups().empty();
}

std::vector<std::size_t> RecoveryEntry::wrongGroups() const {
  std::vector<std::size_t> wrong;
  if (hasOtherNumbers_) return wrong;  // where the groups begin cannot be told
  const auto digits = digits_.reveal().substr(0, std::min(size(), digitCount));
  for (std::size_t group = 0; (group + 1) * groupSize <= digits.size(); ++group) {
    if (valueOf(digits.substr(group * groupSize, groupSize)) % divisor != 0) {
      wrong.push_back(group + 1);
    }
  }
  return wrong;
}

std::vector<base::LocalizedText> RecoveryEntry::faults() const {
  std::vector<base::LocalizedText> faults;
  const auto wrong = wrongGroups();
  if (wrong.size() == 1) {
    faults.push_back({"ui.unlock.recovery.group", {std::to_string(wrong.front())}});
  } else if (!wrong.empty()) {
    faults.push_back({"ui.unlock.recovery.groups", {fmt::format("{}", fmt::join(wrong, ", "))}});
  }
  if (hasOtherNumbers_) faults.push_back({"ui.unlock.recovery.othernumbers"});
  if (size() < digitCount) {
    faults.push_back({"ui.unlock.recovery.missing", {std::to_string(digitCount - size())}});
  } else if (size() > digitCount) {
    faults.push_back({"ui.unlock.recovery.toomany", {std::to_string(size() - digitCount)}});
  }
  return faults;
}

base::Secret RecoveryEntry::grouped() const {
  const auto digits = digits_.reveal();
  std::string text;
  text.reserve(digits.size() + digits.size() / groupSize);
  for (std::size_t begin = 0; begin < digits.size(); begin += groupSize) {
    if (begin > 0) text += '-';
    text.append(digits.substr(begin, groupSize));
  }
  return base::Secret::takenFrom(text);
}

}  // namespace halvercine::bitlocker

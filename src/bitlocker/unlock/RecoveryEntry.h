// What somebody types when a recovery password is asked for.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "base/LocalizedText.h"
#include "base/Secret.h"

namespace halvercine::bitlocker {

/// The digits of an entry. Decimal digits of every script count (input methods yield full-width
/// ones); a number that is no decimal digit, such as "②" or "Ⅷ", makes the entry invalid;
/// everything else is left out.
class RecoveryEntry {
 public:
  static constexpr std::size_t groupSize = 6;
  static constexpr std::size_t groupCount = 8;
  static constexpr std::size_t digitCount = groupSize * groupCount;

  /// `text` is UTF-8, and the caller's to wipe.
  explicit RecoveryEntry(std::string_view text);

  /// 48 digits, each group of which is a multiple of 11.
  bool isValid() const;

  /// What is wrong so far, most helpful first: groups that are complete and wrong, by their number;
  /// numbers that are no digits; how many digits are missing, or too many. Empty for a valid entry.
  std::vector<base::LocalizedText> faults() const;

  /// The digits in groups, joined by hyphens: how the field shows them, and how they are sent.
  base::Secret grouped() const;

  std::size_t size() const { return digits_.reveal().size(); }

  /// The groups that are complete and no multiple of 11, counted from 1. None while
  /// there are numbers that are no digits: they shift what follows.
  std::vector<std::size_t> wrongGroups() const;

 private:
  base::Secret digits_;  // ASCII
  bool hasOtherNumbers_ = false;
};

}  // namespace halvercine::bitlocker

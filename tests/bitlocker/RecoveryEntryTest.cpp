#include "bitlocker/unlock/RecoveryEntry.h"

#include <string>

#include <gtest/gtest.h>

#include "base/Localization.h"

namespace halvercine::bitlocker {
namespace {

const std::string valid = "123453-530112-077011-660143-366663-000572-219989-466664";

std::string faultsOf(const RecoveryEntry& entry) {
  const base::Localization english(base::Language::en);
  std::string text;
  for (const auto& fault : entry.faults()) text += fault.in(english) + "|";
  return text;
}

TEST(RecoveryEntryTest, SaysWhatIsWrong) {
  struct Row {
    std::string text;
    bool isValid;
    std::string faults;
  };
  const std::string digits = "123453530112077011660143366663000572219989466664";
  const std::string wide = "１２３４５３-530112-０７７０１１-660143-366663-٠٠٠٥٧٢-219989-४६६६६४";
  const Row rows[] = {
      {valid, true, ""},
      {digits, true, ""},
      {" 123453 530112\t077011–660143\n366663x000572,219989 466664 ", true, ""},
      {wide, true, ""},
      {"", false, "Digits still missing: 48.|"},
      {digits.substr(1), false,
       "These groups have typing errors: 1, 2, 3, 4, 5, 6, 7.|Digits still missing: 1.|"},
      {digits.substr(0, 47), false, "Digits still missing: 1.|"},
      {digits + "0", false, "Too many digits: 1 more than needed.|"},
      {"123453-530113", false, "Group 2 has a typing error.|Digits still missing: 36.|"},
      {"123453-53011", false, "Digits still missing: 37.|"},
      {valid.substr(0, valid.size() - 1) + "②", false,
       "Some characters are numbers but not digits.|Digits still missing: 1.|"},
      {"①" + valid.substr(1), false,
       "Some characters are numbers but not digits.|Digits still missing: 1.|"},
      {valid + "Ⅷ", false, "Some characters are numbers but not digits.|"},
      {std::string("123453\xff\0"
                   "530112",
                   14),
       false, "Digits still missing: 36.|"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const RecoveryEntry entry(row.text);
    EXPECT_EQ(entry.isValid(), row.isValid);
    EXPECT_EQ(faultsOf(entry), row.faults);
    if (row.isValid) {
      EXPECT_EQ(entry.grouped().reveal(), valid);
    }
  }
}

TEST(RecoveryEntryTest, ShowsGroupsWhileTyping) {
  for (std::size_t length = 0; length <= valid.size(); ++length) {
    auto shown = valid.substr(0, length);
    if (shown.ends_with('-')) shown.pop_back();
    EXPECT_EQ(RecoveryEntry(shown).grouped().reveal(), shown);
  }
}

}  // namespace
}  // namespace halvercine::bitlocker

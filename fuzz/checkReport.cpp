// Reports of the check tool, from their JSON to what the user reads.
#include "check/CheckReport.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include "base/Json.h"
#include "base/Localization.h"
#include "base/Text.h"
#include "check/copiedReport.h"
#include "require.h"

using halvercine::fuzz::require;
using namespace halvercine;

namespace {

void requireBuckets(const check::CheckReportModel& report) {
  std::set<std::size_t> seen;
  for (const auto& bucket : check::bucketsOf(report)) {
    for (const auto i : bucket.issues) {
      require(i < report.issues.size() && seen.insert(i).second, "each finding in one bucket");
    }
  }
  const auto truncated =
      std::ranges::count(report.issues, check::truncatedCode, &check::CheckIssueModel::code);
  require(seen.size() + static_cast<std::size_t>(truncated) == report.issues.size(),
          "no finding is lost");
}

void requireText(const check::CheckReportModel& report, bool isRepair) {
  static const base::Localization english(base::Language::en);
  const auto text = check::copiedReport(report, {isRepair, "DATA", "now", "Program"}, english);
  require(base::isUtf8(text), "a copied report is a text");
  const auto lines = static_cast<std::size_t>(std::ranges::count(text, '\n'));
  require(lines >= report.issues.size() + 8, "a line for each finding");
  const auto key = check::judgementKey(report, isRepair);
  require(english.text(key) != key, "every judgement has a text");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto report = base::decodeJson<check::CheckReportModel>(text);
  if (!report) return 0;
  const auto again = base::decodeJson<check::CheckReportModel>(base::encodeJson(*report));
  require(again && *again == *report, "a report survives being written");
  requireBuckets(*report);
  requireText(*report, false);
  requireText(*report, true);
  return 0;
}

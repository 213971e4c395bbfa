// What another process may leave in the check's mailbox: frames and reports. Whatever is read must
// be written and read again unchanged, and a series of frames must never confuse the sequence.
#include "check/CheckMailbox.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/Json.h"
#include "check/CheckRate.h"
#include "check/ModuleCheckSequence.h"
#include "require.h"

using halvercine::fuzz::require;
using namespace halvercine;

namespace {

void checkReport(std::string_view text) {
  const auto message = base::decodeJson<check::ModuleReport>(text);
  const auto accepted = check::acceptedReport(text, "disk4s1");
  require(!accepted || (message && accepted == message->report), "a report is what was written");
  if (!message) return;
  const auto isOurs = message->diskID == "disk4s1" || message->diskID == "unknown";
  require(accepted.has_value() == isOurs, "reports of other disks are not accepted");
  const auto again = base::decodeJson<check::ModuleReport>(base::encodeJson(*message));
  require(again && *again == *message, "a report survives writing and reading");
}

/// One frame a line.
void checkFrames(std::string_view text) {
  check::ModuleCheckSequence sequence{platform::Uptime(0)};
  check::CheckRate rate;
  check::ModuleCheckRound round;
  while (!text.empty()) {
    const auto line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    const auto frame = base::decodeJson<check::CheckProgressSnapshot>(line);
    if (!frame) continue;
    const auto again = base::decodeJson<check::CheckProgressSnapshot>(base::encodeJson(*frame));
    require(again && *again == *frame, "a frame survives writing and reading");
    round.now += check::pollInterval;
    round.frame = *frame;
    const bool isNew = sequence.isNew(*frame);
    if (sequence.next(round).action != check::ModuleCheckAction::poll) return;
    // It is the last one now, and seen again it is none.
    require(!isNew || (sequence.frame() == *frame && !sequence.isNew(*frame)), "new only once");
    rate.add(round.now, *frame);
    const auto left = rate.timeLeft();
    require(!left || left->count() >= 0, "no time is left but some");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  checkReport(text);
  checkFrames(text);
  return 0;
}

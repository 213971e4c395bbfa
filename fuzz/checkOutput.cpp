// Output of the check tool behind an administrator's shell: whatever it is, it ends as an outcome
// whose texts can be shown. The input is the exit status, then standard error and standard output
// with a zero between them.
#include "check/CheckOutput.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/Text.h"
#include "check/Excerpt.h"
#include "require.h"

using halvercine::fuzz::require;
using namespace halvercine;

namespace {

void requireExcerpts(const std::string& text) {
  if (!base::isUtf8(text)) return;
  const auto tail = check::lastCharacters(text, 7);
  require(base::isUtf8(tail) && text.ends_with(tail), "a tail is a part of whole characters");
  require(tail.size() == text.size() || tail.size() >= 7, "a tail that is cut has all it may have");
  const auto line = check::onOneLine(text);
  require(base::isUtf8(line), "joining lines keeps characters whole");
  require(line.find_first_of("\n\v\f\r") == std::string::npos, "one line is one line");
  require(check::onOneLine(line) == line, "joining joins all");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
  const auto zero = std::min(text.find('\0'), text.size());
  platform::AdministratorResult result;
  result.exitCode = data[0] % 3 - 1;
  result.errors = text.substr(0, zero);
  result.output = text.substr(std::min(zero + 1, text.size()));

  const auto outcome = check::readCheckOutput(result, "failed");
  require(!std::holds_alternative<check::CheckModuleBypassed>(outcome), "there is no module here");
  require(!std::holds_alternative<check::CheckCancelled>(outcome) || result.exitCode != 0,
          "what succeeds was not refused");
  if (const auto* failed = std::get_if<check::CheckFailed>(&outcome)) {
    require(base::isUtf8(failed->message), "a failure can be shown");
  }
  if (std::holds_alternative<check::CheckSucceeded>(outcome)) {
    result.output += "\n";
    result.output += check::exitMarker;
    require(check::readCheckOutput(result, "failed") == outcome,
            "a marker behind a report changes nothing");
  }
  requireExcerpts(result.output);
  return 0;
}

// The operation log as a file that anybody may have changed. What is read must be written and read
// again unchanged, and make one line for people each.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

#include "operations/logLines.h"
#include "operations/logText.h"
#include "require.h"

using halvercine::fuzz::require;
using namespace halvercine::operations;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t most = 5;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto all = decodeLines(text, size);
  const auto newest = decodeLines(text, most);
  require(newest.size() == std::min(most, all.size()), "the limit counts entries");
  require(std::equal(newest.rbegin(), newest.rend(), all.rbegin()), "the newest entries stay");

  std::string written;
  for (const auto& entry : all) {
    const auto line = encodeLine(entry);
    require(line.has_value(), "what was read can be written");
    written += *line;
  }
  require(decodeLines(written, size) == all, "what was written is read again");
  require(static_cast<std::size_t>(std::count(written.begin(), written.end(), '\n')) == all.size(),
          "an entry is a line");

  const auto shown = exportText(std::deque(all.begin(), all.end()));
  const auto breaks = static_cast<std::size_t>(std::count(shown.begin(), shown.end(), '\n'));
  require(breaks + 1 == std::max<std::size_t>(all.size(), 1), "an entry is shown as a line");
  return 0;
}

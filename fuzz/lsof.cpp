// Field output of lsof. The same bytes must mean the same wherever the pipe cuts them.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "disks/LsofOutput.h"
#include "require.h"

using halvercine::fuzz::require;
using namespace halvercine::disks;

namespace {

std::vector<Occupant> read(std::string_view text, LsofOutput parser, std::size_t pieceSize) {
  for (; !text.empty(); text.remove_prefix(std::min(pieceSize, text.size()))) {
    parser.add(text.substr(0, pieceSize));
  }
  return std::move(parser).occupants();
}

void requireEachOnce(std::vector<Occupant> found) {
  const auto byPid = [](const Occupant& left, const Occupant& right) {
    return left.pid < right.pid;
  };
  std::sort(found.begin(), found.end(), byPid);
  require(found.empty() || found.front().pid > 0, "process numbers are positive");
  require(std::adjacent_find(found.begin(), found.end(),
                             [](const Occupant& left, const Occupant& right) {
                               return left.pid == right.pid;
                             }) == found.end(),
          "each process once");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Longer lines than the parser keeps may be cut differently.
  if (size == 0 || size > 8192) return 0;
  const std::size_t pieceSize = data[0] % 16 + 1;
  const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
  const std::vector<std::string> paths = {"/Volumes/USB", "/Volumes/\xE6\x96\xB0 \\"};

  const auto whole = read(text, LsofOutput(paths), size);
  require(read(text, LsofOutput(paths), pieceSize) == whole, "pieces do not matter");
  requireEachOnce(whole);
  for (const auto& occupant : whole) {
    require(occupant.path.starts_with(paths[0]) || occupant.path.starts_with(paths[1]) ||
                occupant.path.starts_with("/Volumes/\xE6\x96\xB0 "),
            "an occupant is beneath a path");
  }
  const auto all = read(text, LsofOutput(), pieceSize);
  requireEachOnce(all);
  require(all.size() >= whole.size(), "occupants are processes");
  require(withoutLsofEscapes(text).size() <= text.size(), "no escape is shorter than what it says");
  return 0;
}

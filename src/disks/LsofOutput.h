// The field output of lsof: one field a line, its first character the tag.
//
// "p" opens a process, "c" is its command, "f" a descriptor, "n" the name of the open file. lsof
// prints an "f" before every "n" whether asked for or not, a record may end without an "n", and
// whatever is not printable in its locale comes as an escape: \b \f \n \r \t, ^X for other control
// characters, \xHH for the rest, and a backslash doubled by newer versions.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halvercine::disks {

/// A process that holds a file open.
struct Occupant {
  std::int32_t pid = 0;
  std::string command;  ///< as lsof knows it, which may be cut by the system
  std::string path;     ///< the first of its files that matched

  bool operator==(const Occupant&) const = default;
};

/// The text with lsof's escapes undone. A caret stays as it is: lsof does not tell ^A from the
/// control character. May be invalid UTF-8, as file names may.
std::string withoutLsofEscapes(std::string_view text);

/// Reads the output piece by piece, as it comes, and keeps only what was asked for: a busy
/// machine's output is much larger than the answer.
class LsofOutput {
 public:
  /// Looks for files at one of `mountPaths` or beneath it. A slash at a path's end does not count,
  /// and empty paths match nothing.
  explicit LsofOutput(const std::vector<std::string>& mountPaths);

  /// Looks for processes only, whatever they hold.
  LsofOutput() = default;

  /// The next piece, cut anywhere.
  void add(std::string_view bytes);

  /// The processes found, each once, in the order of their coming. Call it once, after the last
  /// piece.
  std::vector<Occupant> occupants() &&;

 private:
  void line(std::string_view line);
  void openProcess(std::string_view number);
  void fileName(std::string_view name);
  bool matches(std::string_view name) const;
  void keepPartial(std::string_view bytes);

  std::optional<std::vector<std::string>>
      spellings_;        ///< of the mount paths; absent: everything matches
  std::string partial_;  ///< the beginning of a line whose end has not come
  std::int32_t pid_ = 0;
  bool wanted_ = false;  ///< the process is known and none of its files has matched so far
  std::string command_;
  std::vector<Occupant> found_;
};

}  // namespace halvercine::disks

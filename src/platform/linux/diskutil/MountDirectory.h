// The folders that the disk tool mounts volumes on, and its memory of them.
#pragma once

#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/linux/MediumId.h"

namespace halvercine::platform::gnulinux {

/// The name of the folder for a volume: its own without what a path or a terminal would stumble
/// over, at most 200 bytes, and "Untitled" when nothing is left.
std::string folderName(std::string_view volumeName);

/// The folder of one volume, directly below /media. While it stands, a link named like the medium
/// in /run/halvercine/mounts points at it: so every process knows which mounts are the tool's own,
/// until the machine starts anew.
class MountDirectory {
 public:
  /// Makes the folder, with a number behind its name when that is taken, and the link.
  static std::expected<MountDirectory, std::error_code> make(MediumId id,
                                                             std::string_view volumeName);

  /// The folder that was made for this medium, or nothing.
  static std::optional<MountDirectory> find(MediumId id);

  const std::string& path() const { return path_; }

  /// Removes the folder, unless something is in it, and the link. Nothing of both while something
  /// is mounted there.
  void remove() const;

 private:
  MountDirectory(std::string path, std::string link)
      : path_(std::move(path)), link_(std::move(link)) {}

  std::string path_;
  std::string link_;
};

}  // namespace halvercine::platform::gnulinux

// What the device daemon found out about block devices.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <sys/types.h>

struct udev;

namespace halvercine::platform::gnulinux {

/// Properties such as "ID_FS_TYPE", as the database has them.
using UdevProperties = std::map<std::string, std::string, std::less<>>;

/// The text of a property that udev wrote with \x20 for a blank: such properties end in _ENC, and
/// ID_PART_ENTRY_NAME is one of them. An escape that is none stays as it is.
std::string decodedUdevText(std::string_view text);

/// The property's decoded text, or empty.
std::string udevText(const UdevProperties& properties, std::string_view key);

/// The database of udevd. It can be read without privileges, while the devices cannot. Any thread.
class UdevDatabase {
 public:
  UdevDatabase();
  ~UdevDatabase();

  /// The properties of a block device; empty when no daemon keeps a database here, or it has not
  /// dealt with the device yet.
  UdevProperties properties(dev_t number) const;

 private:
  struct Release {
    void operator()(udev* library) const;
  };

  mutable std::mutex mutex_;  // the library's objects are for one thread at a time
  std::unique_ptr<udev, Release> udev_;
};

}  // namespace halvercine::platform::gnulinux

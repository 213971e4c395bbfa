// The record of one volume or disk.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <boost/describe.hpp>

#include "bitlocker/BitLockerState.h"

namespace halvercine::disks {

/// Everything the program shows or acts on is one of these: a plain value, compared by value, made
/// by the descriptor. Sizes are bytes. A text that the system does not give is absent.
struct Disk {
  std::string id;          ///< BSD name, such as "disk4s1"; the record's identity
  std::string name;        ///< volume name, or what stands in for it
  std::string fileSystem;  ///< type as shown: the mounted type, "BitLocker", or a localized word
  std::int64_t capacity = 0;
  std::int64_t available = 0;  ///< free for the user; 0 when not mounted
  bool isWritable = false;     ///< the mounted file system accepts writes
  bool mediaWritable = false;  ///< the medium itself can be written
  bool isMounted = false;
  std::optional<std::string> mountPath;
  std::string connection;                 ///< bus, or the localized word for inside the computer
  std::optional<std::string> linkDetail;  ///< speed or kind of the link, such as "5 Gb/s"
  std::optional<double> temperatureC;     ///< absent: not known
  bool isInternal = false;
  std::optional<std::string> volumeUUID;
  /// Recognises the same medium under another BSD name; nothing to take apart.
  std::optional<std::string> mediaID;
  std::int64_t blockSize = 0;
  std::optional<std::string> mediaName;
  std::optional<std::string> hardwareName;  ///< the device as people know it, such as "Samsung T7"
  std::optional<std::string> deviceModel;
  std::optional<std::string> revision;  ///< of the firmware
  std::optional<std::string> serial;
  bool isSSD = false;
  bool isRemovable = false;
  bool mountedByEngine = false;  ///< by this product's file-system module, not the system's driver
  std::optional<bitlocker::BitLockerState> bitLocker;  ///< absent: no BitLocker volume

  /// Any type with "ntfs" in it: other drivers name their types in their own ways.
  bool isNtfs() const;

  /// Mounted NTFS that should be writable and is not.
  bool isReadOnlyNtfs() const { return isMounted && !isWritable && isNtfs(); }

  bool operator==(const Disk&) const = default;
};
BOOST_DESCRIBE_STRUCT(Disk, (),
                      (id, name, fileSystem, capacity, available, isWritable, mediaWritable,
                       isMounted, mountPath, connection, linkDetail, temperatureC, isInternal,
                       volumeUUID, mediaID, blockSize, mediaName, hardwareName, deviceModel,
                       revision, serial, isSSD, isRemovable, mountedByEngine, bitLocker))

/// Whether a file-system type is NTFS: it has "ntfs" in it, in any letter case.
bool isNtfsType(const std::string& fileSystemType);

}  // namespace halvercine::disks

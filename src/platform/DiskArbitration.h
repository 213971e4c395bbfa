// The system's disk arbitration service: which disks exist, and what it knows of each.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/MediaRegistry.h"
#include "platform/PropertyValue.h"

namespace halvercine::platform {

/// Keys of a disk's description: the values of the kDADiskDescription… constants of
/// <DiskArbitration/DADisk.h>.
namespace disk_description {
inline constexpr std::string_view mediaWhole = "DAMediaWhole";          // bool
inline constexpr std::string_view mediaSize = "DAMediaSize";            // number, bytes
inline constexpr std::string_view mediaBlockSize = "DAMediaBlockSize";  // number, bytes
inline constexpr std::string_view mediaName = "DAMediaName";            // text
inline constexpr std::string_view mediaWritable = "DAMediaWritable";    // bool
inline constexpr std::string_view mediaRemovable = "DAMediaRemovable";  // bool
inline constexpr std::string_view mediaUuid = "DAMediaUUID";            // UUID object
inline constexpr std::string_view mediaContent = "DAMediaContent";      // text, partition type
inline constexpr std::string_view volumeKind = "DAVolumeKind";          // text, such as "ntfs"
inline constexpr std::string_view volumeName = "DAVolumeName";          // text
inline constexpr std::string_view volumePath = "DAVolumePath";          // URL, when mounted
inline constexpr std::string_view volumeUuid = "DAVolumeUUID";          // UUID object
inline constexpr std::string_view deviceInternal = "DADeviceInternal";  // bool, absent on images
inline constexpr std::string_view deviceModel = "DADeviceModel";        // text, padded with blanks
inline constexpr std::string_view deviceProtocol = "DADeviceProtocol";  // text, such as "USB"
inline constexpr std::string_view busName = "DABusName";                // text
/// Spelled like the constant and not like its siblings: it is the key that is asked for, and no
/// description carries it today, so that the registry's revision is the one that shows.
inline constexpr std::string_view deviceRevision = "DADiskDescriptionDeviceRevisionKey";
}  // namespace disk_description

/// What a session reports. Each call names the disk by its BSD name, or nothing when the system
/// had no name for it. Calls come on whatever thread the system uses: copy, post, return.
struct DiskCallbacks {
  std::function<void(std::optional<std::string> bsdName)> appeared;
  std::function<void(std::optional<std::string> bsdName)> disappeared;
  std::function<void(std::optional<std::string> bsdName)> descriptionChanged;
};

/// A disk at one moment.
struct ArbitratedDisk {
  PropertyDictionary description;
  /// The medium that the description is of: another one may have the name by the time of a further
  /// question. Null when it has gone already.
  std::unique_ptr<RegistryEntry> media;
};

/// One connection to the service. Destroying it ends the callbacks: none begins after that.
class DiskArbitrationSession {
 public:
  virtual ~DiskArbitrationSession() = default;

  /// Starts to report every disk, without a filter. Registration first replays the disks that are
  /// there as `appeared`. Called at most once.
  virtual void start(DiskCallbacks callbacks) = 0;

  /// The disk now; nothing when there is no such disk or it has no description. Quick enough for
  /// the main actor.
  virtual std::optional<ArbitratedDisk> describe(const std::string& bsdName) = 0;
};

class DiskArbitration {
 public:
  virtual ~DiskArbitration() = default;

  /// A new session, or null when the service cannot be reached. It must not outlive this object.
  virtual std::unique_ptr<DiskArbitrationSession> createSession() = 0;
};

}  // namespace halvercine::platform

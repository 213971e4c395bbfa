// Disks that were to become BitLocker volumes and may have been left half-way.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <boost/describe.hpp>

#include "disks/Disk.h"
#include "platform/UserDefaults.h"

namespace halvercine::bitlocker {

/// Remembers across launches which disks have a BitLocker creation under way, so that such a disk
/// is known when it comes back: after a restart, under another BSD name.
///
/// A disk is recognised by its serial number (of 8 characters or more: shorter ones are
/// placeholders of cheap enclosures) or, where one of the two has none, by its volume UUID,
/// together with its capacity and its place on the device. A disk with neither cannot be
/// remembered: operations on it do nothing and answer false. An `uuid` argument stands in for the
/// record's own. Main actor.
class InterruptedCreationStore {
 public:
  /// One remembered disk, coded as JSON.
  struct Record {
    std::optional<std::string> serial;
    std::optional<std::string> uuid;  ///< of the volume
    std::int64_t capacity = 0;        ///< bytes
    std::string partition;            ///< end of the BSD name, such as "s2"; empty for a whole disk

    bool operator==(const Record&) const = default;
  };

  explicit InterruptedCreationStore(platform::UserDefaults& defaults) : defaults_(defaults) {}

  /// All records; none when nothing is stored or it cannot be decoded.
  std::vector<Record> load() const;

  bool contains(const disks::Disk& disk, const std::optional<std::string>& uuid = {}) const;

  /// Remembers the disk, in place of what was known of it. Answers whether it is remembered: who
  /// goes on to rewrite the disk wants to know.
  bool add(const disks::Disk& disk, const std::optional<std::string>& uuid = {});

  /// Forgets the disk. Answers whether the list without it is stored.
  bool remove(const disks::Disk& disk, const std::optional<std::string>& uuid = {});

 private:
  bool store(const std::vector<Record>& records);

  platform::UserDefaults& defaults_;
};
BOOST_DESCRIBE_STRUCT(InterruptedCreationStore::Record, (), (serial, uuid, capacity, partition))

}  // namespace halvercine::bitlocker

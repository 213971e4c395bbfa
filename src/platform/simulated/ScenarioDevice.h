// The disks of a scenario.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <boost/describe.hpp>

#include "platform/simulated/PropertyOverrides.h"
#include "platform/simulated/ScenarioBitLocker.h"
#include "platform/simulated/ScenarioCheck.h"
#include "platform/simulated/ScenarioStorage.h"
#include "platform/simulated/ScenarioVolume.h"

namespace halvercine::platform::simulated {

BOOST_DEFINE_ENUM_CLASS(Attachment, usb, uas, nvme, sata, sd, thunderbolt, image, apfs)

/// One entry of the registry above a medium.
struct ScenarioChainLink {
  static constexpr std::string_view requiredKeys[] = {"class"};

  std::string className;
  PropertyDictionary properties;
};
BOOST_DESCRIBE_STRUCT(ScenarioChainLink, (), (className, properties))

/// What whole disks and partitions have in common.
struct ScenarioMedia {
  static constexpr std::string_view requiredKeys[] = {"disk"};

  std::string disk;  ///< BSD name
  std::optional<std::string> name;
  std::optional<std::string> kind;
  std::optional<std::optional<std::string>> uuid;
  std::optional<std::optional<std::string>> mediaUUID;
  std::optional<std::string> mediaName;
  std::optional<std::string> className;
  std::optional<std::string> content;
  std::optional<std::int64_t> size;  ///< bytes
  std::optional<bool> writable;
  std::optional<std::uint64_t> entryID;  ///< of the first time that it is plugged
  PropertyOverrides description;
  PropertyOverrides registry;
  std::optional<ScenarioMount> mount;
  std::optional<ScenarioReport> report;
  std::optional<ScenarioModule> module;
  std::optional<ScenarioBitLocker> bitLocker;
  std::optional<ScenarioFsck> fsck;
  std::optional<ScenarioCheck> check;
  std::optional<ScenarioStorage> storage;
};
BOOST_DESCRIBE_STRUCT(ScenarioMedia, (),
                      (disk, name, kind, uuid, mediaUUID, mediaName, className, content, size,
                       writable, entryID, description, registry, mount, report, module, bitLocker,
                       fsck, check, storage))

struct ScenarioDevice : ScenarioMedia {
  bool plugged = true;
  Attachment attachment = Attachment::usb;
  std::optional<std::string> model;
  std::optional<std::string> vendor;
  std::optional<std::string> serial;
  std::optional<std::string> revision;
  std::optional<bool> solidState;
  std::optional<std::int64_t> speed;      ///< USB speed class
  std::optional<std::int64_t> blockSize;  ///< bytes
  std::optional<bool> removable;
  std::optional<std::optional<bool>> internal;
  std::optional<std::vector<ScenarioChainLink>> chain;
  std::vector<ScenarioMedia> volumes;
};
BOOST_DESCRIBE_STRUCT(ScenarioDevice, (ScenarioMedia),
                      (plugged, attachment, model, vendor, serial, revision, solidState, speed,
                       blockSize, removable, internal, chain, volumes))

}  // namespace halvercine::platform::simulated

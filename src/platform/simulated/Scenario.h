// A simulated Mac as a scenario describes it: docs/simulation.md explains every key.
//
// The members are the JSON keys, except `className` ("class") and `isProtected` ("protected"). An
// absent optional stands for the default that docs/simulation.md gives. Where a value is optional
// twice, the inner one is absent when the system is to give no such value (JSON null).
#pragma once

#include <cstdint>
#include <expected>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <boost/describe.hpp>

#include "platform/simulated/PropertyOverrides.h"

namespace halvercine::platform::simulated {

BOOST_DEFINE_ENUM_CLASS(Attachment, usb, uas, nvme, sata, sd, thunderbolt, image, apfs)
BOOST_DEFINE_ENUM_CLASS(EventKind, plug, unplug, mount, unmount, protect, describe, report, replace,
                        startProcess, endProcess, open, close)

struct ScenarioSystem {
  std::string macOS = "26.4.0";
  std::string bootSession = "5B1C0D7E-2F64-4C0B-9A53-7E1D8C2A4F90";
  std::string now = "2026-03-14T08:15:02Z";  ///< where virtual time starts
  bool diskArbitration = true;               ///< whether sessions can be made
  bool groupContainer = true;                ///< whether the shared container can be had
  bool checkTool = true;                     ///< whether the program comes with its check tool
  bool onBattery = false;
  std::string thermal = "nominal";
};
BOOST_DESCRIBE_STRUCT(ScenarioSystem, (),
                      (macOS, bootSession, now, diskArbitration, groupContainer, checkTool,
                       onBattery, thermal))

/// How a volume is mounted: what `statfs` and the volume's resource values say.
struct ScenarioMount {
  std::optional<std::string> path;
  std::optional<std::string> type;
  std::optional<std::string> from;
  bool readOnly = false;
  std::uint64_t blockSize = 4096;
  std::optional<std::uint64_t> blocks;
  std::optional<std::uint64_t> availableBlocks;
  std::optional<std::optional<std::int64_t>> importantUsage;
  std::optional<std::optional<std::int64_t>> available;
  std::optional<std::optional<std::string>> volumeName;
  bool statfsFails = false;
};
BOOST_DESCRIBE_STRUCT(ScenarioMount, (),
                      (path, type, from, readOnly, blockSize, blocks, availableBlocks,
                       importantUsage, available, volumeName, statfsFails))

/// The file-system module's report on a mount.
struct ScenarioReport {
  std::string reason = "readWrite";
  double age = 0;  ///< seconds before the moment of writing
  std::optional<std::uint64_t> deviceID;
  std::optional<std::string> bootSession;
  std::optional<std::string> ownerID;
  std::optional<std::string> raw;  ///< written instead of a report
};
BOOST_DESCRIBE_STRUCT(ScenarioReport, (), (reason, age, deviceID, bootSession, ownerID, raw))

/// One text, or a list of them.
struct TextOrList {
  std::vector<std::string> texts;
};

/// Which driver mounts a volume when the system is asked to, and how the file-system module serves
/// it.
struct ScenarioModule {
  std::string driver = "module";     ///< "module", "system", or another vendor's name
  TextOrList mounts{{"readWrite"}};  ///< what the module reports, mount by mount; the last stays
  double refreshSeconds = 60;        ///< between two writings of the report; 0: written once
  double reportDelay = 0;            ///< seconds from the mount to its report
  std::optional<double> diesAfter;   ///< seconds from the mount to the module's end
};
BOOST_DESCRIBE_STRUCT(ScenarioModule, (), (driver, mounts, refreshSeconds, reportDelay, diesAfter))

/// The module's record of a BitLocker volume.
struct ScenarioBitLocker {
  std::optional<std::string> guid;
  std::optional<std::string> label;
  std::string state = "locked";
  bool hasPasswordProtector = true;
  bool hasRecoveryProtector = true;
  bool hasClearKey = false;
  bool hasStartupKeyProtector = false;
  bool tpmOnly = false;
  std::optional<std::uint32_t> encryptionMethod;
  std::optional<std::string> errorMessage;
  std::optional<bool> usedSpaceOnly;
};
BOOST_DESCRIBE_STRUCT(ScenarioBitLocker, (),
                      (guid, label, state, hasPasswordProtector, hasRecoveryProtector, hasClearKey,
                       hasStartupKeyProtector, tpmOnly, encryptionMethod, errorMessage,
                       usedSpaceOnly))

/// One finding of the check tool.
struct ScenarioIssue {
  static constexpr std::string_view requiredKeys[] = {"message"};

  std::int64_t level = 2;
  std::string severity = "error";
  std::string code = "index.entry";
  std::string message;
  std::optional<std::uint64_t> record;
  bool repairable = true;
};
BOOST_DESCRIBE_STRUCT(ScenarioIssue, (), (level, severity, code, message, record, repairable))

/// What the check tool finds on a volume.
struct ScenarioFsck {
  std::vector<ScenarioIssue> issues;
  std::int64_t findings = 0;  ///< so many more, made up
  bool dirty = false;
  std::optional<std::uint64_t> deepOmitted;
  std::optional<bool> treeStats;
  std::optional<std::string> error;  ///< printed instead of a report
};
BOOST_DESCRIBE_STRUCT(ScenarioFsck, (), (issues, findings, dirty, deepOmitted, treeStats, error))

/// How the file-system module behaves when it is asked to check a volume.
struct ScenarioCheck {
  bool claims = true;                 ///< takes requests at all
  double claimAfter = 0.5;            ///< seconds from seeing a request to taking it
  double seconds = 6;                 ///< from taking it to the last frame
  double frameSeconds = 0.5;          ///< between two frames
  double reportDelay = 0;             ///< seconds from the end of the work to the report
  std::optional<std::int32_t> pid;    ///< in the frames; 0: none
  bool obeys = true;                  ///< heeds the pause and cancel flags
  double cancelSeconds = 0.2;         ///< from seeing the cancel flag to the report
  std::optional<double> stallsAfter;  ///< seconds of work until it gets nowhere any more
  bool heartbeat = false;             ///< then goes on sending frames that say the same
  std::optional<double> diesAfter;    ///< seconds from taking the request to the process's end
  std::int64_t deaths = 1;            ///< how often it dies
  bool reusesPid = false;             ///< another process gets the number of the dead one
  bool torn = false;                  ///< files are half written at first
  bool strangersReport = false;       ///< another disk's report comes first
  std::optional<std::string> diskID;  ///< in the report
};
BOOST_DESCRIBE_STRUCT(ScenarioCheck, (),
                      (claims, claimAfter, seconds, frameSeconds, reportDelay, pid, obeys,
                       cancelSeconds, stallsAfter, heartbeat, diesAfter, deaths, reusesPid, torn,
                       strangersReport, diskID))

/// What an operation costs, from so many transferred bytes on.
struct ScenarioStorageStep {
  double fromGiB = 0;
  double us = 100;         ///< of every operation
  double usPerMiB = 2000;  ///< of what it transfers, besides
};
BOOST_DESCRIBE_STRUCT(ScenarioStorageStep, (), (fromGiB, us, usPerMiB))

/// How fast a medium is, and what fails on it.
struct ScenarioStorage {
  std::vector<ScenarioStorageStep> read;
  std::vector<ScenarioStorageStep> write;
  std::int64_t channels = 1;   ///< operations at the same time
  std::int64_t slowEvery = 0;  ///< each n-th operation takes longer; 0: none
  double slowUs = 0;           ///< by so much
  bool uncached = true;        ///< the page cache can be switched off
  std::optional<std::string> openError;
  std::int64_t openErrors = 0;  ///< so many times; 0: always
  std::optional<std::string> readError;
  double readErrorAfterMiB = 0;
  std::optional<std::string> writeError;
  double writeErrorAfterMiB = 0;
};
BOOST_DESCRIBE_STRUCT(ScenarioStorage, (),
                      (read, write, channels, slowEvery, slowUs, uncached, openError, openErrors,
                       readError, readErrorAfterMiB, writeError, writeErrorAfterMiB))

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

/// A running process, as far as anybody is in its way.
struct ScenarioProcess {
  static constexpr std::string_view requiredKeys[] = {"pid", "command"};

  std::int32_t pid = 0;
  std::string command;
  std::vector<std::string> files;    ///< absolute paths that it has open
  std::vector<std::string> devices;  ///< BSD names that it has open, "disk4s1" or raw, "rdisk4s1"
};
BOOST_DESCRIBE_STRUCT(ScenarioProcess, (), (pid, command, files, devices))

/// How a command-line tool behaves when it is run with certain arguments.
struct ScenarioTool {
  std::optional<std::string> tool;  ///< its name; any when absent
  std::vector<std::string> match;   ///< the first arguments
  std::optional<std::int64_t> times;
  std::optional<double> seconds;
  std::optional<int> status;
  std::optional<std::string> text;
  std::optional<std::string> errors;
  std::optional<int> signal;
  bool hang = false;
  bool ignoresTerminate = false;
  std::optional<std::string> startError;
  std::optional<std::int64_t> megabytes;
  std::optional<std::string> then;  ///< "do" or "nothing": whether it does its work
};
BOOST_DESCRIBE_STRUCT(ScenarioTool, (),
                      (tool, match, times, seconds, status, text, errors, signal, hang,
                       ignoresTerminate, startError, megabytes, then))

struct ScenarioEvent {
  static constexpr std::string_view requiredKeys[] = {"at", "event"};

  double at = 0;  ///< seconds after the start
  EventKind event = EventKind::plug;
  std::string disk;     ///< empty for what happens to a process
  bool silent = false;  ///< the service's callbacks for it are lost
  std::optional<ScenarioMount> mount;
  std::optional<ScenarioReport> report;
  std::optional<bool> isProtected;
  std::optional<PropertyOverrides> description;
  std::optional<PropertyOverrides> registry;
  std::optional<ScenarioDevice> device;
  std::optional<bool> remove;
  std::optional<ScenarioProcess> process;
  std::optional<std::int32_t> pid;
  std::optional<std::vector<std::string>> files;
  std::optional<std::vector<std::string>> devices;
};
BOOST_DESCRIBE_STRUCT(ScenarioEvent, (),
                      (at, event, disk, silent, mount, report, isProtected, description, registry,
                       device, remove, process, pid, files, devices))

/// Files and (without a text) folders, by absolute path or below "~/".
using ScenarioFiles = std::map<std::string, std::optional<std::string>>;

struct Scenario {
  static constexpr std::string_view requiredKeys[] = {"format"};

  int format = 1;
  std::string description;
  ScenarioSystem system;
  std::vector<ScenarioDevice> devices;
  std::vector<ScenarioProcess> processes;
  std::vector<ScenarioTool> tools;
  ScenarioFiles files;
  std::vector<ScenarioEvent> timeline;
};
BOOST_DESCRIBE_STRUCT(Scenario, (),
                      (format, description, system, devices, processes, tools, files, timeline))

/// What is wrong with a scenario, in English, beginning with the place ("devices[1].volumes[0].…").
/// It may quote the scenario's own text: clean it for display.
struct ScenarioError {
  std::string message;
};

/// Reads a scenario's JSON text. Everything that would have no effect or could not happen is an
/// error: unknown keys, wrong types, BSD names that occur twice or do not belong to their device,
/// events that meet a disk in the wrong state. Any text may be given.
std::expected<Scenario, ScenarioError> readScenario(std::string_view text);

/// What is wrong with the values of a scenario that has the right shape, if anything.
/// `readScenario` has looked already; for scenarios made otherwise.
std::optional<ScenarioError> findScenarioFault(const Scenario& scenario);

}  // namespace halvercine::platform::simulated

#include "app/DiskView.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>

#include "app/unmountReasons.h"
#include "base/BsdName.h"
#include "base/Json.h"
#include "base/Properties.h"
#include "mount/MountAccessReportStore.h"

namespace halvercine::app {
namespace {

ReadOnlyExplanation explain(const disks::Disk& disk, const platform::Platform& platform,
                            std::optional<std::uint64_t> deviceId,
                            const mount::RecoveryStatuses& recoveries) {
  const auto sources = mount::ReportSources::of(platform);
  const auto report = mount::loadMountAccessReport(sources, disk.id, mount::Freshness::freshOnly);
  const auto reason = report ? std::optional(report->reason) : std::nullopt;
  const auto writable =
      deviceId ? mount::mediaWritable(*platform.mediaRegistry, disk.id, *deviceId) : std::nullopt;
  const auto standing = deviceId && !reason ? recoveries.verdictOn(*deviceId) : std::nullopt;
  const auto cause = standing.value_or(mount::MountRecoveryPolicy::cause(writable, reason));
  return {cause, mount::MountRecoveryPolicy::noteKeys(cause)};
}

boost::json::object keyed(std::string_view key, const base::Localization& localization) {
  return {{"key", key}, {"text", localization.text(key)}};
}

}  // namespace

std::string recoveryText(const mount::MountRecoveryPolicy::StatusLine& line,
                         const base::Localization& localization) {
  std::vector<std::string> arguments;
  arguments.reserve(line.arguments.size());
  for (const int argument : line.arguments) arguments.push_back(std::to_string(argument));
  return localization.text(line.key, arguments);
}

std::string bitLockerText(const bitlocker::BitLockerState& volume,
                          const base::Localization& localization) {
  const std::pair<bool, std::string_view> protectors[] = {
      {volume.hasPasswordProtector, "ui.protector.password"},
      {volume.hasRecoveryProtector, "ui.protector.recovery"},
      {volume.hasStartupKeyProtector, "ui.protector.startupkey"},
      {volume.hasClearKey, "ui.protector.clearkey"},
      {volume.tpmOnly, "ui.protector.tpm"}};
  std::string names;
  for (const auto& [isThere, key] : protectors) {
    if (isThere) names += (names.empty() ? "" : ", ") + localization.text(key);
  }
  // Any other word of the module's is shown as it is.
  constexpr std::string_view states[] = {"locked", "unlocked", "unlockFailed", "unsupported",
                                         "error"};
  const bool isKnown = std::ranges::find(states, volume.state) != std::end(states);
  auto state = isKnown ? localization.text("bitlocker.state." + volume.state) : volume.state;
  if (names.empty()) return state;
  return localization.text("ui.bitlocker.protectors", {std::move(state), std::move(names)});
}

DiskView DiskView::of(disks::Disk disk, const platform::Platform& platform,
                      const mount::RecoveryStatuses& recoveries) {
  DiskView view;
  view.deviceNode = base::devicePath(disk.id);
  if (const auto media = platform.mediaRegistry->media(disk.id)) {
    view.deviceId = media->entryId();
    const auto node = media->property(platform::registry_key::deviceNode);
    if (node) view.deviceNode = base::textValue(*node).value_or(view.deviceNode);
  }
  if (disk.isReadOnlyNtfs()) view.readOnly = explain(disk, platform, view.deviceId, recoveries);
  view.unmountReason = reasonWithoutTools(disk, platform);
  if (view.deviceId) view.recovery = recoveries.lineFor(disk.id, *view.deviceId);
  view.disk = std::move(disk);
  return view;
}

boost::json::value DiskView::toJson(const base::Localization& localization) const {
  auto object = base::toJson(disk).as_object();
  object["isNTFS"] = disk.isNtfs();
  if (deviceId) object["deviceID"] = *deviceId;
  object["deviceNode"] = deviceNode;
  if (readOnly) {
    const auto key = mount::MountRecoveryPolicy::explanationKey(readOnly->cause);
    auto explanation = keyed(key, localization);
    explanation["cause"] = base::toJson(readOnly->cause);
    explanation["canRetry"] = mount::MountRecoveryPolicy::isRecoverable(readOnly->cause);
    auto& notes = explanation["notes"].emplace_array();
    for (const auto note : readOnly->noteKeys) notes.push_back(keyed(note, localization));
    object["readOnly"] = std::move(explanation);
  }
  if (unmountReason) {
    boost::json::object reason{{"case", base::toJson(unmountReason->kind)}};
    if (const auto text = unmountReason->text()) reason["text"] = text->in(localization);
    object["unmountReason"] = std::move(reason);
  }
  if (recovery) {
    object["recovery"] = {{"key", recovery->key}, {"text", recoveryText(*recovery, localization)}};
  }
  return object;
}

}  // namespace halvercine::app

#include "bitlocker/unlock/unlockResult.h"

namespace halvercine::bitlocker {
namespace {

constexpr std::string_view mountFailurePrefix = "BitLocker mount failed (";
constexpr std::string_view unsupportedFileSystem = "unsupportedFileSystem";

struct Row {
  std::string_view code;
  std::string_view key;
};

constexpr Row rows[] = {
    {unlock_code::mailboxUnavailable, "bitlocker.ux.mailbox.failed"},
    {unlock_code::diskBusy, "bitlocker.ux.disk.busy"},
    {unlock_code::deviceChanged, "format.changed"},
    {unlock_code::mountNotConfirmed, "bitlocker.ux.mount.failed"},
    {"wrongCredential", "bitlocker.error.wrong"},
    {unlock_code::timeout, "bitlocker.error.timeout"},
    {"tpmOnly", "bitlocker.tpmonly.message"},
    {"noUsableProtector", "bitlocker.error.noprotector"},
    {"unsupportedPartialVolume", "bitlocker.error.unsupported.partial"},
    {"unsupportedEncryptionMethod", "bitlocker.error.unsupported.method"},
    {"badMetadata", "bitlocker.error.metadata"},
};

}  // namespace

std::string mountFailureText(std::string_view volumeName, std::string_view reason) {
  return std::string(mountFailurePrefix).append(volumeName).append("): ").append(reason);
}

std::string_view unlockMessageKey(std::string_view code) {
  if (code.starts_with(mountFailurePrefix)) return "bitlocker.ux.mount.failed";
  for (const auto& row : rows) {
    if (row.code == code) return row.key;
  }
  if (code == unsupportedFileSystem || code.starts_with("unsupportedFileSystem:")) {
    // What stands behind the colon is the file system.
    return code.ends_with(":exfat") ? "bitlocker.error.unsupported.fs.exfat"
                                    : "bitlocker.error.unsupported.fs.fat";
  }
  return "bitlocker.error.generic";
}

}  // namespace halvercine::bitlocker

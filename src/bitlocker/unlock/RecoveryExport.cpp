#include "bitlocker/unlock/RecoveryExport.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <vector>

#include <fmt/format.h>

#include "base/PrivateFiles.h"
#include "base/Text.h"

namespace halvercine::bitlocker {
namespace {

namespace fs = std::filesystem;

struct UtcTime {
  explicit UtcTime(platform::WallTime time)
      : date(std::chrono::floor<std::chrono::days>(time)),
        clock(std::chrono::floor<std::chrono::seconds>(time) -
              std::chrono::floor<std::chrono::days>(time)) {}

  std::string in(fmt::format_string<int, unsigned, unsigned, long, long, long> pattern) const {
    return fmt::format(pattern, static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                       static_cast<unsigned>(date.day()), clock.hours().count(),
                       clock.minutes().count(), static_cast<long>(clock.seconds().count()));
  }

  std::chrono::year_month_day date;
  std::chrono::hh_mm_ss<std::chrono::seconds> clock;
};

/// Whether `path` is `folder`, or lies in it: component by component.
bool isBelow(const fs::path& path, const fs::path& folder) {
  const auto rest = std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
  return rest.first == folder.end();
}

/// Without "." and ".." and without a slash at the end, which would be a component.
fs::path tidied(const fs::path& path) {
  auto tidy = path.lexically_normal();
  return tidy.has_filename() || tidy == tidy.root_path() ? tidy : tidy.parent_path();
}

fs::path resolved(const fs::path& path) {
  std::error_code error;
  const auto real = fs::weakly_canonical(path, error);
  return tidied(error ? path : real);
}

/// The forms in which the same place can be spelled.
std::vector<fs::path> spellings(const fs::path& path) {
  const auto parent = path.parent_path();
  std::vector<fs::path> all{tidied(path), resolved(path), resolved(parent) / path.filename()};
  // A link that leads to nothing yet is not resolved above.
  std::error_code error;
  const auto target = fs::read_symlink(path, error);
  if (!error) all.push_back(resolved(parent / target));
  return all;
}

std::vector<fs::path> foldersOf(const ExportedVolume& volume) {
  std::vector<fs::path> folders;
  for (const auto& mounted : {volume.mountPath, volume.secondMountPath}) {
    if (mounted && !mounted->empty()) folders.emplace_back(*mounted);
  }
  const fs::path volumes("/Volumes");
  std::string name(base::trimmed(volume.name));
  for (int form = 0; form < 2; ++form) {
    // Neither no name nor ".." may stand for the folder of all volumes.
    const auto folder = tidied(volumes / fs::path("./" + name));
    if (folder != volumes && isBelow(folder, volumes)) folders.push_back(folder);
    // As a slash in a name is spelled in paths.
    std::ranges::replace(name, '/', ':');
  }
  return folders;
}

bool isSameFolder(const fs::path& path, const fs::path& folder) {
  std::error_code error;
  return fs::equivalent(path, folder, error) && !error;
}

/// By identity as well: file systems may ignore letter case, and be mounted in two places.
bool isInside(const fs::path& path, const fs::path& folder) {
  if (isBelow(path, folder)) return true;
  for (auto above = path; above.has_relative_path(); above = above.parent_path()) {
    if (isSameFolder(above, folder)) return true;
  }
  return false;
}

}  // namespace

std::string recoveryFileName(platform::WallTime date) {
  return "Tarnwel-BitLocker-Recovery-" + UtcTime(date).in("{:04}{:02}{:02}-{:02}{:02}{:02}Z") +
         ".txt";
}

base::Secret recoveryFileText(std::string_view volumeName, const base::Secret& recoveryPassword,
                              platform::WallTime date) {
  const auto head = fmt::format(
      "Tarnwel | BitLocker recovery password\nVolume: {}\nExport requested at (UTC): {}\n"
      "Recovery password: ",
      volumeName, UtcTime(date).in("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z"));
  std::string text;
  text.reserve(head.size() + recoveryPassword.reveal().size());
  text.append(head).append(recoveryPassword.reveal());
  return base::Secret::takenFrom(text);
}

bool isOnVolume(const fs::path& path, const ExportedVolume& volume) {
  std::error_code error;
  auto absolute = fs::absolute(path, error);
  if (error) absolute = path;
  for (const auto& folder : foldersOf(volume)) {
    for (const auto& spelling : spellings(absolute)) {
      if (isInside(spelling, tidied(folder)) || isInside(spelling, resolved(folder))) return true;
    }
  }
  return false;
}

std::optional<std::string_view> saveRecoveryFile(const fs::path& path, const base::Secret& text,
                                                 const ExportedVolume& volume) {
  if (isOnVolume(path, volume)) return "encrypt.ux.save.same.disk";
  if (base::replacePrivateFile(path, text.reveal())) return "encrypt.ux.save.failed";
  return std::nullopt;
}

}  // namespace halvercine::bitlocker

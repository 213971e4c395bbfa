#include "operations/OperationLog.h"

#include <algorithm>
#include <iterator>
#include <unordered_set>
#include <utility>

#include "operations/logLines.h"
#include "operations/logText.h"

namespace halvercine::operations {

OperationLog::OperationLog(platform::Containers& containers, const platform::Clock& clock,
                           std::chrono::milliseconds lockPatience)
    : clock_(clock), file_(OperationLogFile::prepare(containers, lockPatience)) {
  if (file_) load();
}

void OperationLog::load() {
  std::optional<base::FileLock> lock;
  // Without a file there is nothing to lock, and looking at an empty log leaves no trace.
  if (file_->state() != OperationLogFile::State{}) lock = file_->lock();
  if (lock) file_->sweep();
  clearings_ = file_->clearings();
  auto content = file_->read(limit);
  loadError_ = content.error;
  entries_.assign(std::make_move_iterator(content.entries.rbegin()),
                  std::make_move_iterator(content.entries.rend()));
  if (!content.error) seen_ = content.state;
}

std::optional<std::filesystem::path> OperationLog::fileURL() const {
  return file_ ? std::optional(file_->url()) : std::nullopt;
}

void OperationLog::add(std::string_view category, std::string_view message) {
  const auto entry = makeEntry(clock_.now(), category, message);
  entries_.push_front(entry);
  unsaved_.insert(entry.id);
  if (file_) save(entry);
  forgetOldest();
  changed();
}

void OperationLog::save(const OperationLogEntry& entry) {
  const auto lock = file_->lock();
  if (!lock) {
    append(entry, false);
    return;
  }
  if (clearIsDue_) clearIsDue_ = static_cast<bool>(file_->remove());
  noticeClearing();
  const bool wasBehind = isFileBehind();
  if (wasBehind && bringFileIntoLine()) return;
  // Where no line can be added, such as to a link, a new file often can be put in place.
  if (!append(entry, true) && !wasBehind) bringFileIntoLine();
}

/// Whether the file needs more than the newest entry at its end.
bool OperationLog::isFileBehind() const {
  const bool isOversized = seen_ && seen_->size > OperationLogFile::readLimit;
  return unsaved_.size() > 1 || entries_.size() > limit || isOversized;
}

bool OperationLog::append(const OperationLogEntry& entry, bool isLocked) {
  const auto line = encodeLine(entry);
  const auto appended = line ? file_->append(*line, isLocked) : std::nullopt;
  const bool sawAll = isLocked && appended && seen_ == appended->before;
  seen_ = sawAll ? std::optional(appended->after) : std::nullopt;
  if (appended) unsaved_.erase(entry.id);
  return appended.has_value();
}

/// Replaces the file by what it has and what it lacks, without what is too old.
bool OperationLog::bringFileIntoLine() {
  if (!readWhatOthersAdded()) return false;
  std::string lines;
  const auto kept = std::min(entries_.size(), limit);
  for (auto entry = entries_.rend() - static_cast<std::ptrdiff_t>(kept); entry != entries_.rend();
       ++entry) {
    if (const auto line = encodeLine(*entry)) lines += *line;
  }
  const auto state = file_->replace(lines, *seen_);
  if (!state) return false;
  seen_.reset();
  if (state->size == lines.size()) seen_ = *state;
  unsaved_.clear();
  return true;
}

/// False when the file could not be read just now: then it must not be replaced.
bool OperationLog::readWhatOthersAdded() {
  if (seen_ == file_->state()) return true;
  auto content = file_->read(limit);
  if (!OperationLogFile::holdsNothing(content.error)) return false;
  merge(std::move(content.entries));
  seen_ = content.state;
  return true;
}

/// The entries of both, in the order of the file; what only the list has goes where its time
/// belongs.
void OperationLog::merge(std::vector<OperationLogEntry> fromFile) {
  std::unordered_set<std::string> inFile;
  for (const auto& entry : fromFile) inFile.insert(entry.id);
  std::erase_if(entries_, [&](const auto& entry) { return inFile.contains(entry.id); });
  const auto inMemory = std::exchange(entries_, {});
  auto next = inMemory.rbegin();
  for (auto& entry : fromFile) {
    for (; next != inMemory.rend() && next->time < entry.time; ++next) entries_.push_front(*next);
    entries_.push_front(std::move(entry));
  }
  for (; next != inMemory.rend(); ++next) entries_.push_front(*next);
}

/// Drops what another process has cleared: whatever was in the file.
void OperationLog::noticeClearing() {
  const auto clearings = file_->clearings();
  if (std::exchange(clearings_, clearings) == clearings) return;
  std::erase_if(entries_, [this](const auto& entry) { return !unsaved_.contains(entry.id); });
  seen_.reset();
}

void OperationLog::forgetOldest() {
  while (entries_.size() > limit) {
    unsaved_.erase(entries_.back().id);
    entries_.pop_back();
  }
}

std::string OperationLog::exportText() const { return operations::exportText(entries_); }

bool OperationLog::copy(platform::Pasteboard& pasteboard) const {
  return pasteboard.replaceText(exportText());
}

std::error_code OperationLog::clear() {
  entries_.clear();
  unsaved_.clear();
  std::error_code error;
  if (file_) {
    const auto lock = file_->lock();
    error =
        lock ? file_->remove() : std::make_error_code(std::errc::resource_unavailable_try_again);
    clearings_ = file_->clearings();
    clearIsDue_ = static_cast<bool>(error);
    seen_.reset();
    if (!error) seen_ = OperationLogFile::State{};
  }
  changed();
  return error;
}

}  // namespace halvercine::operations

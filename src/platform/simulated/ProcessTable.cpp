#include "platform/simulated/ProcessTable.h"

#include <algorithm>
#include <utility>

namespace halvercine::platform::simulated {
namespace {

bool isDevice(std::string_view opened, std::string_view disk) {
  return opened == disk || (opened.starts_with('r') && opened.substr(1) == disk);
}

void append(std::vector<std::string>& all, const std::vector<std::string>& added) {
  all.insert(all.end(), added.begin(), added.end());
}

void remove(std::vector<std::string>& all, const std::vector<std::string>& removed) {
  std::erase_if(all, [&](const auto& one) { return std::ranges::count(removed, one) > 0; });
}

}  // namespace

bool ProcessTable::start(ScenarioProcess process) {
  const auto pid = process.pid;
  return processes_.emplace(pid, std::move(process)).second;
}

bool ProcessTable::end(std::int32_t pid) { return processes_.erase(pid) > 0; }

bool ProcessTable::open(std::int32_t pid, const std::vector<std::string>& files,
                        const std::vector<std::string>& devices) {
  const auto found = processes_.find(pid);
  if (found == processes_.end()) return false;
  append(found->second.files, files);
  append(found->second.devices, devices);
  return true;
}

bool ProcessTable::close(std::int32_t pid, const std::vector<std::string>& files,
                         const std::vector<std::string>& devices) {
  const auto found = processes_.find(pid);
  if (found == processes_.end()) return false;
  remove(found->second.files, files);
  remove(found->second.devices, devices);
  return true;
}

const ScenarioProcess* ProcessTable::firstBelow(std::string_view path) const {
  for (const auto& [pid, process] : processes_) {
    const auto holds = [&](const auto& file) { return isAtOrBelow(file, path); };
    if (std::ranges::any_of(process.files, holds)) return &process;
  }
  return nullptr;
}

const ScenarioProcess* ProcessTable::firstOnDevice(std::string_view disk) const {
  for (const auto& [pid, process] : processes_) {
    const auto holds = [&](const auto& device) { return isDevice(device, disk); };
    if (std::ranges::any_of(process.devices, holds)) return &process;
  }
  return nullptr;
}

void ProcessTable::loseBelow(std::string_view path) {
  for (auto& [pid, process] : processes_) {
    std::erase_if(process.files, [&](const auto& file) { return isAtOrBelow(file, path); });
  }
}

void ProcessTable::loseDevice(std::string_view disk) {
  for (auto& [pid, process] : processes_) {
    std::erase_if(process.devices, [&](const auto& device) { return isDevice(device, disk); });
  }
}

bool isAtOrBelow(std::string_view path, std::string_view folder) {
  if (folder == "/") return path.starts_with('/');
  if (!path.starts_with(folder)) return false;
  return path.size() == folder.size() || path[folder.size()] == '/';
}

}  // namespace halvercine::platform::simulated

#include "platform/simulated/runLsof.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <set>
#include <utility>

#include <fmt/format.h>

#include "base/BsdName.h"

namespace halvercine::platform::simulated {
namespace {

constexpr std::string_view devicePrefix = "/dev/";

struct Name {
  std::string path;
  bool isTree = false;  ///< with everything below
};

struct Request {
  std::optional<std::string> fields;  ///< of -F
  bool terse = false;
  bool wholeFileSystems = false;
  bool plainFiles = false;  ///< -f: a device that is mounted stands for itself alone
  std::vector<Name> names;
  std::string fault;
};

/// -F takes the rest of its argument, or the next one when that cannot be anything else.
std::size_t takeFields(const std::vector<std::string>& arguments, std::size_t at,
                       Request& request) {
  request.fields = arguments[at].substr(2);
  const bool isApart = request.fields->empty() && at + 1 < arguments.size() &&
                       arguments[at + 1].find_first_not_of("pcfn") == std::string::npos;
  if (isApart) request.fields = arguments[at + 1];
  return isApart ? at + 1 : at;
}

Request parse(const std::vector<std::string>& arguments) {
  constexpr std::array<std::string_view, 7> withoutEffect{"-n", "-P",  "-w", "-b",
                                                          "-l", "-nP", "-Pn"};
  Request request;
  bool onlyNames = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const auto& argument = arguments[i];
    if (onlyNames || argument.starts_with('/')) {
      request.names.push_back({argument, false});
    } else if (argument == "--") {
      onlyNames = true;
    } else if (argument.starts_with("-F")) {
      i = takeFields(arguments, i, request);
    } else if (argument == "-t") {
      request.terse = true;
    } else if (argument == "+f") {
      request.wholeFileSystems = true;
    } else if (argument == "-f") {
      request.plainFiles = true;
    } else if (argument == "+D" && i + 1 < arguments.size()) {
      request.names.push_back({arguments[++i], true});
    } else if (std::ranges::count(withoutEffect, argument) == 0) {
      request.fault = "lsof: illegal option: " + argument;
    }
  }
  if (!request.fields && !request.terse) request.fault = "lsof: only -F and -t are simulated";
  return request;
}

/// Files and devices of a process in the order of their descriptors.
std::vector<std::string> openPaths(const ScenarioProcess& process) {
  auto paths = process.files;
  for (const auto& device : process.devices) paths.push_back(std::string(devicePrefix) + device);
  return paths;
}

/// The C locale's form: whatever is not printable ASCII is escaped.
std::string printable(std::string_view text, bool escapesBlanks) {
  std::string result;
  for (const char character : text) {
    const auto code = static_cast<unsigned char>(character);
    if (character == '\n') {
      result += "\\n";
    } else if (character == '\t') {
      result += "\\t";
    } else if (code < 0x20) {
      result += {'^', static_cast<char>(code + 0x40)};
    } else if (code >= 0x7f || (escapesBlanks && code == ' ')) {
      result += fmt::format("\\x{:02x}", code);
    } else {
      result += character;
    }
  }
  return result;
}

class Listing {
 public:
  Listing(const SimulatedMachine& machine, Request request)
      : machine_(machine), request_(std::move(request)) {}

  ToolAnswer run() {
    for (const auto& name : request_.names) answer_.errors += faultOf(name);
    for (const auto& [pid, process] : machine_.processes().all()) list(process);
    const bool allFound = std::ranges::all_of(
        request_.names, [&](const auto& name) { return found_.contains(name.path); });
    answer_.status = answer_.output.empty() || !allFound ? 1 : 0;
    return std::move(answer_);
  }

 private:
  std::string faultOf(const Name& name) const {
    if (exists(name.path)) return "";
    return "lsof: status error on " + printable(name.path, false) + ": No such file or directory\n";
  }

  bool exists(const std::string& path) const {
    if (const auto disk = diskOf(path)) return machine_.look(*disk).has_value();
    return machine_.statistics(path) ||
           std::filesystem::exists(machine_.folders().systemPath(path));
  }

  static std::optional<std::string> diskOf(std::string_view path) {
    if (!path.starts_with(devicePrefix)) return std::nullopt;
    path.remove_prefix(devicePrefix.size());
    return std::string(path.starts_with("rdisk") ? path.substr(1) : path);
  }

  bool isSelected(const std::string& path) {
    bool selected = request_.names.empty();
    for (const auto& name : request_.names) {
      if (!covers(name, path)) continue;
      found_.insert(name.path);
      selected = true;
    }
    return selected;
  }

  bool covers(const Name& name, const std::string& path) const {
    if (name.isTree) return isAtOrBelow(path, name.path);
    if (path == name.path) return true;
    if (request_.plainFiles) return false;
    if (const auto disk = diskOf(name.path); disk && name.path == base::devicePath(*disk)) {
      const auto view = machine_.look(*disk);
      return view && view->mountPath && isAtOrBelow(path, *view->mountPath);
    }
    return request_.wholeFileSystems && isMountPoint(name.path) && isAtOrBelow(path, name.path);
  }

  bool isMountPoint(const std::string& path) const {
    return std::ranges::any_of(machine_.disks(), [&](const auto& entry) {
      const auto view = machine_.look(entry.second);
      return view && view->mountPath == path;
    });
  }

  void list(const ScenarioProcess& process) {
    std::string files;
    int descriptor = 3;  // behind the standard three
    for (const auto& path : openPaths(process)) {
      const auto number = std::to_string(descriptor++);
      if (!isSelected(path)) continue;
      files += 'f' + number + '\n';
      if (shows('n')) files += 'n' + printable(path, false) + '\n';
    }
    if (files.empty()) return;
    answer_.output += (request_.terse ? "" : "p") + std::to_string(process.pid) + '\n';
    if (request_.terse) return;
    if (shows('c')) answer_.output += 'c' + printable(process.command, true) + '\n';
    if (shows('f') || shows('n')) answer_.output += files;
  }

  bool shows(char field) const {
    return request_.fields &&
           (request_.fields->empty() || request_.fields->find(field) != std::string::npos);
  }

  const SimulatedMachine& machine_;
  Request request_;
  std::set<std::string> found_;  // names
  ToolAnswer answer_;
};

}  // namespace

ToolAnswer runLsof(const SimulatedMachine& machine, const std::vector<std::string>& arguments) {
  auto request = parse(arguments);
  if (!request.fault.empty()) return {1, "", request.fault + '\n'};
  return Listing(machine, std::move(request)).run();
}

}  // namespace halvercine::platform::simulated

#include "disks/LsofOutput.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include <fmt/core.h>

namespace halvercine::disks {
namespace {

// Longer than any path of the system, four characters a byte. A longer line loses its rest.
constexpr std::size_t longestLine = 16 * 1024;

constexpr std::string_view escapedCharacters = "\b\f\n\r\t";
constexpr std::string_view escapeLetters = "bfnrt";

std::optional<char> hexadecimalByte(std::string_view digits) {
  unsigned value = 0;
  const auto end = digits.data() + std::min<std::size_t>(digits.size(), 2);
  const auto [stop, error] = std::from_chars(digits.data(), end, value, 16);
  if (error != std::errc() || stop != digits.data() + 2) return std::nullopt;
  return static_cast<char>(value);
}

/// Takes one escape from the front of `rest`, which begins behind the backslash.
char takeEscape(std::string_view& rest) {
  if (rest.starts_with('x')) {
    if (const auto byte = hexadecimalByte(rest.substr(1))) {
      rest.remove_prefix(3);
      return *byte;
    }
  }
  const auto letter = rest.empty() ? std::string_view::npos : escapeLetters.find(rest.front());
  if (letter != std::string_view::npos) {
    rest.remove_prefix(1);
    return escapedCharacters[letter];
  }
  if (rest.starts_with('\\')) rest.remove_prefix(1);
  return '\\';
}

/// The path as lsof spells it in the C locale.
std::string escaped(std::string_view path, bool doublesBackslash) {
  std::string result;
  for (const char character : path) {
    const auto byte = static_cast<unsigned char>(character);
    if (const auto at = escapedCharacters.find(character); at != std::string_view::npos) {
      result += {'\\', escapeLetters[at]};
    } else if (byte < 0x20) {
      result += {'^', static_cast<char>(byte + 0x40)};
    } else if (byte == 0x7F) {
      result += "^?";
    } else if (byte > 0x7F) {
      result += fmt::format("\\x{:02x}", byte);
    } else {
      if (character == '\\' && doublesBackslash) result += '\\';
      result += character;
    }
  }
  return result;
}

}  // namespace

std::string withoutLsofEscapes(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const char character = text.front();
    text.remove_prefix(1);
    result += character == '\\' ? takeEscape(text) : character;
  }
  return result;
}

// Names are compared in lsof's own spelling: it is the paths that are escaped, once, not every
// name.
LsofOutput::LsofOutput(const std::vector<std::string>& mountPaths) : spellings_(std::in_place) {
  for (std::string_view path : mountPaths) {
    if (path.empty()) continue;
    while (path.ends_with('/'))
      path.remove_suffix(1);  // leaves nothing of "/", which all begin with
    for (auto spelling : {std::string(path), escaped(path, true), escaped(path, false)}) {
      if (std::find(spellings_->begin(), spellings_->end(), spelling) == spellings_->end()) {
        spellings_->push_back(std::move(spelling));
      }
    }
  }
}

void LsofOutput::add(std::string_view bytes) {
  if (!partial_.empty()) {
    const auto end = bytes.find('\n');
    keepPartial(bytes.substr(0, end));
    if (end == std::string_view::npos) return;
    line(partial_);
    partial_.clear();
    bytes.remove_prefix(end + 1);
  }
  const char* begin = bytes.data();
  const char* const limit = begin + bytes.size();
  while (begin != limit) {
    const auto* end =
        static_cast<const char*>(std::memchr(begin, '\n', static_cast<std::size_t>(limit - begin)));
    if (end == nullptr) {
      keepPartial({begin, limit});
      return;
    }
    line({begin, end});
    begin = end + 1;
  }
}

std::vector<Occupant> LsofOutput::occupants() && {
  line(partial_);
  return std::move(found_);
}

void LsofOutput::keepPartial(std::string_view bytes) {
  partial_ += bytes.substr(0, longestLine - std::min(longestLine, partial_.size()));
}

void LsofOutput::line(std::string_view line) {
  if (line.empty()) return;
  const auto value = line.substr(1);
  switch (line.front()) {
    case 'n':
      if (wanted_) fileName(value);
      break;
    case 'p':
      openProcess(value);
      break;
    case 'c':
      command_ = value;
      if (!spellings_ && !found_.empty() && found_.back().pid == pid_) {
        found_.back().command = withoutLsofEscapes(value);
      }
      break;
    default:
      break;
  }
}

void LsofOutput::openProcess(std::string_view number) {
  pid_ = 0;
  const auto* end = number.data() + number.size();
  const auto [stop, error] = std::from_chars(number.data(), end, pid_);
  wanted_ = error == std::errc() && stop == end && pid_ > 0 &&
            std::none_of(found_.begin(), found_.end(),
                         [this](const Occupant& occupant) { return occupant.pid == pid_; });
  command_.clear();
  if (wanted_ && !spellings_) {
    found_.push_back({pid_, {}, {}});
    wanted_ = false;
  }
}

void LsofOutput::fileName(std::string_view name) {
  if (name.empty() || !matches(name)) return;
  wanted_ = false;
  found_.push_back({pid_, withoutLsofEscapes(command_), withoutLsofEscapes(name)});
}

bool LsofOutput::matches(std::string_view name) const {
  return std::any_of(spellings_->begin(), spellings_->end(), [name](const std::string& path) {
    return name.starts_with(path) && (name.size() == path.size() || name[path.size()] == '/');
  });
}

}  // namespace halvercine::disks

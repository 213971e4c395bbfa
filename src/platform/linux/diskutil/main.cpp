// The disk tool: mounts, unmounts and describes the volumes of this machine, with the command line
// and the texts of macOS' diskutil.
#include <csignal>
#include <cstdio>
#include <vector>

#include "base/Text.h"
#include "platform/linux/diskutil/infoText.h"
#include "platform/linux/diskutil/mountVolume.h"
#include "platform/linux/diskutil/runBounded.h"
#include "platform/linux/diskutil/unmountVolume.h"

namespace halvercine::platform::gnulinux {
namespace {

constexpr const char* usage =
    "Usage:  halvercine-diskutil info DISK\n"
    "        halvercine-diskutil mount [readOnly] DISK\n"
    "        halvercine-diskutil unmount [force] DISK\n"
    "DISK is a name such as disk5s1 or /dev/disk5s1.";

DiskAnswer answerTo(const DiskRequest& request) {
  Storage storage;
  const auto device = request.id ? storage.devices.find(*request.id) : std::nullopt;
  if (!device) return {1, "Unable to find disk for " + base::displayText(request.disk)};
  switch (request.verb) {
    case DiskVerb::info:
      return {0, infoText(*device, storage)};
    case DiskVerb::mount:
    case DiskVerb::mountReadOnly:
      return mountVolume(request, *device, storage);
    case DiskVerb::unmount:
    case DiskVerb::unmountForce:
      return unmountVolume(request, *device, storage);
  }
  return {1, usage};
}

int run(const std::vector<std::string_view>& arguments) {
  const auto request = parseRequest(arguments);
  const auto answer = request ? answerTo(*request) : DiskAnswer{1, usage};
  std::FILE* const stream = answer.status == 0 ? stdout : stderr;
  std::fprintf(stream, "%s\n", answer.text.c_str());
  std::fflush(stream);
  return answer.status;
}

}  // namespace
}  // namespace halvercine::platform::gnulinux

int main(int count, char** arguments) {
  ::signal(SIGPIPE, SIG_IGN);  // nobody listening does not stop what was begun
  const halvercine::platform::gnulinux::SignalHold hold;
  return halvercine::platform::gnulinux::run({arguments + (count > 0 ? 1 : 0), arguments + count});
}

// Disk arbitration made of kernel events, sysfs and the mount table.
#pragma once

#include <memory>

#include "base/MainActor.h"
#include "platform/DiskArbitration.h"
#include "platform/linux/Storage.h"

namespace halvercine::platform::gnulinux {

/// Sessions live on the main actor, and their callbacks come there.
class LinuxDiskArbitration : public DiskArbitration {
 public:
  LinuxDiskArbitration(base::MainActor& actor, std::shared_ptr<Storage> storage)
      : actor_(actor), storage_(std::move(storage)) {}

  std::unique_ptr<DiskArbitrationSession> createSession() override;

 private:
  base::MainActor& actor_;
  std::shared_ptr<Storage> storage_;
};

}  // namespace halvercine::platform::gnulinux

// What a system answers that has neither bundles nor privileged helpers.
#pragma once

#include "platform/ApplicationBundle.h"
#include "platform/DaemonServices.h"
#include "platform/HelperTransport.h"
#include "platform/posix/inspectFile.h"

namespace halvercine::platform::gnulinux {

/// Programs have no bundle here.
class NoApplicationBundle : public ApplicationBundle {
 public:
  std::optional<std::filesystem::path> path() override { return std::nullopt; }
  std::optional<std::string> info(std::string_view) override { return std::nullopt; }
  std::expected<FileFacts, std::error_code> inspect(const std::filesystem::path& path) override {
    return posix::inspectFile(path);
  }
};

/// Nothing starts daemons for an application here.
class NoDaemonServices : public DaemonServices {
 public:
  std::unique_ptr<DaemonService> daemon(const std::string&) override { return nullptr; }
};

/// There is no XPC here.
class NoHelperTransport : public HelperTransport {
 public:
  std::expected<std::unique_ptr<HelperConnection>, SystemError> open(
      const std::string& machService) override;
};

}  // namespace halvercine::platform::gnulinux

#include "app/commands.h"
#include "app/version.h"

namespace halvercine::app {

Answer versionCommand(const Options& options) {
  if (options.json) return jsonAnswer(options, {{"version", programVersion}});
  return {ExitStatus::done, "halvercine " + std::string(programVersion) + '\n', ""};
}

}  // namespace halvercine::app

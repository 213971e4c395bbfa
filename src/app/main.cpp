#include "app/runProgram.h"
#include "platform/posix/standardStreams.h"
#ifdef __APPLE__
#include "platform/macos/restartFromRealPath.h"
#include "platform/macos/runBesideMainLoop.h"
#endif

int main(int argc, char** argv) {
  halvercine::platform::posix::fillClosedStandardStreams();
  const auto program = [argc, argv] { return halvercine::app::runProgram(argc, argv); };
#ifdef __APPLE__
  halvercine::platform::macos::restartFromRealPath(argv);
  return halvercine::platform::macos::runBesideMainLoop(program);
#else
  return program();
#endif
}

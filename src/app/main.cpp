#include "app/runProgram.h"
#ifdef __APPLE__
#include "platform/macos/runBesideMainLoop.h"
#endif

int main(int argc, char** argv) {
  const auto program = [argc, argv] { return halvercine::app::runProgram(argc, argv); };
#ifdef __APPLE__
  return halvercine::platform::macos::runBesideMainLoop(program);
#else
  return program();
#endif
}

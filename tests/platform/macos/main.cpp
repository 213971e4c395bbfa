// The tests beside the main run loop, as the program itself runs.
#include <gtest/gtest.h>

#include "platform/macos/runBesideMainLoop.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  return halvercine::platform::macos::runBesideMainLoop([] { return RUN_ALL_TESTS(); });
}

// Running one of the system's tools to its end, within a bounded time.
#pragma once

#include <chrono>
#include <cstdint>
#include <expected>
#include <functional>
#include <string>
#include <string_view>

#include "base/Task.h"
#include "platform/Clock.h"
#include "platform/ToolRunner.h"

namespace halvercine::disks {

/// What a tool answered.
struct ToolResult {
  /// Exit status; the signal's number when a signal ended the child; -1 when it could not be
  /// started.
  std::int32_t status = 0;
  /// Standard output and standard error in the order of their coming, without white space around
  /// them; empty when they are no UTF-8. When the child could not be started, the system's reason.
  std::string text;

  bool operator==(const ToolResult&) const = default;
};

/// The text of a child that a signal has ended. Alerts recognise "timed out" in it.
inline constexpr std::string_view watchdogText = "diskutil timed out (60s watchdog), terminated";

/// When a child is told to end: a disk that answers at all does so much sooner.
inline constexpr std::chrono::seconds watchdogLimit{60};
/// How long it then has to end by itself before it is killed, and the kernel to let go of it after
/// that.
inline constexpr std::chrono::seconds terminationGrace{2};
/// How long output is waited for after the child's end. Only what the child has left behind
/// can keep the pipe open that long.
inline constexpr std::chrono::seconds drainLimit{2};

/// Runs a tool; its output comes to `output` piece by piece, on any thread, one at a time, never
/// after the end of this task. Yields how the child ended or why it could not be started, within 66
/// s. A child that even SIGKILL does not end counts as ended by it. Cancelling kills the child and
/// all of its group. Main actor.
base::Task<std::expected<platform::ToolExit, std::string>> streamTool(
    platform::ToolRunner& runner, platform::Clock& clock, platform::ToolInvocation invocation,
    std::function<void(std::string_view bytes)> output);

/// The same with the output gathered (its first 4 MiB). Main actor.
base::Task<ToolResult> runTool(platform::ToolRunner& runner, platform::Clock& clock,
                               platform::ToolInvocation invocation);

}  // namespace halvercine::disks

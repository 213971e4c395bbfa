#include "check/ExecutorProbe.h"

namespace halvercine::check {

bool ExecutorProbe::isAlive(std::int32_t pid) {
  const auto answer = processes_.probe(pid);
  if (answer && answer != std::errc::operation_not_permitted) return false;
  const auto started = processes_.startTime(pid);
  const auto& first = started_.try_emplace(pid, started).first->second;
  return !first || !started || *first == *started;
}

}  // namespace halvercine::check

// What happens when the system gives no more memory, and so no more threads.
#pragma once

#include <fstream>
#include <functional>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace halvercine::tests {

/// Whether `holds` answers true in a child that may take so many bytes of address space more than
/// it has. The child must have no threads that it needs; it is ended after a while. Linux only.
inline bool holdsInLimitedAddressSpace(rlim_t more, const std::function<bool()>& holds) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::alarm(60);
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const auto most = pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE)) + more;
    const rlimit limit{most, most};
    if (::setrlimit(RLIMIT_AS, &limit) != 0) ::_exit(3);
    ::_exit(holds() ? 0 : 1);
  }
  int status = 0;
  return ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace halvercine::tests

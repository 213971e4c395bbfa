#include "platform/linux/KeyringSession.h"

#include <array>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <stdlib.h>
#include <string_view>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

namespace halvercine::tests {
namespace {

constexpr std::string_view configuration = R"(<busconfig>
  <type>session</type>
  <listen>unix:path=@/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

/// Starts a program whose standard input is `input`, if that is given.
pid_t start(std::vector<std::string> words, const std::string& input = "") {
  std::array<int, 2> pipe{-1, -1};
  if (::pipe(pipe.data()) != 0) return -1;
  const pid_t child = ::fork();
  if (child == 0) {
    ::dup2(pipe[0], STDIN_FILENO);
    ::close(pipe[1]);
    const int nowhere = ::open("/dev/null", O_WRONLY);
    ::dup2(nowhere, STDOUT_FILENO);
    ::dup2(nowhere, STDERR_FILENO);
    std::vector<char*> arguments;
    for (auto& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    ::execvp(arguments.front(), arguments.data());
    std::_Exit(127);
  }
  ::close(pipe[0]);
  [[maybe_unused]] const auto written = ::write(pipe[1], input.data(), input.size());
  ::close(pipe[1]);
  return child;
}

bool isGone(pid_t child) { return ::waitpid(child, nullptr, WNOHANG) == child; }

/// Waits for something that another process does.
template <class Condition>
bool happens(pid_t child, Condition condition) {
  constexpr std::chrono::milliseconds interval{2};
  for (int tries = 0; tries < 5000; ++tries) {
    if (condition()) return true;
    if (isGone(child)) return false;
    std::this_thread::sleep_for(interval);
  }
  return false;
}

bool isInstalled(const char* program) {
  for (const std::string folder : {"/usr/bin/", "/usr/local/bin/", "/bin/"}) {
    if (::access((folder + program).c_str(), X_OK) == 0) return true;
  }
  return false;
}

void end(pid_t child) {
  if (child <= 0) return;
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
}

}  // namespace

KeyringSession& KeyringSession::shared() {
  static KeyringSession session;
  return session;
}

KeyringSession::KeyringSession() {
  std::string text(configuration);
  text.replace(text.find('@'), 1, folder_.path().string());
  const auto config = folder_.write("bus.conf", text);
  const auto socket = folder_.path() / "bus";
  bus_ = start({"dbus-daemon", "--nofork", "--config-file=" + config.string()});
  if (!happens(bus_, [&] { return std::filesystem::exists(socket); })) {
    giveUp("dbus-daemon could not be started");
    return;
  }
  ::setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + socket.string()).c_str(), 1);
  const auto home = folder_.path() / "home";
  const auto control = home / "keyring";
  std::filesystem::create_directories(control);
  std::filesystem::permissions(control, std::filesystem::perms::owner_all);
  keyring_ = start({"env", "HOME=" + home.string(), "XDG_DATA_HOME=" + home.string(),
                    "XDG_RUNTIME_DIR=" + home.string(), "gnome-keyring-daemon", "--foreground",
                    "--unlock", "--components=secrets", "--control-directory=" + control.string()},
                   "test");
  const auto isReady = [] {
    const pid_t child =
        start({"dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.secrets",
               "/org/freedesktop/secrets", "org.freedesktop.DBus.Peer.Ping"});
    int status = -1;
    ::waitpid(child, &status, 0);
    return status == 0;
  };
  if (!happens(keyring_, isReady)) giveUp("gnome-keyring-daemon could not be started");
}

/// A computer need not have these programs; but those that it has work.
void KeyringSession::giveUp(const std::string& why) {
  whyUnavailable_ = why;
  if (isInstalled("dbus-daemon") && isInstalled("dbus-send") &&
      isInstalled("gnome-keyring-daemon")) {
    ADD_FAILURE() << why;
  }
}

void KeyringSession::setHanging(bool hangs) const { ::kill(keyring_, hangs ? SIGSTOP : SIGCONT); }

KeyringSession::~KeyringSession() {
  end(keyring_);
  end(bus_);
}

}  // namespace halvercine::tests

// A session bus with a real keyring of its own.
#pragma once

#include <string>
#include <sys/types.h>

#include "support/TemporaryFolder.h"

namespace halvercine::tests {

/// Starts a bus and, on it, a keyring that is unlocked; this process talks to that bus from then
/// on. One for the whole process, since libraries keep their connection.
class KeyringSession {
 public:
  static KeyringSession& shared();
  ~KeyringSession();
  KeyringSession(const KeyringSession&) = delete;
  KeyringSession& operator=(const KeyringSession&) = delete;

  /// Lets the keyring hang, or go on.
  void setHanging(bool hangs) const;

  /// Why there is none on this computer; empty when there is.
  const std::string& whyUnavailable() const { return whyUnavailable_; }

 private:
  KeyringSession();
  void giveUp(const std::string& why);

  TemporaryFolder folder_;
  pid_t bus_ = -1;
  pid_t keyring_ = -1;
  std::string whyUnavailable_;
};

}  // namespace halvercine::tests

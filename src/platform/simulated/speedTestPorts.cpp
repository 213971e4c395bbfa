#include "platform/simulated/speedTestPorts.h"

#include <string>
#include <utility>

#include "base/VirtualClock.h"
#include "platform/posix/PosixWorkerThreads.h"
#include "platform/simulated/VirtualWorkerThreads.h"

namespace halvercine::platform::simulated {
namespace {

using Machine = std::shared_ptr<SimulatedMachine>;

class SimulatedAssertion : public SleepAssertion {
 public:
  explicit SimulatedAssertion(Machine machine) : machine_(std::move(machine)) {
    ++machine_->sleepAssertions();
  }
  ~SimulatedAssertion() override { --machine_->sleepAssertions(); }

 private:
  Machine machine_;
};

class SimulatedSleepAssertions : public SleepAssertions {
 public:
  explicit SimulatedSleepAssertions(Machine machine) : machine_(std::move(machine)) {}

  std::unique_ptr<SleepAssertion> take(const std::string&, const std::string&) override {
    return std::make_unique<SimulatedAssertion>(machine_);
  }

 private:
  Machine machine_;
};

class SimulatedUncachedFiles : public UncachedFiles {
 public:
  explicit SimulatedUncachedFiles(Machine machine) : machine_(std::move(machine)) {}

  std::expected<std::unique_ptr<UncachedFile>, int> create(const std::string& folder,
                                                           const std::string& name) override {
    return machine_->storage().create(folder, name);
  }
  void removeAbandoned(const std::string&, const std::string&) override {
    // Who is killed here takes the machine with it: nothing is ever left behind.
  }

 private:
  Machine machine_;
};

}  // namespace

std::unique_ptr<SleepAssertions> makeSleepAssertions(std::shared_ptr<SimulatedMachine> machine) {
  return std::make_unique<SimulatedSleepAssertions>(std::move(machine));
}

std::unique_ptr<UncachedFiles> makeUncachedFiles(std::shared_ptr<SimulatedMachine> machine) {
  return std::make_unique<SimulatedUncachedFiles>(std::move(machine));
}

std::unique_ptr<WorkerThreads> makeWorkerThreads(SimulatedMachine& machine,
                                                 const std::shared_ptr<Clock>& clock) {
  if (auto virtualClock = std::dynamic_pointer_cast<base::VirtualClock>(clock)) {
    return std::make_unique<VirtualWorkerThreads>(machine.actor(), std::move(virtualClock));
  }
  return std::make_unique<posix::PosixWorkerThreads>(machine.actor());
}

}  // namespace halvercine::platform::simulated

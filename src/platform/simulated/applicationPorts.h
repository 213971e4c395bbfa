// What a simulated Mac says of the program's own bundle and of the keychain.
#pragma once

#include <memory>

#include "platform/ApplicationBundle.h"
#include "platform/SecretStore.h"
#include "platform/simulated/SimulatedMachine.h"

namespace halvercine::platform::simulated {

std::unique_ptr<ApplicationBundle> makeApplicationBundle(std::shared_ptr<SimulatedMachine> machine);
std::unique_ptr<SecretStore> makeSecretStore(std::shared_ptr<SimulatedMachine> machine);

}  // namespace halvercine::platform::simulated

// What another process may leave in the mailbox: status records and unlock requests. Whatever is
// read must be written and read again unchanged.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "base/Json.h"
#include "base/SecretJson.h"
#include "bitlocker/Status.h"
#include "bitlocker/UnlockRequest.h"

using namespace halvercine;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  if (const auto status = base::decodeJson<bitlocker::Status>(text)) {
    const auto again = base::decodeJson<bitlocker::Status>(base::encodeJson(*status));
    if (!again || *again != *status) std::abort();
    if (bitlocker::stateOf(*again).guid != status->guid) std::abort();
  }
  if (const auto request = base::decodeSecretJson<bitlocker::UnlockRequest>(text)) {
    const auto written = base::encodeSecretJson(*request);
    const auto again = base::decodeSecretJson<bitlocker::UnlockRequest>(written.reveal());
    if (!again || *again != *request) std::abort();
  }
  return 0;
}

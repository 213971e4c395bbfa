#include "base/Completion.h"

namespace halvercine::base {

Task<void> throwIfCancelled() {
  const auto state = co_await boost::asio::this_coro::cancellation_state;
  if (state.cancelled() != boost::asio::cancellation_type::none) {
    throw boost::system::system_error(boost::asio::error::operation_aborted);
  }
}

}  // namespace halvercine::base

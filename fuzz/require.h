// What must hold for every input of a fuzz target.
#pragma once

#include <stdexcept>

namespace halvercine::fuzz {

/// Ends the run as a failure: the fuzzer keeps the input, a test shows the text.
inline void require(bool condition, const char* what) {
  if (!condition) throw std::logic_error(what);
}

}  // namespace halvercine::fuzz

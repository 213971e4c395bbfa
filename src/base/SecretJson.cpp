#include "base/SecretJson.h"

#include <array>
#include <new>
#include <string>

#include <boost/json/memory_resource.hpp>
#include <boost/json/serializer.hpp>

namespace halvercine::base {
namespace {

class WipingResource final : public boost::json::memory_resource {
  // Boost asks for no more than the usual alignment, and gives back with another one than it asked
  // for.
  void* do_allocate(std::size_t size, std::size_t) override { return ::operator new(size); }
  void do_deallocate(void* memory, std::size_t size, std::size_t) override {
    wipe(memory, size);
    ::operator delete(memory);
  }
  bool do_is_equal(const boost::json::memory_resource& other) const noexcept override {
    return this == &other;
  }
};

template <class Take>
void serializeInPieces(const boost::json::value& value, Take take) {
  std::array<char, 512> piece;
  boost::json::serializer serializer;
  serializer.reset(&value);
  while (!serializer.done()) take(serializer.read(piece.data(), piece.size()));
  wipe(piece.data(), piece.size());
}

}  // namespace

boost::json::storage_ptr wipingStorage() {
  static WipingResource resource;
  return &resource;
}

Secret serializeSecretJson(const boost::json::value& value) {
  // Measured first: a text that grows leaves copies of itself behind.
  std::size_t size = 0;
  serializeInPieces(value, [&](auto piece) { size += piece.size(); });
  std::string text;
  text.reserve(size);
  serializeInPieces(value, [&](auto piece) { text.append(piece.data(), piece.size()); });
  return Secret::takenFrom(text);
}

}  // namespace halvercine::base

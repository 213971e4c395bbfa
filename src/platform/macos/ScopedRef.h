// An owner of one reference that the system counts.
#pragma once

#include <utility>

namespace halvercine::platform::macos {

/// Owns one reference of what `Traits` tells of: the `Element` (a pointer or a number, cheap to
/// copy), which one is `none()`, how to `retain` it and how to `release` it. It is told at each
/// place which rule the reference came by, since the compiler cannot know: what a function with
/// "Create" or "Copy" in its name gave is adopted, what any other gave is retained.
template <class Traits>
class ScopedRef {
 public:
  using Element = typename Traits::Element;

  ScopedRef() = default;

  /// Takes over a reference that is the caller's already.
  [[nodiscard]] static ScopedRef adopt(Element element) {
    ScopedRef owner;
    owner.element_ = element;
    return owner;
  }

  /// Takes a reference of its own to what somebody else owns.
  [[nodiscard]] static ScopedRef retain(Element element) {
    if (element != Traits::none()) Traits::retain(element);
    return adopt(element);
  }

  ScopedRef(const ScopedRef& other) : ScopedRef(retain(other.element_)) {}
  ScopedRef(ScopedRef&& other) noexcept : element_(std::exchange(other.element_, Traits::none())) {}
  ScopedRef& operator=(ScopedRef other) noexcept {
    std::swap(element_, other.element_);
    return *this;
  }
  ~ScopedRef() {
    if (element_ != Traits::none()) Traits::release(element_);
  }

  /// Valid as long as this owner holds it.
  Element get() const { return element_; }
  explicit operator bool() const { return element_ != Traits::none(); }

  /// Gives the reference to the caller, or to a function that consumes one.
  [[nodiscard]] Element release() { return std::exchange(element_, Traits::none()); }

  void reset() { *this = ScopedRef(); }

  /// Where a function may put a reference for its caller. What was held is released first.
  [[nodiscard]] Element* out() {
    reset();
    return &element_;
  }

 private:
  Element element_ = Traits::none();
};

}  // namespace halvercine::platform::macos

// What happened between two looks at the disks.
#pragma once

#include <vector>

#include <boost/describe.hpp>

#include "app/DiskView.h"

namespace halvercine::app {

enum class DiskEventKind { appeared, changed, disappeared };
BOOST_DESCRIBE_ENUM(DiskEventKind, appeared, changed, disappeared)

struct DiskEvent {
  DiskEventKind kind = DiskEventKind::changed;
  DiskView view;  ///< as it is now; as it was last for one that disappeared
};

/// The events that lead from one list to the other: first what disappeared, then what appeared or
/// changed, each in the order of its list. Another device under the same name disappeared and
/// appeared.
std::vector<DiskEvent> eventsBetween(const std::vector<DiskView>& before,
                                     const std::vector<DiskView>& after);

}  // namespace halvercine::app

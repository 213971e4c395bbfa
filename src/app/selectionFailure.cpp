#include "app/selectionFailure.h"

#include <boost/json/array.hpp>

#include "base/Text.h"

namespace halvercine::app {

Answer selectionFailure(const CommandContext& context, const SelectionError& error) {
  const auto wanted = base::displayText(context.options.disk);
  if (!error.isAmbiguous()) {
    return failure(context.options, ExitStatus::noSuchDisk, "disk-not-found",
                   context.text("ui.error.nodisk", {wanted}));
  }
  boost::json::array candidates;
  std::string names;
  for (const auto& candidate : error.candidates) {
    candidates.emplace_back(candidate);
    names += names.empty() ? candidate : ", " + candidate;
  }
  return failure(context.options, ExitStatus::usage, "disk-ambiguous",
                 context.text("ui.error.ambiguous", {wanted, names}),
                 {{"candidates", std::move(candidates)}});
}

}  // namespace halvercine::app

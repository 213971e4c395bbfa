// An explanation for people, and for programs.
#pragma once

#include <string>

#include <boost/json/object.hpp>

#include "app/Terminal.h"
#include "base/Localization.h"
#include "mount/explanation/Explanation.h"

namespace halvercine::app {

/// The answer in one sentence, and below it what is known, what the program does and what the user
/// can do, each in a section of its own that is left out when it is empty.
std::string explanationText(const mount::Explanation& explanation,
                            const base::Localization& localization, const Terminal& terminal);

/// "disk" (its BSD name), "state", "recovery", "headline" and the three sections: "evidence",
/// "program" and "next".
boost::json::object explanationJson(const std::string& bsdName,
                                    const mount::Explanation& explanation,
                                    const base::Localization& localization);

}  // namespace halvercine::app

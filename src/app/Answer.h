// What a command answers.
#pragma once

#include <string>
#include <string_view>

#include <boost/json/object.hpp>

#include "app/ExitStatus.h"
#include "app/Options.h"

namespace halvercine::app {

/// Version of the JSON documents. Within one version fields are only added.
inline constexpr int jsonFormat = 1;

/// The end of a command: what to print, and the exit status.
struct Answer {
  ExitStatus status = ExitStatus::done;
  std::string output;      ///< for standard output
  std::string diagnostic;  ///< for standard error, without a line feed; may be empty
};

/// An answer as a JSON document: "format", "command", "result".
Answer jsonAnswer(const Options& options, boost::json::object result);

/// A failure: the message on standard error or, with --json, a document with "error" (`id` is
/// stable, `details` are put beside "id" and "message").
Answer failure(const Options& options, ExitStatus status, std::string_view id,
               const std::string& message, boost::json::object details = {});

/// The help that was asked for, or what is wrong with the command line: on standard error or, with
/// --json, as a document, which names the command only if one was recognised.
Answer misuse(const NothingToRun& nothing);

}  // namespace halvercine::app

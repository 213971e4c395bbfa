#include <boost/json/array.hpp>

#include "app/commands.h"
#include "app/confirm.h"
#include "app/isoTime.h"
#include "app/writeUserFile.h"
#include "base/Json.h"
#include "base/Text.h"
#include "operations/OperationLog.h"
#include "operations/logText.h"

namespace halvercine::app {
namespace {

using operations::OperationLog;

ExitStatus statusOf(std::error_code error) {
  if (error == std::errc::permission_denied || error == std::errc::operation_not_permitted) {
    return ExitStatus::notPermitted;
  }
  return error == std::errc::resource_unavailable_try_again ? ExitStatus::busy : ExitStatus::failed;
}

std::string placeOf(const OperationLog& log) {
  const auto path = log.fileURL();
  return path ? base::displayText(path->string()) : "";
}

/// Why the log cannot be shown as it is, or nothing.
std::optional<Answer> loadFailure(const CommandContext& context, const OperationLog& log) {
  if (!log.fileURL()) {
    return failure(context.options, ExitStatus::failed, "log-unreadable",
                   context.text("ui.log.noplace"));
  }
  const auto error = log.loadError();
  if (!error) return std::nullopt;
  return failure(context.options, statusOf(error), "log-unreadable",
                 context.text("ui.log.unreadable", {placeOf(log), error.message()}));
}

boost::json::object toJson(const operations::OperationLogEntry& entry) {
  const auto [seconds, milliseconds] = entryTime(entry);
  return {{"id", entry.id},
          {"time", entry.time},
          {"date", isoTime(seconds, milliseconds)},
          {"category", entry.category},
          {"message", entry.message}};
}

Answer show(const CommandContext& context, const OperationLog& log) {
  const auto& entries = log.entries();
  if (context.options.json) {
    boost::json::array list;
    list.reserve(entries.size());
    for (const auto& entry : entries) list.push_back(toJson(entry));
    return jsonAnswer(context.options, {{"entries", std::move(list)}});
  }
  const auto text = entries.empty() ? context.text("settings.log.empty") : log.exportText();
  return {ExitStatus::done, text + '\n', ""};
}

Answer exportFailure(const CommandContext& context, std::error_code error) {
  const auto name = base::displayText(context.options.file);
  if (error == std::errc::file_exists) {
    return failure(context.options, ExitStatus::failed, "file-exists",
                   context.text("ui.log.export.exists", {name}));
  }
  const auto reason =
      error == std::errc::not_supported ? context.text("ui.log.export.notafile") : error.message();
  return failure(context.options, statusOf(error), "export-failed",
                 context.text("ui.log.export.failed", {name, reason}));
}

Answer exportToOutput(const CommandContext& context, const std::string& text) {
  if (context.options.json) return jsonAnswer(context.options, {{"text", text}});
  return {ExitStatus::done, text.empty() ? "" : text + '\n', ""};
}

Answer exportTo(const CommandContext& context, const OperationLog& log) {
  const auto& file = context.options.file;
  const auto text = log.exportText();
  if (file == "-") return exportToOutput(context, text);
  const auto error = context.options.force ? writeOverFile(file, text) : writeNewFile(file, text);
  if (error) return exportFailure(context, error);
  if (context.options.json) {
    return jsonAnswer(context.options, {{"file", file}, {"entries", log.entries().size()}});
  }
  return {ExitStatus::done, context.text("ui.log.export.done", {base::displayText(file)}) + '\n',
          ""};
}

Answer copy(const CommandContext& context, const OperationLog& log) {
  if (!log.copy(*context.platform.pasteboard)) {
    return failure(context.options, ExitStatus::failed, "no-pasteboard",
                   context.text("ui.log.copy.unavailable"));
  }
  if (context.options.json) {
    return jsonAnswer(context.options, {{"entries", log.entries().size()}});
  }
  return {ExitStatus::done, context.text("ui.log.copy.done") + '\n', ""};
}

/// The answer of a clearing that was not agreed to, or nothing.
std::optional<Answer> refusal(const CommandContext& context) {
  if (context.options.yes) return std::nullopt;
  if (context.options.json || !canAsk()) {
    return failure(context.options, ExitStatus::usage, "confirmation-needed",
                   context.text("ui.log.clear.needsyes"));
  }
  const auto question = context.text("settings.log.clear.confirm.title") + '\n' +
                        context.text("settings.log.clear.confirm.message") + '\n' +
                        context.text("ui.confirm.prompt") + ' ';
  if (confirm(question)) return std::nullopt;
  return failure(context.options, ExitStatus::failed, "not-confirmed",
                 context.text("ui.log.clear.refused"));
}

Answer clear(const CommandContext& context, OperationLog& log) {
  if (auto refused = refusal(context)) return std::move(*refused);
  const auto count = log.entries().size();
  if (const auto error = log.clear()) {
    return failure(context.options, statusOf(error), "log-not-cleared",
                   context.text("ui.log.clear.failed", {placeOf(log), error.message()}));
  }
  if (context.options.json) return jsonAnswer(context.options, {{"removed", count}});
  return {ExitStatus::done, context.text("ui.log.clear.done") + '\n', ""};
}

}  // namespace

Answer logCommand(const CommandContext& context) {
  OperationLog log(*context.platform.containers, *context.platform.clock);
  if (context.options.logAction == LogAction::clear) return clear(context, log);
  if (auto unreadable = loadFailure(context, log)) return std::move(*unreadable);
  switch (context.options.logAction) {
    case LogAction::exportTo:
      return exportTo(context, log);
    case LogAction::copy:
      return copy(context, log);
    case LogAction::show:
    case LogAction::clear:
      break;
  }
  return show(context, log);
}

}  // namespace halvercine::app

#include "document_report.h"

#include <cstdio>

#include "console.h"
#include "result_writer.h"

namespace orvxml::command {

namespace {

void printJson(const std::string& document, const Problem& problem) {
  std::string text = jsonHead(document, false) + ", \"message\": " + jsonString(problem.message);
  if (problem.position) {
    text += ", \"line\": " + problem.position->line + ", \"column\": " + problem.position->column;
  }
  std::printf("%s}\n", text.c_str());
}

std::optional<Problem> runOne(const std::string& path,
                              const std::function<std::optional<Problem>(StreamedFile&)>& work) {
  try {
    StreamedFile file(path);
    return work(file);
  } catch (const Failure& failure) {
    return Problem{failure.where(), failure.what(), {}};
  }
}

}  // namespace

std::string jsonHead(const std::string& document, bool ok) {
  return "{\"document\": " + jsonString(document) + ", \"ok\": " + (ok ? "true" : "false");
}

Problem problemIn(const std::string& document, const LocalContext& context) {
  std::string message = context.message;
  message.erase(message.find_last_not_of('\n') + 1);
  if (message.empty()) message = std::string("cannot be read: SQLSTATE ") + context.sqlState;
  const Notice* const failure = context.failure();
  const std::optional<Position> position = failure ? parserPosition(*failure) : std::nullopt;
  return {position ? located(document, *position) : document, std::move(message), position};
}

ExitStatus forEachDocument(const Settings& settings, const std::vector<std::string>& paths,
                           const std::function<std::optional<Problem>(StreamedFile&)>& work) {
  ExitStatus status = kDone;
  for (const std::string& path : paths) {
    if (const std::optional<Problem> problem = runOne(path, work)) {
      if (settings.json) printJson(inputName(path), *problem);
      printMessage(problem->where, problem->message);
      status = kFailed;
    }
    checkOutput();
  }
  return status;
}

}  // namespace orvxml::command

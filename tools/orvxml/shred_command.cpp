#include "shred_command.h"

#include <cinttypes>
#include <cstdio>
#include <optional>
#include <utility>

#include "console.h"
#include "database.h"
#include "input_file.h"
#include "mapping.h"
#include "result_writer.h"
#include "shredder.h"
#include "text_encoding.h"
#include "text_layout.h"

namespace orvxml::command {

namespace {

using TableCounts = std::vector<std::pair<std::string, int64_t>>;

// What became of one document.
struct DocumentResult {
  std::string name;
  std::string where;  // in front of the message
  std::string message;
  int code = 0;
  bool ok = false;
  std::optional<Position> position;
  TableCounts rows;
};

class DocumentRun {
 public:
  DocumentRun(const Settings& settings, orv::Session& session, Mapping mapping, size_t total)
      : settings_(settings),
        session_(session),
        shredder_(session, std::move(mapping)),
        progress_(total, !settings.quiet) {}

  // One document as one unit of work; its outcome is reported. True when it succeeded.
  bool run(const std::string& path) {
    DocumentResult result;
    result.name = result.where = inputName(path);
    try {
      shred(documentAsUtf8(result.name, readWhole(path)), result);
    } catch (const Failure& failure) {
      result.ok = false;
      result.where = failure.where();
      result.message = failure.what();
      result.code = -1;
    }
    if (!result.ok) session_.rollback();
    result.message.erase(result.message.find_last_not_of('\n') + 1);
    report(result);
    progress_.documentEnded(result.ok);
    return result.ok;
  }

 private:
  void shred(const std::string& document, DocumentResult& result) {
    session_.resetInsertCounts();
    ShredOutcome outcome = shredInTurn(result.name, document);
    result.code = outcome.code;
    result.message = std::move(outcome.message);
    if (outcome.code < 0) {
      session_.rollback();
      locate(result);
      return;
    }
    result.rows = session_.insertCounts();
    require(session_.commit(), result.name);
    result.ok = true;
  }

  ShredOutcome shredInTurn(const std::string& name, const std::string& document) {
    const orv::Outcome outcome = session_.beginChange();
    if (outcome.failed()) return {outcome.sqlcode, outcome.message};
    return shredder_.shred(name, document);
  }

  // Says whose line and column a parser error counts.
  void locate(DocumentResult& result) {
    result.position = parserPosition(result.message);
    if (!result.position) return;
    const bool inMapping = shredder_.isAboutMapping(result.message);
    session_.rollback();
    result.where =
        located(inMapping ? labelOf(shredder_.mapping()) : result.name, *result.position);
    if (inMapping) result.position.reset();
  }

  void report(const DocumentResult& result) {
    progress_.clearForData();
    if (settings_.json) {
      printJson(result);
    } else if (result.ok && !settings_.quiet) {
      printRows(result);
    }
    if (!result.ok) {
      progress_.clear();
      printFailure(result.where, result.message);
    } else if (result.rows.empty()) {
      progress_.clear();
      printMessage(result.where,
                   "warning: the document put no row into any table; do its element names and "
                   "nesting match the mapping?");
    }
    checkOutput();
  }

  static void printRows(const DocumentResult& result) {
    std::printf("%s: %s\n", result.name.c_str(), result.message.c_str());
    size_t width = 0;
    for (const auto& [table, count] : result.rows) width = std::max(width, displayWidth(table));
    for (const auto& [table, count] : result.rows) {
      const auto blanks = static_cast<int>(width - displayWidth(table));
      std::printf("  %s%*s %8" PRId64 "\n", table.c_str(), blanks, "", count);
    }
  }

  static void printJson(const DocumentResult& result) {
    std::string text = "{\"document\": " + jsonString(result.name) +
                       ", \"ok\": " + (result.ok ? "true" : "false") +
                       ", \"code\": " + std::to_string(result.code) +
                       ", \"message\": " + jsonString(result.message);
    if (result.position) {
      text += ", \"line\": " + result.position->line + ", \"column\": " + result.position->column;
    }
    text += ", \"rows\": {";
    const char* separator = "";
    for (const auto& [table, count] : result.rows) {
      text += separator + jsonString(table) + ": " + std::to_string(count);
      separator = ", ";
    }
    std::printf("%s}}\n", text.c_str());
  }

  const Settings& settings_;
  orv::Session& session_;
  Shredder shredder_;
  Progress progress_;
};

void checkOptions(const ShredOptions& options) {
  checkMapping(options.dad, options.collection);
  if (options.documents.empty()) throw Failure("", "no document given", kWrongUse);
}

}  // namespace

ExitStatus runShred(const Settings& settings, const ShredOptions& options) {
  checkOptions(options);
  requireDatabase(settings);
  Mapping mapping = readMapping(options.dad, options.collection);
  const std::unique_ptr<orv::Session> session = openDatabase(settings);
  DocumentRun run(settings, *session, std::move(mapping), options.documents.size());
  ExitStatus status = kDone;
  for (const std::string& document : options.documents) {
    if (run.run(document)) continue;
    status = kFailed;
    if (!options.keepGoing) break;
  }
  return status;
}

}  // namespace orvxml::command

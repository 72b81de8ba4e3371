#include "shred_command.h"

#include <cinttypes>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "console.h"
#include "document_report.h"
#include "document_verifier.h"
#include "given_mapping.h"
#include "input_file.h"
#include "open_database.h"
#include "result_writer.h"
#include "shred_notices.h"
#include "shredder.h"
#include "text_encoding.h"
#include "text_layout.h"

namespace orvxml::command {

namespace {

using TableCounts = std::vector<std::pair<std::string, int64_t>>;

// What became of one document.
struct DocumentResult {
  std::string name;
  std::string where;   // in front of the message
  std::string detail;  // of a failure: what the message lacks
  std::string server;  // what the server said, which the message hides at its end
  std::string message;
  int code = 0;
  bool ok = false;
  std::optional<Position> position;
  std::optional<bool> verified;
  TableCounts rows;
};

class DocumentRun {
 public:
  DocumentRun(const Settings& settings, const ShredOptions& options, orv::Session& session,
              Mapping mapping)
      : settings_(settings),
        options_(options),
        session_(session),
        shredder_(session, std::move(mapping)),
        mappingText_(textOf(session, shredder_.mapping())),
        mapping_{labelOf(shredder_.mapping()), mappingText_},
        progress_(options.documents.size(), !settings.quiet) {
    session_.rollback();  // what was read of the mapping is no part of a document's unit of work
  }

  // One document as one unit of work; its outcome is reported. True when it succeeded.
  bool run(const std::string& path) {
    DocumentResult result;
    result.name = result.where = inputName(path);
    std::string document;
    notices_.begin();
    try {
      document = documentAsUtf8(result.name, readWhole(path));
      shred(document, result);
    } catch (const Failure& failure) {
      result.ok = false;
      result.rows.clear();
      result.where = failure.where();
      result.message = failure.what();
      result.code = -1;
    }
    if (!result.ok) session_.rollback();
    result.message.erase(result.message.find_last_not_of('\n') + 1);
    report(result, {result.name, document});
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
      return locate({result.name, document}, result);
    }
    if (options_.strict) refuseWhatIsLeftOut(result.name);
    if (options_.verify && !verify({result.name, document}, result)) return;
    result.rows = session_.insertCounts();
    require(session_.commit(), result.name);
    result.ok = true;
  }

  ShredOutcome shredInTurn(const std::string& name, const std::string& document) {
    const orv::Outcome outcome = session_.beginChange();
    if (outcome.failed()) return {outcome.sqlcode, outcome.message};
    const Listening listening(notices_);
    return shredder_.shred(name, document);
  }

  void refuseWhatIsLeftOut(const std::string& name) const {
    const size_t warnings = notices_.warnings();
    if (warnings == 0 && notices_.notTaken().empty()) return;
    std::string text = "refused by --strict";
    if (warnings > 0) {
      text += ": " + countText(static_cast<int64_t>(warnings), "warning") + ' ' + notices_.rules();
    }
    if (!notices_.notTaken().empty()) text += (warnings > 0 ? "; " : ": ") + notTakenText();
    throw Failure(name, text);
  }

  // Composes in the unit of work that the rows went into.
  bool verify(const NamedText& document, DocumentResult& result) {
    const std::optional<Difference> difference =
        verifyDocument(session_, shredder_.mapping(), notices_.origin(), document);
    result.verified = !difference;
    if (!difference) return true;
    result.code = -1;
    result.message = "refused by --verify: " + difference->text;
    result.position = positionOf(document, difference->element);
    if (result.position) result.where = located(document.label, *result.position);
    return false;
  }

  std::string notTakenText() const { return "not taken: " + notices_.notTaken(); }

  // Says what the failure is about, and where in it.
  void locate(const NamedText& document, DocumentResult& result) const {
    const Notice* failure = notices_.failure();
    if (!failure) return;
    result.detail = failure->text;
    result.server = fromCodePage(failure->serverWords, session_.codePage());
    if (!failure->file.empty()) return blame(*failure, result);
    const bool inMapping = failure->about == FailureText::kMapping;
    const NamedText& text = inMapping ? mapping_ : document;
    result.position = parserPosition(*failure);
    if (!result.position) {
      const size_t element = inMapping ? failure->mappingElement : failure->documentElement;
      result.position = positionOf(text, element);
    }
    result.where = result.position ? located(text.label, *result.position) : text.label;
    if (inMapping) result.position.reset();
  }

  // The message is about a schema or DTD, and so are its line and column.
  static void blame(const Notice& failure, DocumentResult& result) {
    const std::optional<Position> position = parserPosition(failure);
    result.where = position ? located(failure.file, *position) : failure.file;
    if (!result.detail.empty()) result.message += '\n' + std::exchange(result.detail, "");
  }

  void report(const DocumentResult& result, const NamedText& document) {
    progress_.clearForData();
    if (notices_.hasUnprinted()) progress_.clear();
    std::string warnings;
    const NoticePlaces places = notices_.places(mapping_, document);
    if (settings_.json) warnings = warningsAsJson(places);
    notices_.print(places);
    if (settings_.json) {
      printJson(result, warnings);
    } else if (result.ok && !settings_.quiet) {
      printRows(result);
    }
    if (!result.ok) {
      progress_.clear();
      printFailure(result.where, failureText(result));
    } else if (result.rows.empty()) {
      progress_.clear();
      printMessage(result.where,
                   "warning: the document put no row into any table; do its element names and "
                   "nesting match the mapping?");
    }
    checkOutput();
  }

  static std::string failureText(const DocumentResult& result) {
    const std::string detail = result.detail.empty() ? "" : result.detail + ": ";
    return detail + (result.server.empty() ? "" : result.server + '\n') + result.message;
  }

  void printRows(const DocumentResult& result) const {
    std::printf("%s: %s\n", result.name.c_str(), result.message.c_str());
    size_t width = 0;
    for (const auto& [table, count] : result.rows) width = std::max(width, displayWidth(table));
    for (const auto& [table, count] : result.rows) {
      const auto blanks = static_cast<int>(width - displayWidth(table));
      std::printf("  %s%*s %8" PRId64 "\n", table.c_str(), blanks, "", count);
    }
    if (!notices_.notTaken().empty()) std::printf("  %s\n", notTakenText().c_str());
  }

  // The warnings of this document, those about the mapping included.
  std::string warningsAsJson(const NoticePlaces& places) const {
    std::string text;
    for (const Notice& notice : notices_.list()) {
      text += (text.empty() ? "{\"rule\": " : ", {\"rule\": ") + jsonString(notice.rule) +
              ", \"text\": " + jsonString(notice.text);
      if (const auto at = places.document.positionOf(notice.documentElement)) {
        text += ", \"line\": " + at->line + ", \"column\": " + at->column;
      }
      if (const auto at = places.mapping.positionOf(notice.mappingElement)) {
        text += ", \"mapping_line\": " + at->line + ", \"mapping_column\": " + at->column;
      }
      text += '}';
    }
    return text;
  }

  void printJson(const DocumentResult& result, const std::string& warnings) const {
    std::string text = jsonHead(result.name, result.ok) +
                       ", \"code\": " + std::to_string(result.code) +
                       ", \"message\": " + jsonString(result.message);
    if (!result.detail.empty()) text += ", \"detail\": " + jsonString(result.detail);
    if (result.position) {
      text += ", \"line\": " + result.position->line + ", \"column\": " + result.position->column;
    }
    if (result.verified)
      text += std::string(", \"verified\": ") + (*result.verified ? "true" : "false");
    if (!warnings.empty()) text += ", \"warnings\": [" + warnings + ']';
    if (!notices_.notTaken().empty()) text += ", \"not_taken\": " + jsonString(notices_.notTaken());
    text += ", \"rows\": {";
    const char* separator = "";
    for (const auto& [table, count] : result.rows) {
      text += separator + jsonString(table) + ": " + std::to_string(count);
      separator = ", ";
    }
    std::printf("%s}}\n", text.c_str());
  }

  const Settings& settings_;
  const ShredOptions& options_;
  orv::Session& session_;
  Shredder shredder_;
  const std::string mappingText_;
  const NamedText mapping_;
  ShredNotices notices_;
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
  DocumentRun run(settings, options, *session, std::move(mapping));
  ExitStatus status = kDone;
  for (const std::string& document : options.documents) {
    if (run.run(document)) continue;
    status = kFailed;
    if (!options.keepGoing) break;
  }
  return status;
}

}  // namespace orvxml::command

#include "compose_command.h"

#include <cstdio>
#include <memory>
#include <utility>

#include "composer.h"
#include "console.h"
#include "document_writers.h"
#include "notice_log.h"
#include "open_database.h"
#include "result_writer.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

std::string jsonField(const char* name, const std::string& value) {
  return ", \"" + std::string(name) + "\": " + value;
}

class ComposeRun {
 public:
  ComposeRun(const Settings& settings, const ComposeOptions& options, orv::Session& session,
             Mapping mapping, Override override)
      : settings_(settings),
        options_(options),
        session_(session),
        mappingText_(textOf(session, mapping)),
        composer_(session, std::move(mapping), std::move(override)) {}

  ExitStatus run() {
    const Listening listening(log_);
    if (!options_.into.empty()) return intoTable();
    if (!options_.wrap.empty()) {
      WrappedDocuments documents(options_.wrap, options_.output);
      return compose(documents);
    }
    if (!options_.outputDir.empty()) {
      NumberedDocuments documents(options_.outputDir);
      return compose(documents);
    }
    FirstDocument document(options_.output);
    return compose(document, options_.output.empty() ? &document.kept() : nullptr);
  }

 private:
  bool firstOnly() const {
    return options_.into.empty() && options_.outputDir.empty() && options_.wrap.empty();
  }
  ExitStatus compose(DocumentWriter& documents, const std::string* shown = nullptr);
  ExitStatus intoTable();
  bool leaveOut(const std::string& message);
  NamedText mapping() const { return {labelOf(composer_.mapping()), mappingText_}; }
  ExitStatus failed(const ComposeOutcome& outcome);
  void printPlaced(const std::string& message);
  void report(const ComposeOutcome& outcome, const DocumentWriter* documents,
              const std::string* shown);
  std::string jsonFields(const DocumentWriter* documents, const std::string* shown) const;
  void reportCounts(const ComposeOutcome& outcome, const DocumentWriter* documents) const;
  void printDocument(const std::string& document) const;
  std::string target() const;
  void printJson(const ComposeOutcome& outcome, bool ok, const std::string& more) const;

  const Settings& settings_;
  const ComposeOptions& options_;
  orv::Session& session_;
  const std::string mappingText_;
  Composer composer_;
  NoticeLog log_;
  int leftOut_ = 0;
};

// ---- The ways out.
// `shown`: the document that goes to standard output at the end, if one does.
ExitStatus ComposeRun::compose(DocumentWriter& documents, const std::string* shown) {
  if (options_.keepGoing) {
    documents.whenUnwritable(
        [&](const char* message) { return leaveOut(fromCodePage(message, session_.codePage())); });
  }
  const ComposeOutcome outcome =
      composer_.composeDocuments(documents, firstOnly(), options_.maxRows);
  session_.rollback();
  documents.rethrow();
  if (outcome.code < 0) return failed(outcome);
  documents.complete();
  report(outcome, &documents, outcome.documents > 0 ? shown : nullptr);
  return leftOut_ > 0 ? kFailed : kDone;
}

ExitStatus ComposeRun::intoTable() {
  require(session_.beginChange(), settings_.database);
  const ComposeOutcome outcome = composer_.composeRows(
      {options_.into, options_.column, options_.validColumn}, options_.maxRows);
  if (outcome.code < 0) {
    session_.rollback();
    return failed(outcome);
  }
  require(session_.commit(), settings_.database);
  report(outcome, nullptr, nullptr);
  return kDone;
}

bool ComposeRun::leaveOut(const std::string& message) {
  ++leftOut_;
  printPlaced(message);
  log_.forgetFailure();
  return true;
}

// ---- What is said about it.
// A message of the library behind the place that it is about. The line and column of a parser's
// error count in the file that it names, or in the mapping unless it is about a text that an
// element makes.
void ComposeRun::printPlaced(const std::string& message) {
  std::string where = labelOf(composer_.mapping());
  std::string text = message;
  if (const Notice* const failure = log_.failure()) {
    where = placeOf(failure, mapping(), {}, where);
    if (!failure->text.empty()) text = failure->text + ": " + message;
    const bool countsThere = !failure->file.empty() || failure->mappingElement == 0;
    const std::optional<Position> position = parserPosition(*failure);
    if (countsThere && position) where = located(where, *position);
  }
  printFailure(where, text);
}

ExitStatus ComposeRun::failed(const ComposeOutcome& outcome) {
  if (settings_.json) printJson(outcome, false, "");
  log_.printWarnings(mapping());
  printPlaced(outcome.message);
  checkOutput();
  return kFailed;
}

std::string ComposeRun::target() const {
  for (const std::string* name : {&options_.into, &options_.outputDir, &options_.output}) {
    if (!name->empty()) return *name;
  }
  return "";
}

// Ahead of a document on standard output, so that it is not taken for all there is.
void ComposeRun::report(const ComposeOutcome& outcome, const DocumentWriter* documents,
                        const std::string* shown) {
  log_.printWarnings(mapping());
  const bool writesHeaders = documents && options_.wrap.empty();
  if (writesHeaders && !documents->otherEncoding().empty()) {
    printMessage(labelOf(composer_.mapping()),
                 "warning: the prolog names the encoding " + documents->otherEncoding() +
                     "; what is written is UTF-8 and says so [prolog-encoding]");
  }
  if (outcome.code > 0 || (!settings_.quiet && !settings_.json)) printMessage("", outcome.message);
  if (outcome.documents == 0) {
    printMessage(labelOf(composer_.mapping()), "warning: no document was composed");
  }
  if (!settings_.quiet && !settings_.json) reportCounts(outcome, documents);
  if (settings_.json) {
    printJson(outcome, leftOut_ == 0, jsonFields(documents, shown));
  } else if (shown) {
    printDocument(*shown);
  }
  checkOutput();
}

std::string ComposeRun::jsonFields(const DocumentWriter* documents,
                                   const std::string* shown) const {
  std::string fields;
  if (documents && documents->valid() + documents->invalid() > 0) {
    fields += jsonField("valid", std::to_string(documents->valid())) +
              jsonField("invalid", std::to_string(documents->invalid()));
  }
  if (options_.keepGoing) fields += jsonField("leftOut", std::to_string(leftOut_));
  if (!target().empty()) fields += jsonField("output", jsonString(target()));
  if (shown) fields += jsonField("document", jsonString(*shown));
  return fields;
}

void ComposeRun::reportCounts(const ComposeOutcome& outcome,
                              const DocumentWriter* documents) const {
  std::string text = countText(outcome.documents, "document");
  if (leftOut_ > 0) text += ", " + std::to_string(leftOut_) + " left out";
  if (firstOnly() && outcome.documents > 1) {
    text += "; this is the first, --output-dir or --wrap writes all of them";
  }
  printMessage("", text);
  if (!documents || documents->valid() + documents->invalid() == 0) return;
  if (firstOnly()) return printMessage("", documents->valid() > 0 ? "valid" : "invalid");
  printMessage("", std::to_string(documents->valid()) + " valid, " +
                       std::to_string(documents->invalid()) + " invalid");
}

void ComposeRun::printDocument(const std::string& document) const {
  std::fwrite(document.data(), 1, document.size(), stdout);
  if (!document.ends_with('\n')) std::fputc('\n', stdout);
}

void ComposeRun::printJson(const ComposeOutcome& outcome, bool ok, const std::string& more) const {
  std::string message = outcome.message;
  message.erase(message.find_last_not_of('\n') + 1);
  const std::string text = std::string("{\"ok\": ") + (ok ? "true" : "false") +
                           jsonField("code", std::to_string(outcome.code)) +
                           jsonField("message", jsonString(message)) +
                           jsonField("documents", std::to_string(outcome.documents)) + more + "}\n";
  std::fwrite(text.data(), 1, text.size(), stdout);
}

// ---- The options.
[[noreturn]] void wrong(const char* text) {
  throw Failure("", text, kWrongUse);
}

// A colon would be the end of a prefix that nothing declares.
bool isElementName(const std::string& name) {
  if (name.find_first_of(" \t\r\n<>/=&'\"!?:") != std::string::npos) return false;
  const std::string document = '<' + plainTextAsUtf8("<wrap>", name) + "/>";
  ElementPlace place{.element = 1};
  return qrkElementPlaces(document.data(), document.size(), &place, 1) == 0 && place.line == 1;
}

void checkOptions(const ComposeOptions& options) {
  checkMapping(options.dad, options.collection);
  if (options.overrideSql && options.overrideXml) {
    wrong("give --override-sql or --override-xml, not both");
  }
  const bool toFolder = !options.outputDir.empty(), toTable = !options.into.empty();
  const bool toOne = !options.output.empty() || !options.wrap.empty();
  if (toFolder + toTable + toOne > 1) {
    wrong("give one of --output-dir, --into, and --output or --wrap");
  }
  if (!toTable && !(options.column.empty() && options.validColumn.empty())) {
    wrong("--column and --valid-column go with --into");
  }
  if (options.column.empty() && !options.validColumn.empty()) {
    wrong("--valid-column goes with --column");
  }
  if (options.maxRows < 0) wrong("--max-rows takes no negative number");
  if (options.maxRows > 0 && !toFolder && !toTable && options.wrap.empty()) {
    wrong("--max-rows goes with --output-dir, --wrap or --into");
  }
  if (options.keepGoing && !toFolder && options.wrap.empty()) {
    wrong("--keep-going goes with --output-dir or --wrap");
  }
}

void checkWrap(const Settings& settings, const ComposeOptions& options) {
  if (options.wrap.empty()) return;
  if (!isElementName(options.wrap)) wrong("--wrap takes the name of an element, without a prefix");
  if (settings.json && options.output.empty()) wrong("--json with --wrap wants --output");
}

Override readOverride(const ComposeOptions& options) {
  if (options.overrideSql) {
    return {Override::kSql, plainTextAsUtf8("<override>", *options.overrideSql)};
  }
  if (options.overrideXml) {
    return {Override::kXml, plainTextAsUtf8("<override>", *options.overrideXml)};
  }
  return {};
}

}  // namespace

ExitStatus runCompose(const Settings& settings, const ComposeOptions& options) {
  checkOptions(options);
  checkWrap(settings, options);
  requireDatabase(settings);
  Mapping mapping = readMapping(options.dad, options.collection);
  Override override = readOverride(options);
  const std::unique_ptr<orv::Session> session = openDatabase(settings);
  return ComposeRun(settings, options, *session, std::move(mapping), std::move(override)).run();
}

}  // namespace orvxml::command

#include "compose_command.h"

#include <cstdio>
#include <memory>
#include <utility>

#include "composer.h"
#include "console.h"
#include "database.h"
#include "output_file.h"
#include "result_writer.h"
#include "shredder.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

constexpr const char* kCollectingTable =
    "DECLARE GLOBAL TEMPORARY TABLE SESSION.QRK_RESULT (DOC CLOB(2G), VALID INTEGER)"
    " ON COMMIT PRESERVE ROWS NOT LOGGED";
const ResultTable kCollected{"SESSION.QRK_RESULT", "DOC", "VALID"};

// How many of the documents were found valid and invalid.
struct Validity {
  size_t valid = 0;
  size_t invalid = 0;

  void add(bool isValid) { ++(isValid ? valid : invalid); }
  bool known() const { return valid + invalid > 0; }
};

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
        composer_(session, std::move(mapping), std::move(override)) {}

  ExitStatus run() {
    if (!options_.into.empty()) return intoTable();
    if (!options_.outputDir.empty()) return intoFolder();
    return firstDocument();
  }

 private:
  ExitStatus firstDocument();
  ExitStatus intoFolder();
  ExitStatus intoTable();
  void writeCollected(OutputFolder& folder, Validity& validity);
  ExitStatus failed(const ComposeOutcome& outcome);
  std::string whereFailed(const std::string& message);
  void report(const ComposeOutcome& outcome, const Validity& validity, const std::string& target);
  void printJson(const ComposeOutcome& outcome, bool ok, const std::string& more);

  const Settings& settings_;
  const ComposeOptions& options_;
  orv::Session& session_;
  Composer composer_;
};

// ---- The three ways out.
ExitStatus ComposeRun::firstDocument() {
  std::optional<OutputFile> file;
  if (!options_.output.empty()) file.emplace(options_.output);
  const ComposeOutcome outcome = composer_.composeDocument();
  session_.rollback();
  if (outcome.code < 0) return failed(outcome);
  const bool composed = outcome.documents > 0;
  if (file && composed) {
    file->write(outcome.document);
    file->commit();
  } else if (!settings_.json && composed) {
    std::fwrite(outcome.document.data(), 1, outcome.document.size(), stdout);
    if (!outcome.document.ends_with('\n')) std::fputc('\n', stdout);
  }
  checkOutput();
  Validity validity;
  if (outcome.valid) validity.add(*outcome.valid);
  report(outcome, validity, options_.output);
  return kDone;
}

ExitStatus ComposeRun::intoFolder() {
  OutputFolder folder(options_.outputDir);
  require(session_.run(kCollectingTable).outcome, settings_.database);
  const ComposeOutcome outcome = composer_.composeRows(kCollected, options_.maxRows);
  if (outcome.code < 0) return failed(outcome);
  Validity validity;
  writeCollected(folder, validity);
  session_.rollback();
  folder.keep();
  report(outcome, validity, options_.outputDir);
  return kDone;
}

void ComposeRun::writeCollected(OutputFolder& folder, Validity& validity) {
  const orv::Result result = session_.run("SELECT DOC, VALID FROM SESSION.QRK_RESULT", nullptr,
                                          [&](std::vector<orv::ResultValue>& row) {
                                            folder.add(row[0].value_or(""));
                                            if (row[1]) validity.add(*row[1] != "0");
                                            return true;
                                          });
  require(result.outcome, settings_.database);
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
  report(outcome, {}, options_.into);
  return kDone;
}

// ---- What is said about it.
// Line and column of a parser error when they count in the mapping.
std::string ComposeRun::whereFailed(const std::string& message) {
  const Mapping& mapping = composer_.mapping();
  const std::optional<Position> position = parserPosition(message);
  if (!position) return labelOf(mapping);
  const bool inMapping = Shredder(session_, mapping).isAboutMapping(message);
  session_.rollback();
  return inMapping ? located(labelOf(mapping), *position) : labelOf(mapping);
}

ExitStatus ComposeRun::failed(const ComposeOutcome& outcome) {
  if (settings_.json) printJson(outcome, false, "");
  printFailure(whereFailed(outcome.message), outcome.message);
  if (outcome.message.find("The limit for resultDoc") != std::string::npos) {
    printMessage("", "--output-dir writes documents of any size");
  }
  checkOutput();
  return kFailed;
}

void ComposeRun::report(const ComposeOutcome& outcome, const Validity& validity,
                        const std::string& target) {
  const bool onlyFirst = options_.into.empty() && options_.outputDir.empty();
  if (settings_.json) {
    std::string more;
    if (validity.known()) {
      more += jsonField("valid", std::to_string(validity.valid)) +
              jsonField("invalid", std::to_string(validity.invalid));
    }
    if (!target.empty()) {
      more += jsonField("output", jsonString(target));
    } else if (outcome.documents > 0) {
      more += jsonField("document", jsonString(outcome.document));
    }
    printJson(outcome, true, more);
    checkOutput();
  }
  if (outcome.code > 0 || (!settings_.quiet && !settings_.json)) printMessage("", outcome.message);
  if (outcome.documents == 0) {
    printMessage(labelOf(composer_.mapping()), "warning: no document was composed");
  }
  if (settings_.quiet || settings_.json) return;
  const bool someLeft = onlyFirst && outcome.documents > 1;
  printMessage("", countText(outcome.documents, "document") +
                       (someLeft ? "; this is the first, --output-dir writes all of them" : ""));
  if (!validity.known()) return;
  if (onlyFirst) return printMessage("", validity.valid > 0 ? "valid" : "invalid");
  printMessage("", std::to_string(validity.valid) + " valid, " + std::to_string(validity.invalid) +
                       " invalid");
}

void ComposeRun::printJson(const ComposeOutcome& outcome, bool ok, const std::string& more) {
  std::string message = outcome.message;
  message.erase(message.find_last_not_of('\n') + 1);
  const std::string text = std::string("{\"ok\": ") + (ok ? "true" : "false") +
                           jsonField("code", std::to_string(outcome.code)) +
                           jsonField("message", jsonString(message)) +
                           jsonField("documents", std::to_string(outcome.documents)) + more + "}\n";
  std::fwrite(text.data(), 1, text.size(), stdout);
}

// ---- The options.
void checkOptions(const ComposeOptions& options) {
  const auto wrong = [](const char* text) { throw Failure("", text, kWrongUse); };
  checkMapping(options.dad, options.collection);
  if (options.overrideSql && options.overrideXml) {
    wrong("give --override-sql or --override-xml, not both");
  }
  const int targets = !options.output.empty() + !options.outputDir.empty() + !options.into.empty();
  if (targets > 1) wrong("give one of --output, --output-dir and --into");
  if (options.into.empty() && !(options.column.empty() && options.validColumn.empty())) {
    wrong("--column and --valid-column go with --into");
  }
  if (options.column.empty() && !options.validColumn.empty()) {
    wrong("--valid-column goes with --column");
  }
  if (options.maxRows < 0) wrong("--max-rows takes no negative number");
  if (options.maxRows > 0 && options.into.empty() && options.outputDir.empty()) {
    wrong("--max-rows goes with --output-dir or --into");
  }
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
  requireDatabase(settings);
  Mapping mapping = readMapping(options.dad, options.collection);
  Override override = readOverride(options);
  const std::unique_ptr<orv::Session> session = openDatabase(settings);
  return ComposeRun(settings, options, *session, std::move(mapping), std::move(override)).run();
}

}  // namespace orvxml::command

#include "load_command.h"

#include <charconv>
#include <cstdio>
#include <memory>
#include <optional>
#include <utility>

#include "console.h"
#include "document_report.h"
#include "input_file.h"
#include "local_context.h"
#include "notice_log.h"
#include "open_database.h"
#include "orvxml/extraction.h"
#include "orvxml/utilities.h"
#include "refusal.h"
#include "result_writer.h"
#include "table_loader.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

constexpr int kLongestValue = 32672;  // bytes that are taken out of a document for a column

struct ColumnValue {
  std::string column, value;
};

// "COLUMN=VALUE"; the column may stand in quotation marks.
ColumnValue split(const char* option, const std::string& argument) {
  const size_t quoted = argument.starts_with('"') ? argument.find("\"=", 1) : std::string::npos;
  const size_t mark = quoted == std::string::npos ? argument.find('=') : quoted + 1;
  if (mark == 0 || mark == std::string::npos) {
    throw Failure(option, "not COLUMN=...: " + argument, kWrongUse);
  }
  return {argument.substr(0, mark), plainTextAsUtf8(option, argument.substr(mark + 1))};
}

std::vector<ColumnValue> splitAll(const char* option, const std::vector<std::string>& arguments) {
  std::vector<ColumnValue> all;
  all.reserve(arguments.size());
  for (const std::string& argument : arguments) all.push_back(split(option, argument));
  return all;
}

// Whether a location path ends with an attribute: an "@" inside of a predicate only tells elements
// apart.
bool selectsAttribute(const std::string& path) {
  const size_t mark = path.rfind("/@");
  return mark != std::string::npos && path.find_first_of("\"]", mark) == std::string::npos;
}

// Extraction gives attribute values as they stand between quotation marks.
std::string withoutEntities(std::string text) {
  static constexpr std::pair<std::string_view, char> kEntities[] = {
      {"&quot;", '"'}, {"&apos;", '\''}, {"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}};
  for (size_t at = text.find('&'); at != std::string::npos; at = text.find('&', at + 1)) {
    for (const auto& [entity, character] : kEntities) {
      if (text.compare(at, entity.size(), entity) != 0) continue;
      text.replace(at, entity.size(), 1, character);
      break;
    }
  }
  return text;
}

// A document that is not to be inserted, or was refused.
struct Refused {
  std::string where;
  std::string message;
  int code = -1;
  std::optional<Position> position;
};

// What the columns of a row are, and where their values come from.
class RowSource {
 public:
  explicit RowSource(const LoadOptions& options)
      : column_(options.column),
        texts_(splitAll("--set", options.texts)),
        paths_(splitAll("--take", options.paths)),
        nameColumn_(options.nameColumn) {
    if (options.number.empty()) return;
    number_ = split("--number", options.number);
    const char* const end = number_.value.data() + number_.value.size();
    const auto read = std::from_chars(number_.value.data(), end, next_);
    if (read.ec != std::errc() || read.ptr != end) {
      throw Failure("--number", "not COLUMN=NUMBER: " + options.number, kWrongUse);
    }
  }

  std::vector<std::string> columns() const {
    std::vector<std::string> all = {column_};
    for (const ColumnValue& text : texts_) all.push_back(text.column);
    for (const ColumnValue& path : paths_) all.push_back(path.column);
    if (!number_.column.empty()) all.push_back(number_.column);
    if (!nameColumn_.empty()) all.push_back(nameColumn_);
    return all;
  }

  // The values of the row of `document`, in UTF-8. Throws Refused.
  std::vector<std::string> values(const std::string& name, std::string document) {
    requireWellFormed(name, document);
    std::vector<std::string> all = {document};
    for (const ColumnValue& text : texts_) all.push_back(text.value);
    for (const ColumnValue& path : paths_) all.push_back(take(name, document, path));
    if (!number_.column.empty()) all.push_back(std::to_string(next_));
    if (!nameColumn_.empty()) all.push_back(name.substr(name.rfind('/') + 1));
    return all;
  }

  // The row of the last values is there.
  void advance() { ++next_; }

 private:
  [[noreturn]] void refuse(const std::string& name, const std::string& front) {
    std::string message = context_.message;
    message.erase(message.find_last_not_of('\n') + 1);
    const Notice* const failure = context_.failure();
    const std::optional<Position> position = failure ? parserPosition(*failure) : std::nullopt;
    throw Refused{position ? located(name, *position) : name, front + message, -1, position};
  }

  // A column takes any text: what is no document would be found by whoever reads it.
  void requireWellFormed(const std::string& name, std::string& document) {
    char nothing[] = "/no-such-element";
    QrkExtractResult result{};
    const int rc = context_.call([&] {
      return extractAll(context_.get(), document.data(), 1, 1, kExtractText, nothing, &result,
                        kLongestValue, context_.sqlState, context_.message);
    });
    qrkFreeArray(context_.get(), &result);
    if (rc != 0) refuse(name, "");
  }

  std::string take(const std::string& name, std::string& document, const ColumnValue& path) {
    std::string query = path.value;
    char* extracted = nullptr;
    const int rc = context_.call([&] {
      return extractOne(context_.get(), document.data(), 1, 1, kExtractText, query.data(),
                        &extracted, kLongestValue, context_.sqlState, context_.message);
    });
    const std::unique_ptr<char, FreeMemory> value(extracted);
    // An empty value is one, whatever the result says.
    if (rc != 0 && !value) refuse(name, path.value + ": ");
    return selectsAttribute(path.value) ? withoutEntities(value.get()) : value.get();
  }

  LocalContext context_;
  std::string column_;
  std::vector<ColumnValue> texts_, paths_;
  ColumnValue number_;
  std::string nameColumn_;
  int64_t next_ = 0;
};

// Names of files are not documents, whatever else could be done with them.
void requireDocuments(orv::Session& session, const Settings& settings, const LoadOptions& options) {
  const orv::Result result =
      runStatement(session, settings.database,
                   "SELECT " + options.column + " FROM " + options.table + " WHERE 1 = 0");
  if (!result.columns.empty() && result.columns[0].typeName == "ORVXML.XMLFILE") {
    throw Failure(settings.database,
                  "the column " + options.column +
                      " holds names of files, not documents: INSERT the names with orvxml sql");
  }
}

class Loading {
 public:
  Loading(const Settings& settings, orv::Session& session, const LoadOptions& options,
          RowSource& source)
      : settings_(settings),
        session_(session),
        allOrNothing_(options.allOrNothing),
        source_(source),
        insert_(session, settings.database, options.table, source.columns()),
        progress_(options.files.size(), !settings.quiet) {}

  // One document; its outcome is reported. True when its row is there.
  bool run(const std::string& path) {
    const std::string name = inputName(path);
    try {
      load(name, documentAsUtf8(name, readWhole(path)));
      source_.advance();
      progress_.documentEnded(true);
      return true;
    } catch (const Refused& refused) {
      report(name, refused);
    } catch (const Failure& failure) {
      report(name, {failure.where(), failure.what(), -1, {}});
    }
    progress_.documentEnded(false);
    return false;
  }

  // Commits what --all-or-nothing kept until all was in.
  void commitAll() {
    if (!allOrNothing_) return;
    require(session_.commit(), settings_.database);
    for (const std::string& line : kept_) print(line);
  }

 private:
  void load(const std::string& name, const std::string& document) {
    std::vector<std::string> values = source_.values(name, document);
    for (std::string& value : values) value = toCodePage(name, value, session_.codePage());
    insertRow(name, values);
    const std::string line = settings_.json ? jsonHead(name, true) + '}' : name + ": loaded";
    if (allOrNothing_) {
      kept_.push_back(line);
      return;
    }
    require(session_.commit(), name);
    print(line);
  }

  void insertRow(const std::string& name, const std::vector<std::string>& values) {
    NoticeLog notices;
    orv::Outcome outcome = session_.beginChange();
    if (!outcome.failed()) {
      const Listening listening(notices);
      outcome = insert_.run(values);
    }
    if (!outcome.failed()) return;
    session_.rollback();
    const Refusal refusal = refusalOf(session_, outcome, notices);
    std::string message = outcome.message;
    message.erase(message.find_last_not_of('\n') + 1);
    if (!refusal.text.empty()) message += '\n' + refusal.text;
    throw Refused{refusal.position ? located(name, *refusal.position) : name, message,
                  outcome.sqlcode, refusal.position};
  }

  void report(const std::string& name, const Refused& refused) {
    session_.rollback();
    progress_.clear();
    if (settings_.json) {
      std::string text = jsonHead(name, false) + ", \"code\": " + std::to_string(refused.code) +
                         ", \"message\": " + jsonString(refused.message);
      if (refused.position) {
        text +=
            ", \"line\": " + refused.position->line + ", \"column\": " + refused.position->column;
      }
      std::printf("%s}\n", text.c_str());
    }
    printFailure(refused.where, refused.message + (allOrNothing_ ? kRolledBack : ""));
    checkOutput();
  }

  void print(const std::string& line) {
    progress_.clearForData();
    if (settings_.json || !settings_.quiet) std::printf("%s\n", line.c_str());
    checkOutput();
  }

  const Settings& settings_;
  orv::Session& session_;
  const bool allOrNothing_;
  RowSource& source_;
  RowInsert insert_;
  Progress progress_;
  std::vector<std::string> kept_;  // lines about documents that are not committed yet
};

}  // namespace

ExitStatus runLoad(const Settings& settings, const LoadOptions& options) {
  if (options.files.empty()) throw Failure("", "no document given", kWrongUse);
  if (options.keepGoing && options.allOrNothing) {
    throw Failure("", "give --keep-going or --all-or-nothing, not both", kWrongUse);
  }
  RowSource source(options);
  const std::unique_ptr<orv::Session> session = openDatabase(settings);
  requireDocuments(*session, settings, options);
  Loading loading(settings, *session, options, source);
  session->rollback();  // each unit of work waits for its turn to change
  ExitStatus status = kDone;
  for (const std::string& file : options.files) {
    if (loading.run(file)) continue;
    status = kFailed;
    if (!options.keepGoing) break;
  }
  if (status == kDone) loading.commitAll();
  return status;
}

}  // namespace orvxml::command

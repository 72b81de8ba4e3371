#include "enable_commands.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <functional>
#include <vector>

#include "console.h"
#include "input_file.h"
#include "notice_log.h"
#include "open_database.h"
#include "orvxml/administration.h"
#include "procedure_values.h"
#include "result_writer.h"
#include "text_encoding.h"
#include "usage.h"

namespace orvxml::command {

namespace {

// How a procedure says that a package is not bound: by its own check, by the code of the statement,
// or by the server's text in front of what it could not do.
constexpr int kNotBound = -104;
constexpr int kPackageNotFound = -805;

// The codes of QRKA048E and QRKA024E, and an SQLCODE: an INSERT with too few or too many values.
constexpr int kNoInsertTrigger = -33;
constexpr int kUnreadable = -18;
constexpr int kValuesDoNotMatch = -117;

// The warnings: enabled already, and not enabled. A statement of the lists that ends with another
// warning has left them unfinished, and counts as a failure.
constexpr int kAlreadyEnabled = 5;
constexpr int kNotEnabled = 6;
constexpr int kRefusedHere = -1;     // by the command, where the procedure would go on
constexpr int kNoUsageTable = -132;  // of a column or a collection in such a database

// What a call gives back.
struct Answer {
  int code = 0;
  char message[kMessageSize] = "";
  bool failed() const { return code != 0 && code != kAlreadyEnabled && code != kNotEnabled; }
};

// A text in the database's code page, as the procedures take it; an empty one is null for them.
class TextArgument {
 public:
  TextArgument(const char* label, const std::string& argument, int codePage)
      : text_(toCodePage(label, plainTextAsUtf8(label, argument), codePage)),
        isNull_(argument.empty() ? -1 : 0) {}
  char* get() { return text_.data(); }
  short indicator() const { return isNull_; }

 private:
  std::string text_;
  short isNull_;
};

// Calls a parameter-list form: its inputs, code and message, and the indicators of all of them. The
// indicators are written by the call, so each has a place of its own.
template <class Procedure, class... In>
void call(Procedure procedure, Answer& answer, In&... in) {
  std::array<short, sizeof...(In)> inputs{in.indicator()...};
  short outputs[2] = {0, 0};
  [&]<size_t... I>(std::index_sequence<I...>) {
    procedure(in.get()..., &answer.code, answer.message, &inputs[I]..., &outputs[0], &outputs[1]);
  }
  (std::make_index_sequence<sizeof...(In)>());
}

class MappingArgument {
 public:
  MappingArgument(const std::string& file, int codePage)
      : name_(inputName(file)),
        text_(documentAsUtf8(name_, readWhole(file, kLargestMapping))),
        value_(fitting(toCodePage(name_, text_, codePage))) {}
  clob* get() { return value_.get(); }
  short indicator() const { return 0; }
  const std::string& name() const { return name_; }
  const std::string& text() const { return text_; }  // in UTF-8

 private:
  const std::string& fitting(const std::string& mapping) const {
    if (mapping.size() <= kDadParameter) return mapping;
    throw Failure(name_, "the mapping has " + std::to_string(mapping.size()) + " bytes; at most " +
                             std::to_string(kDadParameter) + " are kept");
  }
  std::string name_, text_;
  ClobValue value_;
};

// Where a failure stands: in the mapping as far as it is about it, else in the database.
std::string placeOf(const Notice* failure, const NamedText& mapping, const std::string& database) {
  if (!failure || failure->about != FailureText::kMapping || mapping.label.empty()) return database;
  if (failure->mappingElement) return placeOf(mapping, failure->mappingElement);
  const std::optional<Position> position = parserPosition(*failure);
  return position ? located(mapping.label, *position) : mapping.label;
}

bool lacksPackages(const Answer& answer, const Notice* failure) {
  return answer.code == kNotBound || answer.code == kPackageNotFound ||
         (answer.failed() && failure && failure->sqlcode == kPackageNotFound);
}

void bindAgain(orv::Session& session, const std::string& database) {
  QrkStruct context{};
  context.callFrom = CALL_FROM_STP;
  char message[kMessageSize] = "";
  int alreadyBound = 0;
  if (autoBind(&context, message, &alreadyBound) != 0) {
    throw Failure(database, std::string("the packages cannot be bound") + kRolledBack);
  }
  require(session.commit(), database);
}

// One call as one unit of work. Where the packages are not bound, they are, and the call is made
// once more.
class Administration {
 public:
  explicit Administration(const Settings& settings)
      : settings_(settings), session_(openDatabase(settings)) {}

  TextArgument text(const char* label, const std::string& utf8) const {
    return {label, utf8, session_->codePage()};
  }
  TextArgument databaseName() const { return text("database name", session_->databaseName()); }
  MappingArgument mapping(const std::string& file) const { return {file, session_->codePage()}; }
  orv::Session& session() { return *session_; }
  // Makes `schema` the one of names without a schema; empty: it stays the session's own.
  void setSchema(const std::string& schema) {
    if (!schema.empty()) runStatement(*session_, settings_.database, "SET SCHEMA " + schema);
  }

  // `mapping` is the one that the call reads, `help` what to say behind the message of a failure.
  void run(const std::function<void(Answer&)>& procedure, const MappingArgument* mapping = nullptr,
           const std::string& help = "") {
    NoticeLog notices;
    const Listening listening(notices);
    const NamedText text = mapping ? NamedText{mapping->name(), mapping->text()} : NamedText{};
    Answer answer = callInTurn(procedure);
    if (lacksPackages(answer, notices.failure())) {
      session_->rollback();
      bindAgain(*session_, settings_.database);
      answer = callInTurn(procedure);
    }
    const std::string message = fromCodePage(answer.message, session_->codePage());
    if (answer.failed()) {
      refuse(placeOf(notices.failure(), text, settings_.database), answer.code, message,
             helpFor(answer.code, notices) + help);
    }
    // It would fail every document that comes.
    if (const Notice* const schema = notices.warning(kUnusableSchema)) {
      const std::optional<Position> position = parserPosition(*schema);
      refuse(position ? located(schema->file, *position) : schema->file, kRefusedHere, schema->text,
             "\nthe schema of the mapping " + text.label + " cannot be used");
    }
    const orv::Outcome outcome = session_->commit();
    if (outcome.failed()) refuse(settings_.database, outcome.sqlcode, outcome.message, "");
    notices.printWarnings(mapping ? text : NamedText{settings_.database, ""});
    if (settings_.json) {
      printJson(true, answer.code, message);
    } else if (answer.code > 0 || !settings_.quiet) {
      printMessage("", message);
    }
  }

 private:
  Answer callInTurn(const std::function<void(Answer&)>& procedure) {
    require(session_->beginChange(), settings_.database);
    Answer answer;
    procedure(answer);
    return answer;
  }

  static std::string helpFor(int code, const NoticeLog& notices) {
    const Notice* const failure = notices.failure();
    const Notice* const reason = notices.reason();
    if (code == kNoUsageTable) return "\nthe database is not enabled: run orvxml enable-db";
    if (code == kNoInsertTrigger && failure && failure->sqlcode == kValuesDoNotMatch) {
      return "\na side table with a row for each value takes one column";
    }
    // What cannot be read when a column is disabled is the mapping that was kept.
    if (code == kUnreadable && reason) return "\nreason: its mapping: " + placedText(*reason);
    return "";
  }

  [[noreturn]] void refuse(const std::string& where, int code, std::string message,
                           const std::string& help) {
    session_->rollback();
    message.erase(message.find_last_not_of('\n') + 1);
    if (settings_.json) printJson(false, code, message);
    throw Failure(where, message + kRolledBack + help);
  }

  static void printJson(bool ok, int code, std::string message) {
    message.erase(message.find_last_not_of('\n') + 1);
    std::printf("{\"ok\": %s, \"code\": %d, \"message\": %s}\n", ok ? "true" : "false", code,
                jsonString(message).c_str());
  }

  const Settings& settings_;
  std::unique_ptr<orv::Session> session_;
};

// What the administrative tables hold.
struct Kept {
  struct Column {
    std::string name;
    std::string table;
  };
  std::vector<Column> columns;
  int collections = 0;
  int dtds = 0;
};

Kept readKept(orv::Session& session, const std::string& database) {
  Kept kept;
  if (!isEnabled(session, database)) return kept;
  for (const Usage& usage : readUsage(session, database)) {
    if (usage.isCollection) {
      ++kept.collections;
    } else {
      kept.columns.push_back({usage.name, usage.qualifiedTable()});
    }
  }
  kept.dtds =
      numberOf(runStatement(session, database, "SELECT COUNT(*) FROM orvxml.dtd_ref").rows[0][0]);
  return kept;
}

// Disabling a collection forgets everything of its name, which the server compares padded.
void requireNoColumn(const Kept& kept, const std::string& database, const std::string& name) {
  const std::string unpadded = name.substr(0, name.find_last_not_of(' ') + 1);
  for (const Kept::Column& column : kept.columns) {
    if (column.name != unpadded) continue;
    throw Failure(database, "the column " + column.name + " of " + column.table +
                                " is enabled and would be forgotten with the collection: disable "
                                "the column first\nnothing was changed");
  }
}

void requireMapping(const EnableOptions& options) {
  if (options.dad.empty()) throw Failure("", "give the mapping with --dad", kWrongUse);
}

}  // namespace

void enableDatabase(const Settings& settings, const EnableOptions& options) {
  Administration administration(settings);
  TextArgument database = administration.databaseName();
  TextArgument tableSpace = administration.text("table space", options.tableSpace);
  TextArgument tableSpace2 = administration.text("table space", options.tableSpace2);
  administration.run(
      [&](Answer& answer) { call(&qrkEnableDB_STP1, answer, database, tableSpace, tableSpace2); });
}

void disableDatabase(const Settings& settings, const EnableOptions&) {
  Administration administration(settings);
  TextArgument database = administration.databaseName();
  const Kept kept = readKept(administration.session(), settings.database);
  std::string help;
  for (const Kept::Column& column : kept.columns) {
    help += "\nto be disabled before: the column " + column.name + " of " + column.table;
  }
  administration.run([&](Answer& answer) { call(&qrkDisableDB_STP, answer, database); }, nullptr,
                     help);
  if (settings.quiet) return;
  if (kept.collections > 0) printMessage("", "gone: " + countText(kept.collections, "collection"));
  if (kept.dtds > 0) printMessage("", "gone: " + countText(kept.dtds, "DTD"));
}

void enableColumn(const Settings& settings, const EnableOptions& options) {
  requireMapping(options);
  Administration administration(settings);
  TextArgument table = administration.text("table", options.table);
  TextArgument column = administration.text("column", options.name);
  MappingArgument mapping = administration.mapping(options.dad);
  TextArgument tableSpace = administration.text("table space", options.tableSpace);
  TextArgument view = administration.text("view", options.view);
  TextArgument rootId = administration.text("root id", options.rootId);
  administration.setSchema(options.schema);
  administration.run(
      [&](Answer& answer) {
        call(&qrkEnableColumn_STP, answer, table, column, mapping, tableSpace, view, rootId);
      },
      &mapping);
}

void disableColumn(const Settings& settings, const EnableOptions& options) {
  Administration administration(settings);
  TextArgument table = administration.text("table", options.table);
  TextArgument column = administration.text("column", options.name);
  administration.setSchema(options.schema);
  administration.run([&](Answer& answer) { call(&qrkDisableColumn_STP, answer, table, column); });
}

void enableCollection(const Settings& settings, const EnableOptions& options) {
  requireMapping(options);
  Administration administration(settings);
  TextArgument database = administration.databaseName();
  TextArgument collection = administration.text("collection", options.name);
  MappingArgument mapping = administration.mapping(options.dad);
  TextArgument tableSpace = administration.text("table space", options.tableSpace);
  administration.run(
      [&](Answer& answer) {
        call(&qrkEnableColl_STP, answer, database, collection, mapping, tableSpace);
      },
      &mapping);
}

void disableCollection(const Settings& settings, const EnableOptions& options) {
  Administration administration(settings);
  TextArgument database = administration.databaseName();
  TextArgument collection = administration.text("collection", options.name);
  requireNoColumn(readKept(administration.session(), settings.database), settings.database,
                  options.name);
  administration.run(
      [&](Answer& answer) { call(&qrkDisableColl_STP, answer, database, collection); });
}

}  // namespace orvxml::command

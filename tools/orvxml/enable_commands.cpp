#include "enable_commands.h"

#include <array>
#include <cstdio>
#include <functional>

#include "console.h"
#include "database.h"
#include "input_file.h"
#include "orvxml/administration.h"
#include "procedure_values.h"
#include "result_writer.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

// Codes of a procedure whose package is not bound: by its own check, or as the server says it.
constexpr int kNotBound = -104;
constexpr int kPackageNotFound = -805;

// What a call gives back.
struct Answer {
  int code = 0;
  char message[kMessageSize] = "";
};

// A text in the database's code page, as the procedures take it; an empty one is null for them.
class TextArgument {
 public:
  TextArgument(const char* label, const std::string& utf8, int codePage)
      : text_(toCodePage(label, utf8, codePage)), isNull_(utf8.empty() ? -1 : 0) {}
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
  MappingArgument(const std::string& file, int codePage) : value_(text(file, codePage)) {}
  clob* get() { return value_.get(); }
  short indicator() const { return 0; }

 private:
  static std::string text(const std::string& file, int codePage) {
    const std::string name = inputName(file);
    return toCodePage(name, documentAsUtf8(name, readWhole(file)), codePage);
  }
  ClobValue value_;
};

bool lacksPackages(const Answer& answer) {
  return answer.code == kNotBound || answer.code == kPackageNotFound;
}

void bindAgain(orv::Session& session, const std::string& database) {
  QrkStruct context{};
  context.callFrom = CALL_FROM_STP;
  char message[kMessageSize] = "";
  int alreadyBound = 0;
  if (autoBind(&context, message, &alreadyBound) != 0) {
    throw Failure(database, "the packages cannot be bound");
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

  void run(const std::function<void(Answer&)>& procedure) {
    Answer answer;
    procedure(answer);
    if (lacksPackages(answer)) {
      session_->rollback();
      bindAgain(*session_, settings_.database);
      answer = Answer{};
      procedure(answer);
    }
    const std::string message = fromCodePage(answer.message, session_->codePage());
    if (answer.code < 0) refuse(answer.code, message);
    const orv::Outcome outcome = session_->commit();
    if (outcome.failed()) refuse(outcome.sqlcode, outcome.message);
    if (settings_.json) {
      printJson(true, answer.code, message);
    } else if (answer.code > 0 || !settings_.quiet) {
      printMessage("", message);
    }
  }

 private:
  [[noreturn]] void refuse(int code, std::string message) {
    session_->rollback();
    message.erase(message.find_last_not_of('\n') + 1);
    if (settings_.json) printJson(false, code, message);
    throw Failure(settings_.database,
                  message + "\nnothing was changed: the unit of work is rolled back");
  }

  static void printJson(bool ok, int code, std::string message) {
    message.erase(message.find_last_not_of('\n') + 1);
    std::printf("{\"ok\": %s, \"code\": %d, \"message\": %s}\n", ok ? "true" : "false", code,
                jsonString(message).c_str());
  }

  const Settings& settings_;
  std::unique_ptr<orv::Session> session_;
};

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
  administration.run([&](Answer& answer) { call(&qrkDisableDB_STP, answer, database); });
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
  administration.run([&](Answer& answer) {
    call(&qrkEnableColumn_STP, answer, table, column, mapping, tableSpace, view, rootId);
  });
}

void disableColumn(const Settings& settings, const EnableOptions& options) {
  Administration administration(settings);
  TextArgument table = administration.text("table", options.table);
  TextArgument column = administration.text("column", options.name);
  administration.run([&](Answer& answer) { call(&qrkDisableColumn_STP, answer, table, column); });
}

void enableCollection(const Settings& settings, const EnableOptions& options) {
  requireMapping(options);
  Administration administration(settings);
  TextArgument database = administration.databaseName();
  TextArgument collection = administration.text("collection", options.name);
  MappingArgument mapping = administration.mapping(options.dad);
  TextArgument tableSpace = administration.text("table space", options.tableSpace);
  administration.run([&](Answer& answer) {
    call(&qrkEnableColl_STP, answer, database, collection, mapping, tableSpace);
  });
}

void disableCollection(const Settings& settings, const EnableOptions& options) {
  Administration administration(settings);
  TextArgument database = administration.databaseName();
  TextArgument collection = administration.text("collection", options.name);
  administration.run(
      [&](Answer& answer) { call(&qrkDisableColl_STP, answer, database, collection); });
}

}  // namespace orvxml::command

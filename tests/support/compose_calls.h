// Calls of the composition procedures in both of their forms, on a test's own database.
//
//   ComposeDatabase db;
//   const ComposeOutcome document = db.compose(ComposeForm::Call, {.source = dad});
//   const ComposeOutcome rows = db.compose(ComposeForm::List, {.source = dad, .table = "RESULT"});
#pragma once

#include "tests/support/decompose_calls.h"

namespace orvxml::test {

enum class ComposeForm { Call, List };  // the registered procedure, the "_STP" form
inline constexpr ComposeForm kComposeForms[] = {ComposeForm::Call, ComposeForm::List};

// Without a value an argument is null; which of them are passed is the procedure's affair: the CLOB
// form when there is no result table, the form that names columns when `namesColumns` says so.
struct ComposeArguments {
  Text source = std::nullopt;  // the DAD, or the name of a collection
  bool byName = false;         // qrkRetrieve... instead of qrkGen...
  bool toTable = false;        // also without a table: a null argument
  Text table = std::nullopt;   // a result table
  bool namesColumns = false;
  Text column = std::nullopt, validColumn = std::nullopt;
  std::optional<int> overrideType = 0;
  Text override = std::nullopt;
  std::optional<int> maxRows = 0;

  bool hasTable() const { return toTable || table || hasColumns(); }
  bool hasColumns() const { return namesColumns || column || validColumn; }
};

struct ComposeOutcome {
  int code = 99;
  std::string message;       // without its final newline
  std::optional<int> count;  // numRows or numDocs
  Text document;             // CLOB form
  std::optional<int> valid;  // CLOB form
  bool operator==(const ComposeOutcome&) const = default;
};
inline std::ostream& operator<<(std::ostream& out, const ComposeOutcome& outcome) {
  return out << outcome.code << ' ' << outcome.message;
}

// One call of an "_STP" form: the arguments as it takes them, and its indicators checked.
class ComposeListCall {
 public:
  explicit ComposeListCall(const ComposeArguments& arguments)
      : a_(arguments),
        dad_(a_.source),
        area_(sizeof(int32_t) + (a_.hasTable() ? 0 : kDocumentSize), '#') {}

  // The procedure's own work, without a step of the test's around it.
  void call() {
    returned_ = a_.hasColumns() ? callWithColumns()
                : a_.hasTable() ? callWithTable()
                                : callForDocument();
  }

  ComposeOutcome outcome() {
    EXPECT_EQ(returned_, outcome_.code);
    for (const short indicator : in_) EXPECT_TRUE(indicator == -128 || indicator == kUnused);
    EXPECT_EQ(out_[0], 0);
    EXPECT_EQ(out_[1], 0);
    EXPECT_EQ(out_[2], 0);
    outcome_.message = withoutNewline(message_);
    outcome_.count = count_;
    if (!a_.hasTable()) takeDocument();
    return outcome_;
  }

 private:
  static constexpr short kUnused = 77;

  template <class Value>
  short* in(size_t index, const Value& argument) {
    in_[index] = argument ? short{0} : short{-1};
    return &in_[index];
  }
  static const char* text(const Text& argument) { return argument ? argument->c_str() : nullptr; }
  const int* overrideType() const { return a_.overrideType ? &*a_.overrideType : nullptr; }
  const int* maxRows() const { return a_.maxRows ? &*a_.maxRows : nullptr; }

  int callWithTable() {
    short* const ins[] = {in(0, a_.source), in(1, a_.table), in(2, a_.overrideType),
                          in(3, a_.override), in(4, a_.maxRows)};
    short* const outs = out_;
    const auto call = [&](auto* procedure, auto* source) {
      return procedure(source, text(a_.table), overrideType(), text(a_.override), maxRows(),
                       &count_, &outcome_.code, message_, ins[0], ins[1], ins[2], ins[3], ins[4],
                       &outs[2], &outs[0], &outs[1]);
    };
    return a_.byName ? call(&qrkRetrieveXML1_STP, text(a_.source))
                     : call(&qrkGenXML1_STP, dad_.get());
  }

  int callWithColumns() {
    short* const ins[] = {in(0, a_.source),      in(1, a_.table),        in(2, a_.column),
                          in(3, a_.validColumn), in(4, a_.overrideType), in(5, a_.override),
                          in(6, a_.maxRows)};
    const auto call = [&](auto* procedure, auto* source) {
      return procedure(source, text(a_.table), text(a_.column), text(a_.validColumn),
                       overrideType(), text(a_.override), maxRows(), &count_, &outcome_.code,
                       message_, ins[0], ins[1], ins[2], ins[3], ins[4], ins[5], ins[6], &out_[2],
                       &out_[0], &out_[1]);
    };
    return a_.byName ? call(&qrkRetrieveXML_STP, text(a_.source))
                     : call(&qrkGenXML_STP, dad_.get());
  }

  int callForDocument() {
    short* const ins[] = {in(0, a_.source), in(1, a_.overrideType), in(2, a_.override)};
    const auto call = [&](auto* procedure, auto* source) {
      return procedure(source, overrideType(), text(a_.override), document(), &valid_, &count_,
                       &outcome_.code, message_, ins[0], ins[1], ins[2], &out_[3], &out_[4],
                       &out_[2], &out_[0], &out_[1]);
    };
    return a_.byName ? call(&qrkRetrieveXMLClob_STP, text(a_.source))
                     : call(&qrkGenXMLClob_STP, dad_.get());
  }

  clob* document() { return reinterpret_cast<clob*>(area_.data()); }

  void takeDocument() {
    EXPECT_EQ(out_[4], valid_ == -1 ? -1 : 0);
    if (out_[4] == 0) outcome_.valid = valid_;
    if (out_[3] == 0) {
      outcome_.document.emplace(document()->data, static_cast<size_t>(document()->length));
    } else {
      EXPECT_EQ(document()->length, 0);
    }
  }

  static constexpr size_t kDocumentSize = 1048576;

  const ComposeArguments& a_;
  ClobArgument dad_;
  std::vector<char> area_;  // of the document
  ComposeOutcome outcome_;
  int returned_ = 99;
  int valid_ = 99;
  char message_[kMessageSize] = "not written";
  int count_ = 99;
  short in_[7] = {kUnused, kUnused, kUnused, kUnused, kUnused, kUnused, kUnused};
  short out_[5] = {kUnused, kUnused, kUnused, kUnused, kUnused};
};

// A database with the schema ORVXML as composition needs it.
class ComposeDatabase : public DecomposeDatabase {
 public:
  using DecomposeDatabase::DecomposeDatabase;

  ComposeOutcome compose(ComposeForm form, const ComposeArguments& arguments) {
    if (form == ComposeForm::Call) return callRegistered(arguments);
    ComposeListCall call(arguments);
    call.call();
    return call.outcome();
  }

 private:
  static Text number(std::optional<int> value) {
    return value ? Text(std::to_string(*value)) : std::nullopt;
  }
  static std::optional<int> number(const orv::ResultValue& value) {
    return value ? std::optional<int>(std::stoi(*value)) : std::nullopt;
  }

  ComposeOutcome callRegistered(const ComposeArguments& a) {
    std::string name = a.byName ? "QRKRETRIEVEXML" : "QRKGENXML";
    std::vector<orv::Argument> values{{a.source}};
    if (a.hasTable()) values.push_back({a.table});
    if (a.hasColumns()) values.insert(values.end(), {{a.column}, {a.validColumn}});
    values.insert(values.end(), {{number(a.overrideType)}, {a.override}});
    if (a.hasTable()) values.push_back({number(a.maxRows)});
    const size_t firstOutput = values.size();
    if (!a.hasTable()) name += "CLOB";
    values.resize(firstOutput + (a.hasTable() ? 3 : 5));
    const orv::CallResult result = session().call("ORVXML", name, values);
    EXPECT_FALSE(result.outcome.failed()) << result.outcome.message;
    if (result.outputs.size() != values.size()) return {};
    const orv::ResultValue* out = result.outputs.data() + firstOutput;
    ComposeOutcome outcome;
    if (!a.hasTable()) {
      outcome.document = *out++;
      outcome.valid = number(*out++);
    }
    outcome.count = number(*out++);
    outcome.code = number(*out++).value_or(99);
    outcome.message = withoutNewline(out->value_or("null"));
    return outcome;
  }
};

}  // namespace orvxml::test

// The composition procedures in both conventions: which of them does what, and what becomes of
// every parameter that is null, of a wrong type, too long or no name.
#include <fnmatch.h>

#include <new>

#include "orvxml/compose_documents.h"
#include "tests/support/compose_calls.h"

namespace orvxml::test {
namespace {

const char kDone[] = "QRKQ020I  XML successfully generated.";
const char kInvalidNull[] = "QRKG004E  Invalid null parameter.";
const char kNullNumber[] = "QRKA019E  A input parameter required to enable the column is null.";
const char kNoString[] =
    "QRKA074E  Wrong parameter type. The stored procedure expects a STRING parameter.";
const char kNoNumber[] =
    "QRKA075E  Wrong parameter type. The input parameter should be a LONG type.";

// One document for each row of ITEM.
std::string mapping(const std::string& header = "", const std::string& doctype = "") {
  return "<DAD>" + header +
         "<Xcollection><SQL_stmt>SELECT ID, NAME FROM ITEM ORDER BY ID</SQL_stmt>"
         "<prolog>?xml version=\"1.0\"?</prolog>" +
         doctype +
         "<root_node><element_node name=\"item\">"
         "<attribute_node name=\"id\"><column name=\"ID\"/></attribute_node><text_node><column "
         "name=\"NAME\"/></text_node></element_node></root_node></Xcollection></DAD>";
}

std::string itemDocument(int id, const std::string& name) {
  return "<?xml version=\"1.0\"?>\n<item id=\"" + std::to_string(id) + "\">" + name + "</item>";
}

// What a document says without the white space between its pieces.
std::string dense(const Text& document) {
  std::string text;
  for (const char c : document.value_or("null")) {
    if (c != '\n') text += c;
  }
  return text;
}

class ComposeProcedures : public testing::Test {
 protected:
  ComposeProcedures() {
    db_.runScript(
        "create table item (id integer not null, name clob(2M));"
        "insert into item values (1, 'one'); insert into item values (2, 'two');"
        "insert into item values (3, 'three');create table result (doc clob(1M), other integer);"
        "create alias elsewhere for result;");
  }

  void expectOutcome(const ComposeOutcome& outcome, int code, const char* pattern) {
    EXPECT_EQ(outcome.code, code) << outcome;
    EXPECT_EQ(fnmatch(pattern, outcome.message.c_str(), 0), 0) << outcome << "\n" << pattern;
    EXPECT_EQ(outcome.count.value_or(-1) == 0, code < 0 || outcome.count == 0);
    if (code >= 0) return;
    EXPECT_EQ(outcome.document, std::nullopt);
    EXPECT_EQ(outcome.valid, std::nullopt);
  }

  void setFirstName(size_t length) {
    constexpr size_t kPiece = 32000;
    db_.run("UPDATE ITEM SET NAME = '' WHERE ID = 1");
    for (size_t done = 0; done < length; done += kPiece) {
      const std::string piece(std::min(kPiece, length - done), 'n');
      db_.run("UPDATE ITEM SET NAME = NAME || '" + piece + "' WHERE ID = 1");
    }
  }

  ComposeDatabase db_;
};

TEST_F(ComposeProcedures, EachWritesItsDocuments) {
  db_.addCollection("items", mapping());
  struct Case {
    const char* label;
    ComposeArguments arguments;
    Rows rows;
  };
  const Text ids = "SELECT ID, NAME FROM ITEM WHERE ID > 1 ORDER BY ID";
  const Case cases[] = {
      {"table", {.table = "result"}, {{"1"}, {"2"}, {"3"}}},
      {"table, delimited", {.table = "\"RESULT\""}, {{"1"}, {"2"}, {"3"}}},
      {"table, with its schema", {.table = "app.result"}, {{"1"}, {"2"}, {"3"}}},
      {"alias", {.table = "app.elsewhere"}, {{"1"}, {"2"}, {"3"}}},
      {"table, override", {.table = "result", .overrideType = 1, .override = ids}, {{"2"}, {"3"}}},
      {"table, maximum", {.table = "result", .maxRows = 2}, {{"1"}, {"2"}}},
      {"columns", {.table = "result", .column = "doc"}, {{"1"}, {"2"}, {"3"}}},
      {"columns, maximum", {.table = "result", .column = "doc", .maxRows = 1}, {{"1"}}},
      {"columns, no validation wanted",
       {.table = "result", .column = "\"DOC\"", .validColumn = "other"},
       {{"1"}, {"2"}, {"3"}}},
      {"columns, blank validation column",
       {.table = "result", .column = "doc", .validColumn = " \t\n"},
       {{"1"}, {"2"}, {"3"}}},
      {"document", {}, {{"1"}, {"2"}, {"3"}}},
      {"document, override", {.overrideType = 1, .override = ids}, {{"2"}, {"3"}}},
  };
  for (const Case& c : cases) {
    for (const bool byName : {false, true}) {
      for (const ComposeForm form : kComposeForms) {
        SCOPED_TRACE(std::string(c.label) + (byName ? ", by name" : ", by DAD") +
                     (form == ComposeForm::List ? ", list" : ", call"));
        ComposeArguments arguments = c.arguments;
        arguments.source = byName ? "items" : mapping();
        arguments.byName = byName;
        const ComposeOutcome outcome = db_.compose(form, arguments);
        const bool maximum = arguments.maxRows > 0;
        expectOutcome(outcome, maximum ? 3 : 0,
                      maximum ? "QRKQ003W  Result exceeds maximum." : kDone);
        EXPECT_EQ(outcome.count, static_cast<int>(c.rows.size()));
        EXPECT_EQ(outcome.valid, std::nullopt);
        if (arguments.table) {
          const Rows rows = db_.rows("SELECT SUBSTR(DOC, LOCATE('id=', DOC) + 4, 1) FROM RESULT");
          EXPECT_EQ(rows, c.rows);
          db_.run("DELETE FROM RESULT");
        } else {
          const bool overridden = arguments.overrideType == 1;
          EXPECT_EQ(dense(outcome.document),
                    dense(overridden ? itemDocument(2, "two") : itemDocument(1, "one")));
        }
      }
    }
  }
}

TEST_F(ComposeProcedures, BadArgumentsInTheOrderInWhichTheyAreJudged) {
  db_.addCollection("items", mapping());
  const char noTable[] = "QRKQ009E  Result table *";
  const char noName[] = "QRKQ054E  Invalid input parameter: ";
  const std::string longSchema(31, 'N');
  struct Case {
    const char* label;
    ComposeArguments arguments;  // of a good mapping
    int code;
    std::string message;
  };
  const Case cases[] = {
      {"negative maximum", {.table = "result", .maxRows = -1}, -60, kInvalidNull},
      {"no override", {.overrideType = 2}, -60, kInvalidNull},
      {"no override before a bad table", {.table = "1", .overrideType = 1}, -60, kInvalidNull},
      {"no table", {.toTable = true}, -60, kInvalidNull},
      {"three parts", {.table = "a.b.c"}, -69, "QRKQ009E  Result table a.b.c does not exist."},
      {"long schema", {.table = longSchema + ".T"}, -69, noTable},
      {"empty table", {.table = ""}, -69, noTable},
      {"more than a name", {.table = "result; drop table item"}, -69, noTable},
      {"bad table before a bad column", {.table = "1", .column = "1"}, -69, noTable},
      {"no column", {.table = "result", .namesColumns = true}, -134, noName + std::string("NULL")},
      {"blank column", {.table = "result", .column = " "}, -134, noName + std::string(" ")},
      {"no name for results",
       {.table = "result", .column = "doc", .validColumn = "9lives"},
       -134,
       noName + std::string("9lives")},
      {"unknown table", {.table = "nowhere"}, -11, "*QRKA016E *"},
  };
  for (const Case& c : cases) {
    for (const bool byName : {false, true}) {
      for (const ComposeForm form : kComposeForms) {
        SCOPED_TRACE(c.label);
        ComposeArguments arguments = c.arguments;
        arguments.source = byName ? "items" : mapping();
        arguments.byName = byName;
        expectOutcome(db_.compose(form, arguments), c.code, c.message.c_str());
      }
    }
  }
  EXPECT_EQ(db_.rows("SELECT * FROM RESULT"), Rows{});
}

TEST_F(ComposeProcedures, WhatOnlyOneConventionTakes) {
  for (const ComposeForm form : kComposeForms) {
    expectOutcome(db_.compose(form, {.source = ""}), -60, kInvalidNull);
  }
  for (const bool call : {true, false}) {
    const ComposeForm form = call ? ComposeForm::Call : ComposeForm::List;
    const int code = call ? -14 : 0;
    const char* const message = call ? kNullNumber : kDone;
    expectOutcome(db_.compose(form, {.source = mapping(), .overrideType = std::nullopt}), code,
                  message);
    expectOutcome(
        db_.compose(form, {.source = mapping(), .table = "result", .maxRows = std::nullopt}), code,
        message);
  }
  ComposeArguments arguments{.source = mapping(), .table = "result", .overrideType = 1};
  arguments.override = std::string(32673, ' ');
  const char tooLong[] = "QRKG017E  The limit for override has been exceeded in build *";
  expectOutcome(db_.compose(ComposeForm::List, arguments), -124, tooLong);
  arguments.table = std::nullopt;
  expectOutcome(db_.compose(ComposeForm::List, arguments), -62, "QRKQ001E *");
  arguments.override->append(90, ' ');
  expectOutcome(db_.compose(ComposeForm::List, arguments), -124, tooLong);
  arguments.override = std::string("SELECT\0 ID", 10);
  expectOutcome(db_.compose(ComposeForm::Call, arguments), -134,
                "QRKQ054E  Invalid input parameter: SELECT");
  arguments.source = mapping() + std::string("\0<", 2);
  expectOutcome(db_.compose(ComposeForm::Call, arguments), -54,
                "QRKD000E  An invalid XML document is rejected.");
}

TEST_F(ComposeProcedures, Collections) {
  const std::string longest(31, 'c');
  db_.addCollection("none", std::nullopt);
  db_.addCollection(longest, mapping());
  db_.addCollection("broken", "<DAD>");
  db_.run(
      "insert into orvxml.xml_usage (table_schema, table_name, col_name, dad, access_mode,"
      " validation, trigger_suffix) values ('', 'A_TABLE', 'A_COLUMN', '<DAD/>', 0, 0, '')");
  struct {
    const char* label;
    std::string name;
    int code;
    const char* message;
  } const cases[] = {
      {"the longest name", longest, 0, kDone},
      {"a longer one", longest + "c", -88,
       "QRKQ028E  Cannot find the collection cccccccccccccccccccccccccccccccc in the XML_USAGE *"},
      {"unknown", "unknown", -88,
       "QRKQ028E  Cannot find the collection unknown in the XML_USAGE table."},
      {"no name", "", -88, "QRKQ028E  Cannot find the collection  in the XML_USAGE table."},
      {"a column of documents", "A_COLUMN", -88, "QRKQ028E  *"},
      {"without a mapping", "none", -89,
       "QRKQ029E  Cannot find the DAD in XML_USAGE table for the collection none."},
      {"with a broken one", "broken", -85, "QRKQ047E  Parser error on line 1 column *"},
      {"much too long", std::string(5000, 'x'), -88, "QRKQ028E  *"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    for (const ComposeForm form : kComposeForms) {
      if (form == ComposeForm::Call && c.name.size() > 128) continue;
      for (const Text& table : {Text(), Text("result")}) {
        expectOutcome(db_.compose(form, {.source = c.name, .byName = true, .table = table}), c.code,
                      c.message);
      }
    }
  }
  db_.run("drop table orvxml.xml_usage");
  const ComposeArguments anyName{.source = "c", .byName = true};
  expectOutcome(db_.compose(ComposeForm::List, anyName), -132,
                "ORV*QRKM001W  A ORV error occurred.*QRKQ052E  *");
  ComposeDatabase unbound(1208, false);
  expectOutcome(unbound.compose(ComposeForm::List, anyName), -104,
                "ORV*QRKM001W  A ORV error occurred.*QRKA073E  The database is not bound. *");
}

TEST_F(ComposeProcedures, ValidationResults) {
  db_.run(
      "insert into orvxml.dtd_ref (dtdid, usage_count, content) values ('item.dtd', 0,"
      " '<!ELEMENT item (#PCDATA)><!ATTLIST item id (1|2) #REQUIRED>')");
  const std::string validated = mapping("<dtdid>item.dtd</dtdid><validation>YES</validation>",
                                        "<doctype>!DOCTYPE item SYSTEM \"item.dtd\"</doctype>");
  const auto outcomeFor = [&](ComposeForm form, const Text& override) {
    return db_.compose(
        form, {.source = validated, .overrideType = override ? 1 : 0, .override = override});
  };
  for (const ComposeForm form : kComposeForms) {
    EXPECT_EQ(outcomeFor(form, std::nullopt).valid, 1);
    EXPECT_EQ(outcomeFor(form, "SELECT ID, NAME FROM ITEM WHERE ID = 3 ORDER BY ID").valid, 0);
    const Text nothing = "SELECT ID, NAME FROM ITEM WHERE ID = 9 ORDER BY ID";
    EXPECT_EQ(outcomeFor(form, nothing).valid, std::nullopt);
    expectOutcome(
        db_.compose(
            form,
            {.source = validated, .table = "result", .column = "doc", .validColumn = "other"}),
        0, kDone);
    EXPECT_EQ(db_.rows("SELECT OTHER FROM RESULT"), (Rows{{"1"}, {"1"}, {"0"}}));
    db_.run("DELETE FROM RESULT");
  }
  for (const ComposeForm form : kComposeForms) {
    expectOutcome(db_.compose(form, {.source = validated, .table = "result"}), 0, kDone);
    EXPECT_EQ(db_.rows("SELECT QRK_VALID FROM RESULT"), (Rows{{"1"}, {"1"}, {"0"}}));
    db_.run("DELETE FROM RESULT");
  }
}

TEST_F(ComposeProcedures, DocumentsAroundTheSizeOfTheirParameter) {
  const TemporaryFolder folder;
  const Variable temporary("ORVQRKTEMP", folder.path().c_str());
  const size_t markup = itemDocument(1, "").size();
  const size_t whole = 1048576;
  for (const auto& [size, fits] :
       {std::pair(whole - 1, true), std::pair(whole, true), std::pair(whole + 1, false)}) {
    SCOPED_TRACE(size);
    setFirstName(size - markup);
    for (const ComposeForm form : kComposeForms) {
      const ComposeOutcome outcome = db_.compose(form, {.source = mapping()});
      expectOutcome(
          outcome, fits ? 0 : -124,
          fits ? kDone : "QRKG017E  The limit for resultDoc has been exceeded in build *");
      EXPECT_EQ(outcome.document.value_or("").size(), fits ? size : 0);
    }
  }
  // A mapping above the threshold waits in a file.
  setFirstName(3);
  const std::string comment = "<!--" + std::string(200000, '-').replace(0, 200000, 200000, 'c');
  expectOutcome(
      db_.compose(ComposeForm::List, {.source = mapping("", comment + "-->"), .table = "result"}),
      0, kDone);
  EXPECT_TRUE(folder.isEmpty());
}

// ---- Descriptors as no registered procedure makes them.
using Entry = int (*)(void*, void*, sqlda*);

struct Parameter {
  int16_t type;
  int16_t length;
  std::string data;
  int16_t indicator = 0;
};

std::string bytesOf(auto value) {
  return std::string(reinterpret_cast<const char*>(&value), sizeof value);
}
Parameter clobOf(const std::string& text) {
  return {orv::kSqlClob, 0, bytesOf(static_cast<int32_t>(text.size())) + text};
}
Parameter textOf(const std::string& text) {
  return {orv::kSqlVarchar + 1, 128, bytesOf(static_cast<int16_t>(text.size())) + text};
}
Parameter numberOf(int32_t number) {
  return {orv::kSqlInteger, 4, bytesOf(number)};
}
Parameter messageOf(int16_t type, int16_t length) {
  return {type, length, std::string(static_cast<size_t>(length) + 2, '#')};
}

class Descriptor {
 public:
  Descriptor(std::vector<Parameter> parameters, size_t described)
      : parameters_(std::move(parameters)),
        area_(orv::sqldaSize(static_cast<int>(parameters_.size() * 2)) / sizeof(int64_t) + 1) {
    sqlda* const area = get();
    area->sqln = static_cast<int16_t>(parameters_.size() * 2);
    area->sqld = static_cast<int16_t>(described);
    for (size_t i = 0; i < described; ++i) {
      Parameter& p = parameters_[i];
      area->sqlvar[i] = {p.type, p.length, p.data.data(), &p.indicator, {}};
      orv::secondaryEntry(area, static_cast<int>(i))->sqllonglen =
          static_cast<int64_t>(p.data.size()) - 4;
    }
  }
  explicit Descriptor(const std::vector<Parameter>& parameters)
      : Descriptor(parameters, parameters.size()) {}
  sqlda* get() { return reinterpret_cast<sqlda*>(area_.data()); }
  const Parameter& operator[](size_t i) const { return parameters_[i]; }
  int32_t number(size_t i) const {
    int32_t value = 0;
    std::memcpy(&value, parameters_[i].data.data(), sizeof value);
    return value;
  }
  std::string text(size_t i) const {
    int16_t length = 0;
    std::memcpy(&length, parameters_[i].data.data(), sizeof length);
    return parameters_[i].data.substr(2, static_cast<size_t>(length));
  }

 private:
  std::vector<Parameter> parameters_;
  std::vector<int64_t> area_;
};

// What a null or wrongly typed value in a position gives.
struct Position {
  Parameter good;
  int nullCode;
  const char* nullMessage;
  int wrongCode;
  const char* wrongMessage;
};

struct Procedure {
  const char* label;
  Entry entry;
  size_t inputs;
  std::vector<Position> positions;
};

std::vector<Procedure> procedures() {
  const Position dad{clobOf(mapping()), -60, kInvalidNull, -107, kNoString};
  const Position name{textOf("items"), -60, kInvalidNull, -107, kNoString};
  const Position table{textOf("result"), -60, kInvalidNull, -107, kNoString};
  const Position column{textOf("doc"), -134, "QRKQ054E  Invalid input parameter: NULL", -107,
                        kNoString};
  const Position valid{textOf("other"), 0, kDone, -107, kNoString};
  const Position type{numberOf(1), -14, kNullNumber, -108, kNoNumber};
  const Position override{textOf("SELECT ID, NAME FROM ITEM ORDER BY ID"), -60, kInvalidNull, -107,
                          kNoString};
  const Position maximum{numberOf(0), -14, kNullNumber, -108, kNoNumber};
  const Position count{numberOf(77), 0, kDone, -108, kNoNumber};
  const Position document{clobOf(std::string(100, '#')), 0, kDone, -107, kNoString};
  const Position code{numberOf(77), 0, kDone, 0, nullptr};
  const Position message{messageOf(orv::kSqlVarchar, 1024), 0, kDone, 0, nullptr};
  return {
      {"qrkGenXML", qrkGenXML, 5, {dad, table, type, override, maximum, count, code, message}},
      {"qrkGenXML2",
       qrkGenXML2,
       7,
       {dad, table, column, valid, type, override, maximum, count, code, message}},
      {"qrkGenXMLClob",
       qrkGenXMLClob,
       3,
       {dad, type, override, document, count, count, code, message}},
      {"qrkRetrieveXML",
       qrkRetrieveXML,
       5,
       {name, table, type, override, maximum, count, code, message}},
      {"qrkRetrieveXML2",
       qrkRetrieveXML2,
       7,
       {name, table, column, valid, type, override, maximum, count, code, message}},
      {"qrkRetrieveXMLClob",
       qrkRetrieveXMLClob,
       3,
       {name, type, override, document, count, count, code, message}},
  };
}

std::vector<Parameter> goodParameters(const Procedure& procedure) {
  std::vector<Parameter> parameters;
  for (const Position& position : procedure.positions) parameters.push_back(position.good);
  return parameters;
}

void expectDescriptorOutcome(const Procedure& procedure, Descriptor& area, int code,
                             const std::string& message) {
  const size_t last = procedure.positions.size() - 1;
  EXPECT_EQ(procedure.entry(nullptr, nullptr, area.get()), 1);
  EXPECT_EQ(area.number(last - 1), code);
  EXPECT_EQ(withoutNewline(area.text(last)), message);
  for (size_t i = 0; i < procedure.inputs; ++i) EXPECT_EQ(area[i].indicator, -128) << i;
  EXPECT_EQ(area[last - 1].indicator, 0);
  EXPECT_EQ(area[last].indicator, 0);
}

TEST_F(ComposeProcedures, EveryPositionOfADescriptor) {
  db_.addCollection("items", mapping());
  for (const Procedure& procedure : procedures()) {
    for (size_t at = 0; at < procedure.positions.size(); ++at) {
      SCOPED_TRACE(procedure.label + std::string(", position ") + std::to_string(at));
      const Position& position = procedure.positions[at];
      std::vector<Parameter> parameters = goodParameters(procedure);
      parameters[at].indicator = -1;
      Descriptor null(parameters);
      expectDescriptorOutcome(procedure, null, position.nullCode, position.nullMessage);
      if (!position.wrongMessage) continue;
      parameters[at] = {orv::kSqlDouble, 8, bytesOf(1.5)};
      Descriptor wrong(parameters);
      expectDescriptorOutcome(procedure, wrong, position.wrongCode, position.wrongMessage);
      EXPECT_EQ(wrong[at].data, bytesOf(1.5));
      for (size_t i = procedure.inputs; i + 2 < procedure.positions.size(); ++i) {
        if (i == at) continue;
        const bool isCount = i + 3 == procedure.positions.size();
        EXPECT_EQ(wrong[i].indicator, isCount ? 0 : -1) << i;
      }
    }
    SCOPED_TRACE(procedure.label);
    Descriptor tooFew(goodParameters(procedure), procedure.positions.size() - 1);
    EXPECT_EQ(procedure.entry(nullptr, nullptr, tooFew.get()), 1);
    EXPECT_EQ(tooFew[procedure.positions.size() - 3].data, bytesOf(int32_t{-60}));
    Descriptor none(goodParameters(procedure), 0);
    EXPECT_EQ(procedure.entry(nullptr, nullptr, none.get()), 1);
    EXPECT_EQ(procedure.entry(nullptr, nullptr, nullptr), 1);
  }
}

TEST_F(ComposeProcedures, WhatADescriptorGivesBack) {
  const Procedure clobForm = procedures()[2];
  const std::string expected = itemDocument(1, "one");
  std::vector<Parameter> parameters = goodParameters(clobForm);
  parameters[4] = {orv::kSqlSmallint, 2, std::string(2, '#')};
  Descriptor prefixed(parameters);
  expectDescriptorOutcome(clobForm, prefixed, 0, kDone);
  EXPECT_EQ(dense(prefixed[3].data.substr(4, static_cast<size_t>(prefixed.number(3)))),
            dense(expected));
  EXPECT_EQ(prefixed[3].indicator, 0);
  EXPECT_EQ(prefixed[4].data, bytesOf(int16_t{-1}));
  EXPECT_EQ(prefixed[4].indicator, -1);
  EXPECT_EQ(prefixed.number(5), 3);

  // The capacity is what the descriptor declares; nothing is written behind it.
  parameters[3] = clobOf(std::string(expected.size() - 10, '#'));
  Descriptor tooSmall(parameters);
  EXPECT_EQ(clobForm.entry(nullptr, nullptr, tooSmall.get()), 1);
  EXPECT_EQ(tooSmall.number(6), -124);
  EXPECT_EQ(tooSmall.number(3), 0);
  EXPECT_EQ(tooSmall[3].indicator, -1);

  struct {
    const char* label;
    int16_t type, length;
    std::string bytes;
  } const messages[] = {
      {"varying", orv::kSqlVarchar, 20, bytesOf(int16_t{20}) + "QRKQ020I  XML succes"},
      {"long varying", orv::kSqlLongVarchar, 9, bytesOf(int16_t{9}) + "QRKQ020I "},
      {"fixed", orv::kSqlChar, 9, std::string("QRKQ020I\0##", 11)},
      {"terminated", orv::kSqlCString, 9, std::string("QRKQ020I\0##", 11)},
      {"whole", orv::kSqlCString, 100, std::string(kDone) + '\n' + '\0' + std::string(63, '#')},
  };
  for (const auto& m : messages) {
    SCOPED_TRACE(m.label);
    parameters = goodParameters(clobForm);
    parameters[7] = messageOf(m.type, m.length);
    Descriptor area(parameters);
    EXPECT_EQ(clobForm.entry(nullptr, nullptr, area.get()), 1);
    EXPECT_EQ(area[7].data, m.bytes);
  }
}

TEST_F(ComposeProcedures, AReceiverTakesEachDocumentOrEndsTheCall) {
  struct Receiver final : DocumentReceiver {
    bool beginDocument(std::string_view) override {
      if (fault == "throws") throw fault;
      if (fault == "has no memory") throw std::bad_alloc();
      return fault != "refuses";
    }
    bool text(std::string_view part) override { return documents.append(part), true; }
    bool endDocument(int valid) override { return valid == -1; }
    bool leaveOut(const char*) override { return false; }
    std::string fault, documents;
  };
  db_.addCollection("items", mapping());
  const std::string dad = mapping();
  const ComposeRequest all{.dad = dad.data(), .dadSize = dad.size()};
  const auto with = [&](auto ComposeRequest::*member, auto value) {
    ComposeRequest request = all;
    request.*member = value;
    return request;
  };
  ComposeRequest byQuery = with(&ComposeRequest::overrideType, 1);
  byQuery.override = "SELECT ID, NAME FROM ITEM WHERE ID > 2 ORDER BY ID";
  const std::string one = "\n<item id=\"1\">one</item>", two = "\n<item id=\"2\">two</item>",
                    three = "\n<item id=\"3\">three</item>";
  const struct {
    const char* fault;
    ComposeRequest request;
    int code;
    std::string taken;
    int documents;
  } cases[] = {
      {"", all, 0, one + two + three, 3},
      {"", {.collection = "items"}, 0, one + two + three, 3},
      {"", byQuery, 0, three, 1},
      {"", with(&ComposeRequest::firstOnly, true), 0, one, 3},
      {"", with(&ComposeRequest::maxRows, 2), 3, one + two, 2},
      {"refuses", all, -49, "", 0},
      {"throws", all, -57, "", 0},
      {"has no memory", all, -58, "", 0},
      {"", {}, -60, "", 0},
      {"", with(&ComposeRequest::overrideType, 1), -60, "", 0},
      {"", with(&ComposeRequest::maxRows, -1), -60, "", 0},
      {"", with(&ComposeRequest::dadSize, size_t{1} << 32), -124, "", 0},
      {"", {.collection = "none"}, -88, "", 0},
  };
  for (const auto& c : cases) {
    Receiver receiver;
    receiver.fault = c.fault;
    ComposeResult result;
    EXPECT_EQ(qrkComposeDocuments(c.request, receiver, result), c.code) << result.message;
    EXPECT_EQ(result.documents, c.documents) << c.code;
    EXPECT_EQ(receiver.documents, c.taken) << c.code;
  }
  // In UTF-8 whatever the database's code page is, from a file as from memory.
  ComposeDatabase latin(819);
  latin.runScript("create table item (id integer not null, name clob(2M))");
  latin.run("INSERT INTO ITEM VALUES (1, REPEAT('\u00f6', 4000))");
  for (size_t length = 4000; length < 200'000; length *= 2) {
    Receiver receiver;
    ComposeResult result;
    EXPECT_EQ(qrkComposeDocuments(all, receiver, result), 0) << result.message;
    EXPECT_TRUE(receiver.documents.ends_with("\u00f6\u00f6</item>"));
    EXPECT_EQ(receiver.documents.size(), 2 * length + 21);
    latin.run("UPDATE ITEM SET NAME = NAME || NAME");
  }
}

TEST_F(ComposeProcedures, AnAbsentInstanceGivesNothingBack) {
  const Variable none("ORVINSTANCE", nullptr);
  for (const ComposeForm form : kComposeForms) {
    for (const Text& table : {Text(), Text("result")}) {
      const ComposeOutcome outcome = db_.compose(form, {.source = mapping(), .table = table});
      EXPECT_EQ(outcome.code, -102) << outcome;
      EXPECT_EQ(outcome.document, std::nullopt);
      EXPECT_EQ(outcome.count.value_or(0), 0);
    }
  }
}

}  // namespace
}  // namespace orvxml::test

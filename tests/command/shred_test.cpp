// `orvxml shred` and `trace`, run as a user runs them, on the invoice example.
#include <nlohmann/json.hpp>

#include "tests/support/command_runner.h"
#include "tests/support/texts.h"

namespace orvxml::test {
namespace {

const std::string kExample = ORVXML_SOURCE_DIR "/examples/invoices/";
const std::string kDad = kExample + "invoices.dad";

std::string customer(const std::string& number, const std::string& name,
                     const std::string& encoding = "") {
  return "<?xml version=\"1.0\"" + (encoding.empty() ? "" : " encoding=\"" + encoding + '"') +
         "?>\n<customer number=\"" + number + "\"><name>" + name + "</name></customer>\n";
}

class CommandShred : public testing::Test {
 protected:
  void SetUp() override { setUpDatabase({}); }

  void setUpDatabase(const std::vector<std::string>& createOptions) {
    std::filesystem::remove(place_.path("test.db"));
    std::vector<std::string> create{"create"};
    create.insert(create.end(), createOptions.begin(), createOptions.end());
    ASSERT_EQ(place_.orvxml(create).status, 0);
    sql(kExample + "tables.sql");
  }
  void sql(const std::string& file) {
    const CommandResult result = place_.orvxml({"sql", "--file", file});
    ASSERT_EQ(result.status, 0) << result.err;
  }
  void registerProcedures() { ASSERT_EQ(place_.orvxml({"enable-db"}).status, 0); }
  CommandResult shred(std::vector<std::string> arguments, const std::string& input = "") const {
    arguments.insert(arguments.begin(), {"shred", "--dad", kDad});
    return place_.orvxml(arguments, input);
  }
  // The rows of a query as CSV without its header line.
  std::string rows(const std::string& query) const {
    const CommandResult result = place_.orvxml({"sql", "--quiet", "--csv", query});
    EXPECT_EQ(result.status, 0) << result.err;
    return result.out.substr(result.out.find('\n') + 1);
  }
  std::vector<std::string> documents() const {
    return {kExample + "documents/c-1001.xml", kExample + "documents/c-1002.xml",
            kExample + "documents/c-1003.xml"};
  }
  static std::string dadText() {
    std::ostringstream text;
    text << std::ifstream(kDad).rdbuf();
    return text.str();
  }
  Workplace place_;
};

TEST_F(CommandShred, TheExampleFillsFourTables) {
  std::vector<std::string> arguments = documents();
  arguments.push_back("--verify");
  const CommandResult result = shred(arguments);
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_TRUE(contains(result.out,
                       "c-1001.xml: QRKQ025I  XML decomposed successfully.\n"
                       "  CUSTOMER            1\n"
                       "  INVOICE             2\n"
                       "  INVOICE_LINE        3\n"
                       "  LINE_TAX            4\n"))
      << result.out;
  EXPECT_EQ(rows("select customer_no, name, street, city, country from customer order by 1"),
            "C-1001,Müller & Söhne <Großhandel>,Straße des 17. Juni 135,Berlin,DE\r\n"
            "C-1002,Ἀθηνᾶ's 雑貨店 🏺,Ερμού 12,Αθήνα,GR\r\n"
            "C-1003,Café Señor Ångström,,Cádiz,ES\r\n");
}

TEST_F(CommandShred, RegisteredProcedureAndCollectionGiveTheSameRows) {
  ASSERT_EQ(shred(documents()).status, 0);
  const std::string query =
      "select c.name, i.remark, l.description, t.amount from customer c, invoice i,"
      " invoice_line l, line_tax t where c.customer_no = i.customer_no and i.invoice_no ="
      " l.invoice_no and l.invoice_no = t.invoice_no and l.line_no = t.line_no order by 1, 3, 4";
  const std::string direct = rows(query);

  setUpDatabase({});
  registerProcedures();
  EXPECT_EQ(shred(documents()).status, 0);
  EXPECT_EQ(rows(query), direct);

  setUpDatabase({});
  registerProcedures();
  sql(place_.write(
      "enable.sql",
      "insert into orvxml.xml_usage (table_schema, table_name, col_name, dad,"
      " access_mode, validation, trigger_suffix) values ('', 'QRK_COLLECTION', 'sales', " +
          literal(dadText()) + ", 1, 0, '')"));
  const std::string empty =
      place_.write("empty.sql",
                   "delete from line_tax; delete from invoice_line; delete from invoice;"
                   "delete from customer; drop procedure orvxml.qrkInsertXML");
  std::vector<std::string> arguments{"shred", "--collection", "sales"};
  for (const std::string& document : documents()) arguments.push_back(document);
  EXPECT_EQ(place_.orvxml(arguments).status, 0);
  EXPECT_EQ(rows(query), direct);
  const CommandResult unknown =
      place_.orvxml({"shred", "--collection", std::string(200, 'n'), documents().front()});
  EXPECT_EQ(unknown.status, 1);
  EXPECT_TRUE(contains(unknown.err, "QRKQ028E")) << unknown.err;
  sql(empty);
  EXPECT_EQ(place_.orvxml(arguments).status, 0);
  EXPECT_EQ(rows(query), direct);
}

TEST_F(CommandShred, EveryEncodingGivesTheSameText) {
  const std::u16string name = u"Zoë €";
  const std::string utf8 = "Zoë €";
  const auto wide = [&](bool bigEndian, bool mark) {
    const std::string head = customer("E-1", "", "UTF-16");
    const size_t middle = head.find("</name>");
    std::u16string text(head.begin(), head.begin() + static_cast<ptrdiff_t>(middle));
    text += name;
    text.append(head.begin() + static_cast<ptrdiff_t>(middle), head.end());
    if (mark) text.insert(0, 1, u'\xFEFF');
    return utf16(text, bigEndian);
  };
  struct Case {
    const char* label;
    std::string document;
  };
  const Case cases[] = {
      {"no encoding given", customer("E-1", utf8)},
      {"byte order mark", "\xEF\xBB\xBF" + customer("E-1", utf8, "UTF-8")},
      {"little endian", wide(false, true)},
      {"big endian", wide(true, true)},
      {"big endian without mark", wide(true, false)},
      {"windows-1252", customer("E-1", "Zo\xEB \x80", "windows-1252")},
      {"untrue UTF-16", customer("E-1", utf8, "UTF-16")},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const CommandResult result = shred({"-"}, c.document);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(rows("select name from customer where customer_no = 'E-1'"), utf8 + "\r\n");
    place_.orvxml({"sql", "delete from customer"});
  }
}

TEST_F(CommandShred, ADatabaseInAnotherCodePageTakesWhatItHolds) {
  setUpDatabase({"--code-page", "819"});
  for (const bool registered : {false, true}) {
    SCOPED_TRACE(registered);
    if (registered) registerProcedures();
    const CommandResult fits = shred({"-"}, customer("L-1", "Müller"));
    EXPECT_EQ(fits.status, 0) << fits.err;
    EXPECT_EQ(rows("select name from customer"), "Müller\r\n");
    const CommandResult other = shred({"-"}, "\n\n" + customer("L-2", "€").substr(22));
    EXPECT_EQ(other.status, 1);
    EXPECT_EQ(other.err,
              "<stdin>:3: the character U+20AC is not in the database's code page 819\n");
    EXPECT_EQ(rows("select count(*) from customer"), "1\r\n");
    place_.orvxml({"sql", "delete from customer"});
  }
}

TEST_F(CommandShred, BadInputsGetTheirMessagesAndChangeNothing) {
  struct Case {
    const char* label;
    std::string document;  // a path
    std::string dad;
    const char* message;
  };
  std::string otherType = dadText();
  otherType.replace(otherType.find("VARCHAR(80)"), 11, "INTEGER");
  std::string filtered = dadText();
  filtered.insert(filtered.find("</RDB_node>", filtered.find("VARCHAR(12)")),
                  "<condition>CUSTOMER_NO = 'X'</condition>");
  const std::string good = place_.write("good.xml", customer("G", "g"));
  const Case cases[] = {
      {"missing", place_.path("absent.xml"), kDad, "absent.xml: No such file"},
      {"directory", place_.path("."), kDad, "is a directory"},
      {"empty", place_.write("empty.xml", ""), kDad, "empty.xml: is empty"},
      {"zero character", place_.write("zero.xml", customer("Z", "z") + '\0'), kDad,
       "zero.xml:3: byte 70 is the character U+0000"},
      {"not UTF-8", place_.write("latin.xml", customer("Z", "\xE9")), kDad, "is not UTF-8"},
      {"unknown encoding", place_.write("odd.xml", customer("Z", "z", "klingon")), kDad,
       "unknown encoding \"klingon\""},
      {"malformed document", place_.write("cut.xml", customer("Z", "z").substr(0, 60)), kDad,
       "cut.xml:2:"},
      {"document with no mapping", good, place_.path("absent.dad"), "absent.dad: No such file"},
      {"malformed mapping", good, place_.write("cut.dad", "<DAD>\n<Xcollection>"), "cut.dad:2:"},
      {"invalid document",
       place_.write("invalid.xml",
                    "<!DOCTYPE customer [<!ELEMENT customer EMPTY>]>\n<customer>v"
                    "</customer>"),
       place_.write("valid.dad", "<DAD><validation>YES</validation>" +
                                     dadText().substr(dadText().find("<Xcollection>"))),
       "invalid.xml:2:"},
      {"mapping without nodes", good, place_.write("no.dad", "<DAD><Xcollection/></DAD>"),
       "no.dad: QRKQ000E  root_node is missing"},
      {"another type than the table's", good, place_.write("type.dad", otherType),
       "type.dad:29:22: QRKQ022E  Column NAME of CUSTOMER should have type VARCHAR."},
      {"a row that a condition leaves out", good, place_.write("filter.dad", filtered),
       "good.xml: refused by --verify: the rows give no document with /customer/@number = 'G'"},
      {"row refused",
       place_.write("half.xml",
                    "<customer number=\"H\"><name>h</name>"
                    "\n<invoice number=\"1\"/></customer>"),
       kDad,
       "half.xml:2:22: element 'invoice', table INVOICE, row (INVOICE_NO '1', ISSUED null, "
       "CURRENCY null, REMARK null, CUSTOMER_NO 'H'): ORV0407E  The null value cannot be stored in "
       "the NOT NULL column \"APP.INVOICE.ISSUED\".  SQLSTATE=23502\nQRKG006E  "},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const CommandResult result = place_.orvxml({"shred", "--verify", "--dad", c.dad, c.document});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.err, c.message)) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(rows("select count(*) from customer"), "0\r\n");
  }
}

TEST_F(CommandShred, WhatIsNotTakenIsToldAndRefusedOnRequest) {
  const std::string dad = place_.write(
      "m.dad",
      "<DAD><Xcollection><prolog>?xml version=\"1.0\"?</prolog><root_node><element_node "
      "name=\"p\"><RDB_node><table "
      "name=\"m\"/></RDB_node>"
      "<element_node name=\"m\" multi_occurrence=\"YES\">\n<attribute_node name=\"a\"><RDB_node>"
      "<table name=\"m\"/><column name=\"a\" type=\"varchar(4)\"/></RDB_node></attribute_node>"
      "<text_node><RDB_node><table name=\"m\"/><column name=\"t\" type=\"varchar(4)\"/></RDB_node>"
      "</text_node></element_node></element_node></root_node></Xcollection></DAD>");
  const std::string document = place_.write("m.xml", "<p>\n<m>1</m><m a='2'>2</m><x/></p>");
  place_.orvxml({"sql", "create table m (a varchar(4), t varchar(4))"});
  const CommandResult told = place_.orvxml({"shred", "--dad", dad, document});
  EXPECT_EQ(told.status, 0);
  EXPECT_EQ(told.err, document +
                          ":2:18: warning: table M, column A: the value of <m> went into the "
                          "row that another <m> began (" +
                          dad + ":2:26) [values-of-two-occurrences]\n");
  EXPECT_TRUE(told.out.ends_with("\n  M        2\n  not taken: 1 element: x\n")) << told.out;
  const CommandResult refused =
      place_.orvxml({"shred", "--strict", "--json", "--dad", dad, document});
  EXPECT_EQ(refused.status, 1);
  EXPECT_TRUE(refused.err.ends_with(
      ": refused by --strict: 1 warning [values-of-two-occurrences]; not taken: 1 element: x\n"))
      << refused.err;
  const nlohmann::json report = nlohmann::json::parse(refused.out);
  EXPECT_EQ(report["warnings"][0]["line"], 2);
  EXPECT_EQ(report["warnings"][0]["mapping_column"], 26);
  EXPECT_EQ(report["not_taken"], "1 element: x");
  const CommandResult verified =
      place_.orvxml({"shred", "--verify", "--quiet", "--dad", dad, document});
  EXPECT_TRUE(
      contains(verified.err,
               "\n" + document +
                   ":2:4: refused by --verify: attribute 'a' of 'm' is empty, the rows give '2'\n"))
      << verified.err;
  EXPECT_EQ(rows("select count(*) from m"), "2\r\n");
}

TEST_F(CommandShred, EachDocumentIsAUnitOfWorkOfItsOwn) {
  const std::string first = place_.write("1.xml", customer("1", "a"));
  const std::string bad = place_.write("2.xml", "<customer number=\"2\">\n<name></customer>");
  const std::string foreign = place_.write("3.xml", "<catalogue><entry/></catalogue>");
  const std::string last = place_.write("4.xml", customer("4", "d"));

  const CommandResult stopped = shred({first, bad, last});
  EXPECT_EQ(stopped.status, 1);
  EXPECT_EQ(rows("select customer_no from customer order by 1"), "1\r\n");

  place_.orvxml({"sql", "delete from customer"});
  const CommandResult result = shred({"--json", "--keep-going", first, bad, foreign, last});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(contains(result.err,
                       "3.xml:1:12: element 'catalogue', table CUSTOMER: the document's root is "
                       "'catalogue', the mapping's 'customer': QRKQ044E"))
      << result.err;
  EXPECT_EQ(rows("select customer_no from customer order by 1"), "1\r\n4\r\n");
  std::vector<nlohmann::json> reports;
  std::istringstream lines(result.out);
  for (std::string line; std::getline(lines, line);) reports.push_back(nlohmann::json::parse(line));
  ASSERT_EQ(reports.size(), 4U);
  EXPECT_EQ(reports[0]["rows"]["CUSTOMER"], 1);
  EXPECT_EQ(reports[1]["ok"], false);
  EXPECT_EQ(reports[1]["code"], -85);
  EXPECT_EQ(reports[1]["line"], 2);
  EXPECT_EQ(reports[2]["code"], -126);
  EXPECT_EQ(reports[3]["document"], last);
}

TEST_F(CommandShred, ADocumentWithoutAnyRowGetsAWarning) {
  const std::string languages = ORVXML_SOURCE_DIR "/examples/iso_639/";
  sql(languages + "tables.sql");
  const CommandResult result =
      place_.orvxml({"shred", "--dad", languages + "languages.dad", documents().front()});
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(contains(result.err, "c-1001.xml: warning: the document put no row")) << result.err;
}

TEST_F(CommandShred, ADocumentLargerThanTheParameterGoesAroundIt) {
  registerProcedures();
  std::string document = "<customer number=\"B\"><name>big</name>\n";
  for (int i = 0; i < 9000; ++i) {
    document += "<invoice number=\"" + std::to_string(i) +
                "\" issued=\"2024-01-01\" currency=\"EUR\"><remark>" + std::string(120, 'r') +
                "</remark></invoice>\n";
  }
  const CommandResult result = shred({"-"}, document + "</customer>");
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(rows("select count(*) from invoice"), "9000\r\n");
}

// The shell's open waits until the command reads, so the signal finds its handler.
TEST_F(CommandShred, ASignalEndsItWithAWord) {
  place_.directory = place_.path(".");
  const std::string script = "mkfifo f; \"$1\" shred --dad \"$2\" f & exec 3>f; kill $!; wait $!";
  const CommandResult ended =
      place_.run("/bin/sh", {"-c", script, "sh", ORVXML_BINARY_DIR "/bin/orvxml", kDad});
  EXPECT_EQ(ended.status, 128 + SIGTERM);
  EXPECT_TRUE(contains(ended.err, "orvxml: terminated: what was not finished is undone\n"))
      << ended.err;
  EXPECT_EQ(rows("select count(*) from customer"), "0\r\n");
}

TEST_F(CommandShred, TheTraceGoesWhereItWasTurnedOn) {
  place_.environment = {"ORVINSTANCE=trace" + std::to_string(getpid())};
  const std::string trace = "qrktrace" + std::to_string(getpid()) + ".trc";
  const CommandResult nowhere = place_.orvxml({"trace", "on", place_.path("absent")});
  EXPECT_EQ(nowhere.status, 1);
  EXPECT_TRUE(contains(nowhere.err, "QRKC009E")) << nowhere.err;
  ASSERT_EQ(place_.orvxml({"trace", "on", place_.path(".")}).status, 0);
  EXPECT_EQ(shred({documents().front()}).status, 0);
  EXPECT_EQ(place_.orvxml({"trace", "off"}).status, 0);
  const std::string text = place_.read(trace);
  EXPECT_TRUE(text.starts_with("*** Trace turned on ")) << text.substr(0, 80);
  EXPECT_TRUE(contains(text, "qrkDecomposeByDAD:\t\t"));
  EXPECT_EQ(shred({documents().back()}).status, 0);
  EXPECT_EQ(place_.read(trace), text);
  const CommandResult off = place_.orvxml({"trace", "off"});
  EXPECT_EQ(off.status, 1);
  EXPECT_TRUE(contains(off.err, "QRKC008E")) << off.err;
}

}  // namespace
}  // namespace orvxml::test

// `orvxml compose`, run as a user runs it.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "tests/support/command_runner.h"
#include "tests/support/dads.h"
#include "tests/support/sqlite_file.h"
#include "tests/support/texts.h"

namespace orvxml::test {
namespace {

namespace fs = std::filesystem;

const char kTables[] =
    "create table item (id integer not null primary key, name varchar(2000));"
    "insert into item values (1, 'Zoë'); insert into item values (2, 'b & c');"
    "insert into item values (3, null);";

std::string mapping(const std::string& header = "", const std::string& doctype = "") {
  return "<DAD>" + header +
         "<Xcollection>\n<SQL_stmt>SELECT ID, NAME FROM ITEM ORDER BY ID</SQL_stmt>"
         "<prolog>?xml version=\"1.0\"?</prolog>" +
         doctype +
         "<root_node><element_node name=\"item\">"
         "<attribute_node name=\"id\"><column name=\"ID\"/></attribute_node>"
         "<element_node name=\"name\"><text_node><column name=\"NAME\"/></text_node></element_node>"
         "</element_node></root_node></Xcollection></DAD>";
}

std::string document(int id, const std::string& name) {
  return "<?xml version=\"1.0\"?>\n<item id=\"" + std::to_string(id) + "\">\n  <name>" + name +
         "</name>\n</item>\n";
}

std::string nested(const std::string& condition) {
  return "select id, name from item where " + condition + " order by id";
}

class CommandCompose : public testing::Test {
 protected:
  void SetUp() override { setUpDatabase({}); }

  void setUpDatabase(const std::vector<std::string>& createOptions) {
    fs::remove(place_.path("test.db"));
    std::vector<std::string> create{"create"};
    create.insert(create.end(), createOptions.begin(), createOptions.end());
    ASSERT_EQ(place_.orvxml(create).status, 0);
    sql(kTables);
  }
  void sql(const std::string& statements) {
    const CommandResult result = place_.orvxml({"sql", statements});
    ASSERT_EQ(result.status, 0) << result.err;
  }
  void registerProcedures() { ASSERT_EQ(place_.orvxml({"enable-db"}).status, 0); }
  void enable(const std::string& collection) {
    sql("insert into orvxml.xml_usage (table_schema, table_name, col_name, dad, access_mode,"
        " validation, trigger_suffix) values ('', 'QRK_COLLECTION', '" +
        collection + "', '" + mapping() + "', 0, 0, '')");
  }
  CommandResult compose(std::vector<std::string> arguments,
                        const std::string& dad = mapping()) const {
    arguments.insert(arguments.begin(), {"compose", "--dad", place_.write("item.dad", dad)});
    return place_.orvxml(arguments);
  }
  std::string rows(const std::string& query) const {
    const CommandResult result = place_.orvxml({"sql", "--quiet", "--csv", query});
    EXPECT_EQ(result.status, 0) << result.err;
    return result.out.substr(result.out.find('\n') + 1);
  }
  // The files of a folder and what they hold.
  std::vector<std::pair<std::string, std::string>> filesOf(const std::string& folder) const {
    std::vector<std::pair<std::string, std::string>> files;
    for (const auto& entry : fs::directory_iterator(place_.path(folder))) {
      const std::string name = entry.path().filename().string();
      files.emplace_back(name, place_.read((fs::path(folder) / name).string()));
    }
    std::sort(files.begin(), files.end());
    return files;
  }
  Workplace place_;
};

TEST_F(CommandCompose, TheFirstDocumentOfAFileOrACollection) {
  const std::string first = document(1, "Zoë");
  const auto expectFirst = [&](const CommandResult& result) {
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, first);
    EXPECT_EQ(result.err,
              "QRKQ020I  XML successfully generated.\n"
              "3 documents; this is the first, --output-dir or --wrap writes all of them\n");
  };
  expectFirst(compose({}));
  registerProcedures();
  enable("items");
  expectFirst(place_.orvxml({"compose", "--collection", "items"}));
  // A mapping that is larger than the registered parameter.
  expectFirst(compose({}, mapping("<!--" + std::string(200000, 'c') + "-->")));
  EXPECT_EQ(compose({"--quiet"}).err, "");

  const CommandResult overridden = compose({"--override-sql", nested("id > 1")});
  EXPECT_EQ(overridden.out, document(2, "b &amp; c"));
  const CommandResult none = compose({"--override-sql", nested("id > 3")});
  EXPECT_EQ(none.status, 0);
  EXPECT_EQ(none.out, "");
  EXPECT_TRUE(contains(none.err, "item.dad: warning: no document was composed")) << none.err;
}

// All documents without their headers, inside one element.
TEST_F(CommandCompose, OneElementAroundAllDocuments) {
  const auto wrapped = [](const std::vector<std::string>& documents) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<all>";
    for (const std::string& each : documents) {
      text += each.substr(each.find('\n'), each.rfind('\n') - each.find('\n'));
    }
    return text + "\n</all>\n";
  };
  const std::vector<std::string> all{document(1, "Zoë"), document(2, "b &amp; c"), document(3, "")};
  const std::string file = place_.path("all.xml");
  const std::string dad = mapping("", "<doctype>!DOCTYPE item</doctype>");
  EXPECT_EQ(compose({"--wrap", "all"}, dad).out, wrapped(all));
  setUpDatabase({"--code-page", "819"});
  EXPECT_EQ(compose({"--wrap", "all", "--max-rows", "2"}, dad).out, wrapped({all[0], all[1]}));
  EXPECT_EQ(compose({"--override-sql", nested("name = 'Zoë'")}).out, document(1, "Zoë"));
  const CommandResult other = compose({"--override-sql", nested("name = '€'")});
  EXPECT_EQ(other.status, 1);
  EXPECT_TRUE(contains(other.err, "<override>:1: the character U+20AC is not in ")) << other.err;
  const CommandResult none = compose({"--wrap", "all", "--override-sql", nested("id > 3")});
  EXPECT_EQ(none.out, wrapped({}));
  const CommandResult json = compose({"--json", "--wrap", "all", "--output", file});
  EXPECT_EQ(nlohmann::json::parse(json.out)["documents"], 3);
  EXPECT_EQ(nlohmann::json::parse(json.out)["output"], file);
  EXPECT_EQ(place_.read("all.xml"), wrapped(all));
  // A file stays as it was after a failure; standard output has got what was there before it.
  sql("insert into item values (4, 'a\x01')");
  EXPECT_EQ(compose({"--wrap", "all", "--output", file}).status, 1);
  EXPECT_EQ(place_.read("all.xml"), wrapped(all));
  const CommandResult rest = compose({"--wrap", "all", "--keep-going"});
  EXPECT_EQ(rest.status, 1);
  EXPECT_EQ(rest.out, wrapped(all));
  EXPECT_TRUE(contains(rest.err, "3 documents, 1 left out\n")) << rest.err;
}

// What the library notices, with its place in the mapping; the documents come all the same.
TEST_F(CommandCompose, WarningsAndPlaces) {
  sql("create table part (item integer, k varchar(9), note varchar(9));"
      "insert into part values (1, 'x', 'a'), (2, 'y', 'b\x02'), (3, 'z', 'c')");
  const std::string byTables =
      "<DAD><Xcollection>\n<prolog>\n?xml version='1.0' encoding = 'UTF-16'?\n</prolog>\n<root_node>" +
      element("item", top("<table name='ITEM'/><table name='PART'/>", "ITEM.ID = PART.ITEM") +
                          attributeOf("id", "ITEM", "ID") + '\n' +
                          repeated("part", attributeOf("k", "PART", "K") + '\n' +
                                               text(column("PART", "NOTE")))) +
      "</root_node></Xcollection></DAD>";
  const std::string oneDocument =
      "<DAD><Xcollection><prolog>?xml version='1.0'?</prolog><root_node>" +
      element("parts",
              top("<table name='PART'/>") +
                  repeated("part", attributeOf("k", "PART", "K") + text(column("PART", "NOTE")))) +
      "</root_node></Xcollection></DAD>";
  const std::string query =
      "<DAD><Xcollection><SQL_stmt>SELECT item AS id, k, note FROM part ORDER BY id, k</SQL_stmt>"
      "<prolog>?xml version='1.0'?</prolog><root_node>" +
      element("item", attribute("id", "<column name='ID'/>") +
                          element("part", attribute("k", "<column name='K'/>") +
                                              text("<column name='NOTE'/>"))) +
      "</root_node></Xcollection></DAD>";
  const auto bySchema = [](const std::string& file) {
    return mapping("<schemabindings><nonamespacelocation location='" + file +
                   "'/></schemabindings><validation>YES</validation>");
  };
  const std::string faulty = place_.write(
      "part.xsd",
      "<s:schema xmlns:s='http://www.w3.org/2001/XMLSchema'><s:element name='p' type='q'/></s:schema>");
  const auto expect = [&](const std::string& dad, const std::vector<std::string>& options,
                          int status, const char* message, const char* shown = "") {
    SCOPED_TRACE(message);
    const CommandResult result = compose(options, dad);
    EXPECT_EQ(result.status, status);
    EXPECT_TRUE(contains(result.err, message)) << result.err;
    EXPECT_TRUE(contains(result.out, shown)) << result.out;
  };
  const char* const third = "</item>\n<item id=\"3\">\n  <part k=\"z\">c</part>";
  const std::string unbroken = "/item/@id <> 2";
  // A row that no document can hold ends the run, or is left out.
  expect(
      byTables, {"--wrap", "all"}, 1,
      "item.dad:7:12: in the row ID = 2 of ITEM, K = y and NOTE = b\\u0002 of PART: QRKQ055E  ICU error: column NOTE holds U+0002, which XML cannot carry\n");
  expect(byTables, {"--wrap", "all", "--keep-going"}, 1, "2 documents, 1 left out", third);
  expect(oneDocument, {"--wrap", "all", "--keep-going"}, 1, "0 documents, 1 left out");
  expect(query, {"--wrap", "all", "--keep-going"}, 1,
         "in the row ID = 2, K = y: QRKQ055E  ICU error: column NOTE holds U+0002", third);
  expect(
      byTables, {"--override-xml", unbroken}, 0,
      "item.dad: warning: the prolog names the encoding UTF-16; what is written is UTF-8 and says so [prolog-encoding]\nQRKQ020I",
      "<?xml version='1.0' encoding = 'UTF-8'?>\n<item id=\"1\">");
  expect(
      byTables, {"--override-xml", unbroken + " AND /item/@no = 1"}, 0,
      "item.dad: warning: the override of /item/@no was not applied: the path selects no mapped value, or is none [override-unused]\n",
      "<item");
  expect(bySchema(faulty), {}, 0,
         "part.xsd:1:84: warning: no document is valid by a faulty schema or DTD: QRKQ047E");
  place_.orvxml({"sql", "create table narrow (doc clob, v int, extra int not null)"});
  expect(bySchema(faulty), {"--into", "narrow", "--column", "doc", "--valid-column", "v"}, 1,
         "item.dad: in the object ID = 1: ORV0407E");
  expect(bySchema("none.xsd"), {}, 1, "none.xsd: QRKC001E");
  expect(mapping().replace(mapping().find("1.0"), 3, "one"), {}, 1,
         "item.dad:2:67: the header that prolog, doctype and stylesheet make: QRKQ047E");
  expect(mapping(), {"--override-sql", "select 7 / (id - 2) as id, name from item order by id"}, 1,
         "item.dad: in object 1 of the query: ORV");
}

TEST_F(CommandCompose, ADatabaseOfAnotherProgram) {
  fs::remove(place_.path("test.db"));
  runSqlite(place_.path("test.db"),
            "create table item (id integer primary key, name clob);"
            "insert into item values (7, 'foreign');");
  const CommandResult unbound = compose({});
  EXPECT_EQ(unbound.status, 1);
  EXPECT_TRUE(contains(unbound.err, "run orvxml bind")) << unbound.err;
  ASSERT_EQ(place_.orvxml({"bind"}).status, 0);
  EXPECT_EQ(compose({}).out, document(7, "foreign"));
  EXPECT_EQ(compose({"--output-dir", place_.path("all")}).status, 0);
  EXPECT_EQ(filesOf("all").size(), 1u);
}

TEST_F(CommandCompose, AFileIsWrittenWholeOrNotAtAll) {
  const std::string file = place_.path("item.xml");
  EXPECT_EQ(compose({"--output", file}).out, "");
  const std::string first = place_.read("item.xml");
  EXPECT_EQ(first + '\n', document(1, "Zoë"));
  fs::create_symlink(file, place_.path("link.xml"));
  EXPECT_EQ(compose({"--output", place_.path("link.xml"), "--override-sql", nested("id=2")}).status,
            0);
  EXPECT_TRUE(fs::is_symlink(place_.path("link.xml")));
  EXPECT_EQ(place_.read("item.xml") + '\n', document(2, "b &amp; c"));

  const struct {
    const char* label;
    std::string output;
    std::string condition;
    const char* message;
  } cases[] = {
      {"the statement fails", file, "nothing = 1", "item.dad: "},
      {"a folder", place_.path("."), "id = 1", ": is a directory"},
      {"no such folder", place_.path("none/item.xml"), "id = 1", "cannot be written: No such file"},
      {"a device", "/dev/null", "id = 1", "/dev/null: is no plain file"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    const CommandResult result =
        compose({"--output", c.output, "--override-sql", nested(c.condition)});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.err, c.message)) << result.err;
  }
  EXPECT_EQ(place_.read("item.xml") + '\n', document(2, "b &amp; c"));
  EXPECT_EQ(filesOf(".").size(), 4u) << "something was left: mapping, database, file and link";
}

TEST_F(CommandCompose, AFolderGetsEveryDocument) {
  const std::string folder = place_.path("all");
  const CommandResult result = compose({"--output-dir", folder});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "QRKQ020I  XML successfully generated.\n3 documents\n");
  const auto files = filesOf("all");
  ASSERT_EQ(files.size(), 3u);
  EXPECT_EQ(files[1], std::pair(std::string("000002.xml"),
                                document(2, "b &amp; c").substr(0, files[1].second.size())));
  const CommandResult again = compose({"--output-dir", folder});
  EXPECT_EQ(again.status, 1);
  EXPECT_TRUE(contains(again.err, "all: holds numbered documents already")) << again.err;
  fs::remove_all(folder);
  const CommandResult limited = compose({"--quiet", "--output-dir", folder, "--max-rows", "2"});
  EXPECT_EQ(limited.status, 0);
  EXPECT_EQ(limited.err, "QRKQ003W  Result exceeds maximum.\n");
  EXPECT_EQ(filesOf("all").size(), 2u);
  fs::remove_all(folder);
  // What was written before a failure goes again.
  sql("insert into item values (4, 'a\x01')");
  EXPECT_EQ(compose({"--output-dir", folder}).status, 1);
  EXPECT_FALSE(fs::exists(folder));
  EXPECT_EQ(compose({"--output-dir", folder, "--keep-going"}).status, 1);
  EXPECT_EQ(filesOf("all").size(), 3u);
  EXPECT_EQ(compose({"--output-dir", place_.path("none/all")}).status, 1);
}

TEST_F(CommandCompose, DocumentsHaveAnySize) {
  std::string script =
      "create table big (id integer, name clob(2M)); insert into big values (1, '');";
  for (int i = 0; i < 40; ++i) {
    script += "update big set name = name || '" + std::string(31999, 'x') + "ü';";
  }
  const std::string statement = "select id, name from big order by id";
  for (const char* codePage : {"1208", "819"}) {
    setUpDatabase({"--code-page", codePage});
    ASSERT_EQ(place_.orvxml({"sql", "--file", place_.write("big.sql", script)}).status, 0);
    const CommandResult big = compose({"--override-sql", statement});
    EXPECT_EQ(big.status, 0) << big.err;
    const size_t name = big.out.find("<name>") + 6;
    EXPECT_EQ(big.out.find("</name>") - name, 40u * 32001);
    EXPECT_EQ(std::count(big.out.begin(), big.out.end(), '\xBC'), 40);
  }
}

TEST_F(CommandCompose, ATableGetsRowsOrStaysAsItWas) {
  sql("create table result (other integer, doc clob(1M), verdict integer)");
  const auto count = [&] { return rows("select count(*), max(length(doc)) from result"); };
  const CommandResult unnamed = compose({"--into", "result"});
  EXPECT_EQ(unnamed.status, 1) << "the first column is a number";
  EXPECT_EQ(count(), "0,\r\n");
  for (const bool registered : {false, true}) {
    if (registered) registerProcedures();
    EXPECT_EQ(compose({"--into", "result", "--column", "doc"}).status, 0);
    EXPECT_EQ(count(), registered ? "6,68\r\n" : "3,68\r\n");
  }
  // The first document fits, the second does not.
  sql("create table small (doc varchar(" + std::to_string(document(1, "Zoë").size() - 1) + "))");
  const CommandResult failed = compose({"--into", "small"});
  EXPECT_EQ(failed.status, 1);
  EXPECT_TRUE(contains(failed.err, "item.dad: in the object ID = 2: QRKQ017E")) << failed.err;
  EXPECT_EQ(rows("select count(*) from small"), "0\r\n");
  const CommandResult limited =
      compose({"--json", "--into", "result", "--column", "doc", "--max-rows", "1"});
  EXPECT_EQ(limited.status, 0);
  const nlohmann::json report = nlohmann::json::parse(limited.out);
  EXPECT_EQ(report["code"], 3);
  EXPECT_EQ(report["documents"], 1);
  EXPECT_EQ(report["output"], "result");
  EXPECT_EQ(count(), "7,68\r\n");
}

TEST_F(CommandCompose, ValidationResults) {
  registerProcedures();
  sql("insert into orvxml.dtd_ref (dtdid, usage_count, content) values ('item.dtd', 0,"
      " '<!ELEMENT item (name)><!ATTLIST item id (1|2) #REQUIRED><!ELEMENT name (#PCDATA)>')");
  const std::string dad = mapping("<dtdid>item.dtd</dtdid><validation>YES</validation>",
                                  "<doctype>!DOCTYPE item SYSTEM \"item.dtd\"</doctype>");
  EXPECT_TRUE(contains(compose({}, dad).err, "\nvalid\n"));
  EXPECT_TRUE(contains(compose({"--override-sql", nested("id = 3")}, dad).err, "\ninvalid\n"));
  const CommandResult folder = compose({"--output-dir", place_.path("all")}, dad);
  EXPECT_EQ(folder.err, "QRKQ020I  XML successfully generated.\n3 documents\n2 valid, 1 invalid\n");
  const nlohmann::json report = nlohmann::json::parse(compose({"--json"}, dad).out);
  EXPECT_EQ(report["ok"], true);
  EXPECT_EQ(report["valid"], 1);
  EXPECT_EQ(report["invalid"], 0);
  EXPECT_TRUE(contains(std::string(report["document"]), "Zoë"));
  sql("create table result (doc clob(1M))");
  EXPECT_EQ(compose({"--into", "result"}, dad).status, 0);
  EXPECT_EQ(rows("select qrk_valid from result"), "1\r\n1\r\n0\r\n");
}

TEST_F(CommandCompose, WrongUseAndBadMappings) {
  const std::vector<std::string> wrong[] = {
      {},
      {"--dad", "a", "--collection", "b"},
      {"--dad", "a", "--override-sql", "x", "--override-xml", "y"},
      {"--dad", "a", "--output", "x", "--output-dir", "y"},
      {"--dad", "a", "--output-dir", "x", "--into", "y"},
      {"--dad", "a", "--column", "x"},
      {"--dad", "a", "--into", "x", "--valid-column", "y"},
      {"--dad", "a", "--into", "x", "--max-rows", "-1"},
      {"--dad", "a", "--max-rows", "1"},
      {"--dad", "a", "--keep-going"},
      {"--dad", "a", "--wrap", "x", "--output-dir", "y"},
      {"--dad", "a", "--wrap", "x", "--json"},
      {"--dad", "a", "--wrap", ""},
      {"--dad", "a", "--wrap", "1x"},
      {"--dad", "a", "--wrap", "p:x"},
      {"--dad", "a", "--wrap", "x y"},
  };
  for (std::vector<std::string> arguments : wrong) {
    arguments.insert(arguments.begin(), "compose");
    EXPECT_EQ(place_.orvxml(arguments).status, 2) << testing::PrintToString(arguments);
  }
  const CommandResult malformed = compose({"--json"}, "<DAD>\n<Xcollection>");
  EXPECT_EQ(malformed.status, 1);
  EXPECT_TRUE(contains(malformed.err, "item.dad:2:")) << malformed.err;
  EXPECT_EQ(nlohmann::json::parse(malformed.out)["code"], -85);
  registerProcedures();
  const CommandResult unknown = place_.orvxml({"compose", "--collection", "none"});
  EXPECT_EQ(unknown.status, 1);
  EXPECT_EQ(unknown.err,
            "mapping of collection none: "
            "QRKQ028E  Cannot find the collection none in the XML_USAGE table.\n");
}

}  // namespace
}  // namespace orvxml::test

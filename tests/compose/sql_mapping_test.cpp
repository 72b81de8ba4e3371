// SQL mapping: documents of one to four levels to the byte, and every way in which a tree or a
// statement can be wrong.
#include "orvxml/notices.h"
#include "src/compose/sql_level_query.h"
#include "tests/compose/sql_composition.h"
#include "tests/support/decompose_calls.h"
#include "tests/support/temporary_folder.h"

namespace orvxml::test {
namespace {

using Documents = std::vector<std::string>;

// Orders with items, their parts and the parts' stocks.
struct Shop : Database {
  explicit Shop(int codePage = 1208) : Database(codePage) {
    run("CREATE TABLE O (ID INTEGER NOT NULL, NAME VARCHAR(20))");
    run("CREATE TABLE I (OID INTEGER, IID INTEGER, QTY VARCHAR(10))");
    run("CREATE TABLE P (OID INTEGER, IID INTEGER, PID VARCHAR(5), SIZE DECIMAL(5,2))");
    run("CREATE TABLE S (PID VARCHAR(5), SID DATE, N INTEGER)");
    run("INSERT INTO O VALUES (2, NULL), (1, 'a<b & \"c\"'), (3, 'none')");
    run("INSERT INTO I VALUES (1, 11, 'x'), (1, 10, NULL), (2, 10, 'y')");
    run("INSERT INTO P VALUES (1, 10, 'b', 1.5), (1, 10, 'a', 2.25), (2, 10, 'a', 7)");
    run("INSERT INTO S VALUES ('a', '2024-01-02', 5), ('a', '2024-01-01', 6), ('b', NULL, 1)");
  }
};

constexpr char kItems[] =
    "SELECT o.id, o.name, i.iid, i.qty FROM o, i WHERE o.id = i.oid ORDER BY o.id, i.iid";
constexpr char kStocks[] =
    "SELECT o.id, i.iid, i.qty, p.pid, p.size, s.sid, s.n FROM o, i, p, s WHERE o.id = i.oid AND"
    " p.oid = o.id AND p.iid = i.iid AND s.pid = p.pid ORDER BY id, iid, pid, sid";
constexpr char kOrders[] = "SELECT id, name FROM o ORDER BY id";

const std::string kItem = element("item", attribute("no", "IID") + text("QTY"));

// The server takes such keys for one and gives their rows in any order.
TEST(SqlMappingTest, KeysThatDifferInBlanksAloneAreTold) {
  struct Heard final : NoticeListener {
    void notice(const Notice& notice) override { text += notice.rule + (' ' + notice.text); }
    std::string text;
  };
  Database database;
  database.run("CREATE TABLE K (ID VARCHAR(4), V INTEGER)");
  const std::string oneLevel = "SELECT id, v FROM k ORDER BY id";
  const std::string twoLevels =
      "SELECT k.id, l.v FROM k, k AS l WHERE k.id = l.id ORDER BY k.id, l.v";
  const std::string tree = element("k", attribute("id", "ID") + element("l", text("V")));
  const struct {
    const char* rows;
    std::string statement;
    const char* told;
  } cases[] = {
      {"('a', 1), ('a ', 2)", oneLevel, ""},
      {"(NULL, 1), (' ', 2), ('b', 3)", twoLevels, ""},
      {"('a', 1), ('a ', 2), ('a', 3)", oneLevel,
       "keys-differ-in-blanks the keys \"a \" and \"a\" of column ID differ in trailing blanks "
       "alone, and the second comes again behind the first: it becomes one more element"},
      {"('a', 1), ('a ', 2)", twoLevels,
       "keys-differ-in-blanks the keys \"a\" and \"a \" of column ID differ in trailing blanks "
       "alone: each becomes an element, and each gets what belongs to both"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.rows);
    database.run("INSERT INTO K VALUES " + std::string(c.rows));
    Heard heard;
    const Listening listening(heard);
    EXPECT_EQ(composeSql(c.statement, tree).code, 0);
    EXPECT_EQ(heard.text, c.told);
    database.run("DELETE FROM K");
  }
}

TEST(SqlMappingTest, NestsRowsByTheKeysOfTheirLevels) {
  struct Case {
    const char* label;
    const char* statement;
    std::string tree;
    Documents documents;
  };
  const Case cases[] = {
      {"one level; a null attribute is omitted",
       kOrders,
       element("o", attribute("id", "ID") + attribute("name", "NAME")),
       {"\n<o id=\"1\" name=\"a&lt;b &amp; &quot;c&quot;\"></o>", "\n<o id=\"2\"></o>",
        "\n<o id=\"3\" name=\"none\"></o>"}},
      {"equal keys are one object; a null text is omitted",
       kItems,
       element("o", attribute("id", "ID") + kItem),
       {"\n<o id=\"1\">\n  <item no=\"10\"></item>\n  <item no=\"11\">x</item>\n</o>",
        "\n<o id=\"2\">\n  <item no=\"10\">y</item>\n</o>"}},
      {"attributes behind content come first",
       kItems,
       element("o", kItem + text("ID") + attribute("id", "ID")),
       {"\n<o id=\"1\">\n  <item no=\"10\"></item>\n  <item no=\"11\">x</item>1</o>",
        "\n<o id=\"2\">\n  <item no=\"10\">y</item>2</o>"}},
      {"a row has the keys above it and no other column of theirs",
       kItems,
       element("o", attribute("id", "ID") +
                        element("i", attribute("n", "IID") + attribute("o", "ID") +
                                         attribute("name", "NAME") + attribute("zz", "ZZ"))),
       {"\n<o id=\"1\">\n  <i n=\"10\" o=\"1\"></i>\n  <i n=\"11\" o=\"1\"></i>\n</o>",
        "\n<o id=\"2\">\n  <i n=\"10\" o=\"2\"></i>\n</o>"}},
      {"a group stays on its parent's level",
       kItems,
       element("o", element("id", text("ID")) + element("items", kItem) + element("none", "")),
       {"\n<o>\n  <id>1</id>\n  <items>\n    <item no=\"10\"></item>\n    <item no=\"11\">x</item>"
        "\n  </items>\n  <none></none>\n</o>",
        "\n<o>\n  <id>2</id>\n  <items>\n    <item no=\"10\">y</item>\n  </items>\n"
        "  <none></none>\n</o>"}},
      {"a group that repeats has the level of its first column",
       kItems,
       element("o", element("items", kItem, "YES") + element("none", "", "YES")),
       {"\n<o>\n  <items>\n    <item no=\"10\"></item>\n  </items>\n  <items>\n"
        "    <item no=\"11\">x</item>\n  </items>\n  <none></none>\n</o>",
        "\n<o>\n  <items>\n    <item no=\"10\">y</item>\n  </items>\n  <none></none>\n</o>"}},
      {"siblings of one level",
       kItems,
       element("o", element("n", text("IID")) + element("q", text("QTY"))),
       {"\n<o>\n  <n>10</n>\n  <n>11</n>\n  <q></q>\n  <q>x</q>\n</o>",
        "\n<o>\n  <n>10</n>\n  <q>y</q>\n</o>"}},
      {"four levels",
       kStocks,
       element("o", attribute("id", "ID") +
                        element("i", attribute("iid", "IID") +
                                         element("p", attribute("pid", "PID") + text("SIZE") +
                                                          element("s", attribute("sid", "SID") +
                                                                           text("N"))))),
       {"\n<o id=\"1\">\n  <i iid=\"10\">\n    <p pid=\"a\">2.25\n"
        "      <s sid=\"2024-01-01\">6</s>\n      <s sid=\"2024-01-02\">5</s>\n    </p>\n"
        "    <p pid=\"b\">1.50\n    </p>\n  </i>\n</o>",
        "\n<o id=\"2\">\n  <i iid=\"10\">\n    <p pid=\"a\">7.00\n"
        "      <s sid=\"2024-01-01\">6</s>\n      <s sid=\"2024-01-02\">5</s>\n    </p>\n"
        "  </i>\n</o>"}},
      {"levels may be left out",
       kStocks,
       element("o", attribute("id", "ID") + element("s", text("SID") + attribute("p", "PID"))),
       {"\n<o id=\"1\">\n  <s p=\"a\">2024-01-01</s>\n  <s p=\"a\">2024-01-02</s>\n</o>",
        "\n<o id=\"2\">\n  <s p=\"a\">2024-01-01</s>\n  <s p=\"a\">2024-01-02</s>\n</o>"}},
      {"the root's columns are those of its object",
       kItems,
       element("o", attribute("n", "IID")),
       {"\n<o></o>", "\n<o></o>"}},
      {"expressions",
       "SELECT COUNT(*) AS k, MIN(name) AS m FROM o ORDER BY k",
       element("o", attribute("k", "K") + attribute("m", "M")),
       {"\n<o k=\"3\" m=\"a&lt;b &amp; &quot;c&quot;\"></o>"}},
      {"a marker's text within a literal",
       "SELECT o.id, i.iid, ' WHERE X=?' AS l FROM o, i WHERE o.id = i.oid AND o.id = 2"
       " ORDER BY id, iid",
       element("o", element("i", attribute("l", "L"))),
       {"\n<o>\n  <i l=\" WHERE X=?\"></i>\n</o>"}},
      {"no rows", "SELECT id FROM o WHERE id > 9 ORDER BY id", element("o", text("ID")), {}},
  };
  Shop shop;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    EXPECT_EQ(composeSql(c.statement, c.tree), (Composed{c.documents, 0, ""}));
  }
}

TEST(SqlMappingTest, NullKeysLeaveTheirElementsOut) {
  Database db;
  db.run("CREATE TABLE T (K VARCHAR(2000), A INTEGER, B INTEGER, C INTEGER)");
  db.run(
      "INSERT INTO T VALUES ('k', NULL, 1, 1), ('k', 2, NULL, 3), (NULL, 4, 4, 4), ('', 5, 5, 5),"
      " ('QRK_NO_OBJ', 6, NULL, 6)");
  struct Case {
    const char* label;
    const char* statement;
    std::string tree;
    Documents documents;
  };
  const std::string keyed = attribute("a", "A") + attribute("b", "B") + element("c", text("C"));
  const Case cases[] = {
      {"an element with its subtree, but not its siblings",
       "SELECT K, A, B, C FROM T ORDER BY K, A, C",
       element("t", element("e", keyed) + element("x", text("K"))),
       {"\n<t>\n  <e a=\"5\" b=\"5\">\n    <c>5</c>\n  </e>\n  <x></x>\n</t>",
        "\n<t>\n  <e a=\"6\">\n    <c>6</c>\n  </e>\n  <x>QRK_NO_OBJ</x>\n</t>",
        "\n<t>\n  <e a=\"2\">\n    <c>3</c>\n  </e>\n  <x>k</x>\n</t>", "\n<t>\n</t>"}},
      {"a root without its key has no document",
       "SELECT K FROM T ORDER BY K",
       element("t", attribute("k", "K")),
       {"\n<t k=\"\"></t>", "\n<t k=\"QRK_NO_OBJ\"></t>", "\n<t k=\"k\"></t>"}},
      {"a text as key",
       "SELECT A, B FROM T WHERE A IS NULL OR A < 4 ORDER BY A, B",
       element("t", element("e", element("f", "") + text("B"))),
       {"\n<t>\n</t>", "\n<t>\n</t>"}},
      {"only the element's first column is its key",
       "SELECT K, A, B FROM T ORDER BY K, A",
       element("t", element("e", attribute("b", "B") + attribute("a", "A"))),
       {"\n<t>\n  <e b=\"5\" a=\"5\"></e>\n</t>", "\n<t>\n  <e a=\"6\"></e>\n</t>",
        "\n<t>\n  <e a=\"2\"></e>\n  <e b=\"1\"></e>\n</t>", "\n<t>\n</t>"}},
      {"nulls and empty keys that meet are one object",
       "SELECT K, A FROM T WHERE K IS NULL OR K = '' ORDER BY K, A",
       element("t", element("e", text("A"))),
       {"\n<t>\n  <e>5</e>\n</t>"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    EXPECT_EQ(composeSql(c.statement, c.tree), (Composed{c.documents, 0, ""}));
  }
}

TEST(SqlMappingTest, KeysOfEveryTypeSelectTheirRows) {
  struct Case {
    const char* type;
    Documents keys;  // as literals, in their order
    Documents shown;
  };
  const std::string longKey(1500, 'x');
  const Case cases[] = {
      {"SMALLINT", {"-3", "2"}, {"-3", "2"}},
      {"DECIMAL(9,2)", {"1.5", "10.25"}, {"1.50", "10.25"}},
      {"DOUBLE", {"0.1", "2.5E20"}, {"1.0E-1", "2.5E20"}},
      {"TIMESTAMP", {"'2024-01-02-03.04.05.000006'"}, {"2024-01-02-03.04.05.000006"}},
      {"CHAR(4)", {"'a'", "'b '"}, {"a   ", "b   "}},
      {"VARCHAR(2000)",
       {"'" + longKey + "a'", "'" + longKey + "b'"},
       {longKey + "a", longKey + "b"}},
      {"VARGRAPHIC(5)", {"G'\u3042'", "G'\u3044\u3046'"}, {"\u3042", "\u3044\u3046"}},
      {"GRAPHIC(2)", {"G'\u3042\u3044'"}, {"\u3042\u3044"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.type);
    Database db;
    db.run(std::string("CREATE TABLE T (K ") + c.type + ", N INTEGER)");
    Documents documents;
    for (size_t i = 0; i < c.keys.size(); ++i) {
      const std::string number = std::to_string(i);
      db.run("INSERT INTO T VALUES (" + c.keys[i] + ", " + number + ")");
      documents.push_back("\n<t k=\"" + c.shown[i] + "\">\n  <n>" + number + "</n>\n</t>");
    }
    EXPECT_EQ(composeSql("SELECT k, n FROM t ORDER BY k, n",
                         element("t", attribute("k", "K") + element("n", text("N")))),
              (Composed{documents, 0, ""}));
  }
}

// The server takes them for equal.
TEST(SqlMappingTest, KeysThatDifferInBlanksAreTold) {
  struct Listener final : NoticeListener {
    void notice(const Notice& notice) override { texts.push_back(notice.text); }
    std::vector<std::string> texts;
  } listener;
  const Listening listening(listener);
  Database db;
  db.run("CREATE TABLE T (K VARCHAR(9), N INTEGER)");
  db.run("INSERT INTO T VALUES ('a', 1), ('a ', 2), ('b', 3)");
  EXPECT_EQ(composeSql("SELECT k, n FROM t ORDER BY k, n",
                       element("t", attribute("k", "K") + element("n", text("N"))))
                .documents.size(),
            3U);
  ASSERT_EQ(listener.texts.size(), 1U);
  EXPECT_TRUE(listener.texts[0].starts_with("the keys \"a\" and \"a \" of column K differ in"));
}

// Double-byte keys travel as double-byte characters, or as bytes in the EUC code pages.
TEST(SqlMappingTest, GraphicKeysWorkInDoubleByteDatabases) {
  struct Case {
    int codePage;
    const char* key;  // U+3042 U+4E95
  };
  for (const Case& c : {Case{943, "\x82\xA0\x88\xE4"}, Case{33722, "\xA4\xA2\xB0\xE6"}}) {
    SCOPED_TRACE(c.codePage);
    Database db(c.codePage);
    db.run("CREATE TABLE T (K VARGRAPHIC(5), N INTEGER)");
    db.run("INSERT INTO T VALUES (G'\u3042\u4E95', 1)");
    EXPECT_EQ(composeSql("SELECT k, n FROM t ORDER BY k, n",
                         element("t", attribute("k", "K") + element("n", text("N")))),
              (Composed{{std::string("\n<t k=\"") + c.key + "\">\n  <n>1</n>\n</t>"}, 0, ""}));
  }
  EXPECT_EQ(isUCSEUC(954) + isUCSEUC(964) + isUCSEUC(33722), 3);
  EXPECT_EQ(isUCSEUC(943) + isUCSEUC(1208), 0);
}

TEST(SqlMappingTest, LargeAndLongValuesComeWholeOnEveryLevel) {
  Database db;
  db.run(
      "CREATE TABLE T (K INTEGER, C CLOB(1M), N INTEGER, D CLOB(1M), L LONG VARCHAR, B BLOB(9))");
  const std::string piece(30'000, 'l');
  std::string shownLarge;
  for (int i = 0; i < 5; ++i) shownLarge += piece;
  shownLarge += "&lt;\u00FC&gt;";
  const std::string longText(20'000, 't');
  db.run(
      "INSERT INTO T VALUES (1, '" + piece + "', 1, NULL, '" + longText +
      "', CAST(X'00ff' AS BLOB(9))), (1, 'c', 2, NULL, NULL, NULL), (2, NULL, 1, 'd', 'l', NULL)");
  db.run("UPDATE T SET C = C || C || C || C || C || '<\u00FC>' WHERE K = 1 AND N = 1");
  db.run("UPDATE T SET D = C WHERE K = 1 AND N = 1");
  const std::string tree =
      element("t", attribute("c", "C") + element("n", attribute("n", "N") + attribute("d", "D") +
                                                          attribute("b", "B") + text("L")));
  EXPECT_EQ(composeSql("SELECT k, c, n, d, l, b FROM t ORDER BY k, n", tree),
            (Composed{{"\n<t c=\"" + shownLarge + "\">\n  <n n=\"1\" d=\"" + shownLarge +
                           "\" b=\"00FF\">" + longText + "</n>\n  <n n=\"2\"></n>\n</t>",
                       "\n<t>\n  <n n=\"1\" d=\"d\">l</n>\n</t>"},
                      0,
                      ""}));
}

TEST(SqlMappingTest, NamesOfColumnsMayBeLongOrDelimited) {
  Database db;
  const std::string first = std::string(127, 'L') + "A", second = std::string(127, 'L') + "B";
  db.run("CREATE TABLE T (" + first + " INTEGER, " + second + " INTEGER, \"a \"\"b\" INTEGER)");
  db.run("INSERT INTO T VALUES (1, 10, 100), (2, 20, 200)");
  const std::string tree =
      element("t", attribute("a", first) +
                       element("u", text(second) + attribute("d", "&quot;a &quot;&quot;b&quot;")));
  EXPECT_EQ(composeSql("SELECT * FROM t ORDER BY " + first + ", " + second, tree),
            (Composed{{"\n<t a=\"1\">\n  <u d=\"100\">10</u>\n</t>",
                       "\n<t a=\"2\">\n  <u d=\"200\">20</u>\n</t>"},
                      0,
                      ""}));
}

// Tags deep in the tree are indented beyond the length of any name.
TEST(SqlMappingTest, WritesTreesAsDeepAsADadMayBe) {
  constexpr size_t kDepth = 990;
  Shop shop;
  std::string tree, treeEnd, document;
  for (size_t depth = 0; depth < kDepth; ++depth) {
    tree += "<element_node name='e'>";
    treeEnd += "</element_node>";
    document += "\n" + std::string(2 * depth, ' ') + "<e>";
  }
  document += "1</e>";
  for (size_t depth = kDepth - 1; depth-- > 0;) {
    document += "\n" + std::string(2 * depth, ' ') + "</e>";
  }
  const Composed composed =
      composeSql("SELECT id FROM o WHERE id = 1 ORDER BY id", tree + text("ID") + treeEnd);
  EXPECT_EQ(composed.message, "");
  EXPECT_TRUE(composed.documents == Documents{document});
}

size_t occurrences(const std::string& text, const std::string& piece) {
  size_t count = 0;
  for (size_t at = text.find(piece); at != text.npos; at = text.find(piece, at + 1)) ++count;
  return count;
}

TEST(SqlMappingTest, EveryStatementIsPreparedOnce) {
  Shop shop;
  const TemporaryFolder folder;
  const std::string stock = element("s", text("SID"));
  EXPECT_EQ(composeSql(kStocks,
                       element("o", element("p", attribute("p", "PID") + stock + stock) +
                                        element("p", attribute("p", "PID"))),
                       folder.path("trace"))
                .documents.size(),
            2U);
  const std::string trace = readFile(folder.path("trace"));
  const std::string base = std::string(kStocks).substr(0, std::string(kStocks).find(" ORDER BY"));
  const std::string byOrder = "SELECT * FROM (" + base + ") qrk_tab_exp WHERE ID=?";
  const std::string byPart = "SELECT * FROM (" + byOrder + ") qrk_tab_exp WHERE PID=?";
  const std::string texts[] = {
      "SELECT \"ID\", \"IID\", \"PID\", \"SIZE\" FROM (" + byOrder +
          ") qrk_tab_exp ORDER BY \"PID\"",
      "SELECT \"ID\", \"IID\", \"PID\", \"SID\", \"N\" FROM (" + byPart +
          ") qrk_tab_exp ORDER BY \"SID\"",
  };
  for (const std::string& text : texts) {
    EXPECT_EQ(occurrences(trace, "CLI prepare succeeded.  childquery='" + text + "'\n"), 1U)
        << text;
  }
  EXPECT_EQ(occurrences(trace, "CLI prepare succeeded."), 2U);
  EXPECT_EQ(occurrences(trace, "childwhereclause = 'PID=?'\n"), 1U);
}

TEST(SqlMappingTest, ReportsWhatIsWrongWhereTheWalkMeetsIt) {
  struct Case {
    const char* label;
    std::string statement, tree;
    int code;
    const char* message;  // its start
    size_t documents = 0;
  };
  const std::string twoNames = attribute("n", "ID") + attribute("n", "NAME");
  const std::string longList = "SELECT id, name FROM o WHERE 1 = 1" + std::string(65'480, ' ');
  const Case cases[] = {
      {"element without name", kOrders, element("", text("ID")), -74,
       "QRKQ014E  An element_node element has no name."},
      {"attribute without name", kOrders, element("o", attribute("", "ID")), -66,
       "QRKQ006E  An attribute_node element has no name."},
      {"attribute element without column", kOrders, element("o", "<attribute_node name='a'/>"), -67,
       "QRKQ007E  The attribute_node o has no column element or RDB_node."},
      {"attribute without column", kOrders,
       element("o", attribute("i", "ID") + "<attribute_node name='a'/>"), -67,
       "QRKQ007E  The attribute_node a has no column element or RDB_node."},
      {"attribute with a wrong column name", kOrders,
       element("o", attribute("i", "ID") + attribute("a", "NAME ID")), -67,
       "QRKQ007E  The attribute_node a has no column element or RDB_node."},
      {"text element without column", kOrders, element("o", "<text_node/>"), -68,
       "QRKQ008E  A text_node element has no column element."},
      {"text without column", kOrders, element("o", text("ID") + "<text_node/>"), -68,
       "QRKQ008E  A text_node element has no column element."},
      {"child without column", kOrders, element("o", element("p", "<text_node/>")), -68,
       "QRKQ008E  A text_node element has no column element."},
      {"unknown column of an element", kOrders, element("o", attribute("i", "NO")), -64,
       "QRKQ004E  The column NO is not in the result of the query."},
      {"unknown column of a child", kOrders, element("o", element("p", text("\"id\""))), -64,
       "QRKQ004E  The column id is not in the result of the query."},
      {"a column of a level above", kItems,
       element("o", element("i", text("IID") + element("p", text("NAME")))), -65,
       "QRKQ005E  Wrong relational mapping.  The element i is at a lower level than its child"
       " column NAME."},
      {"element name that is none", kOrders, element("1o", text("ID")), -123,
       "QRKQ040E  The element name 1o in the DAD file is invalid."},
      {"attribute name that is none", kOrders, element("o", attribute("a b", "ID")), -123,
       "QRKQ040E  The element name a b in the DAD file is invalid."},
      {"two attributes of one name", kOrders, element("o", twoNames), -127,
       "QRKQ045E  Subtree under element o contain multiple attributes named n."},
      {"no element", kOrders, "", -61, "QRKQ000E  element_node is missing from the DAD file."},
      {"a key that cannot stand unquoted", "SELECT id AS \"k\", name FROM o ORDER BY k, name",
       element("o", element("n", text("NAME"))), -109,
       "QRKQ033E  Invalid identifier starting at k "},
      {"a key without a name", "SELECT id + 1, name FROM o ORDER BY k, name",
       element("o", element("n", text("NAME"))), -109,
       "QRKQ033E  Invalid identifier starting at 1 "},
      {"a top query that the server refuses", "SELECT id, id FROM o ORDER BY id",
       element("o", text("ID")), -57, "ORV"},
      {"a child query that the server refuses",
       "SELECT id, CAST(name AS CLOB(9)) AS c FROM o ORDER BY id, c",
       element("o", element("n", text("C"))), -57, "QRKG001E  An internal error occured"},
      {"a row that the server refuses",
       "SELECT id, name, 1 / (id - 2) AS q FROM o ORDER BY id, name",
       element("o", attribute("id", "ID") + element("n", text("NAME") + attribute("q", "Q"))), -57,
       "ORV", 1},
      {"a text that XML cannot carry", "SELECT id, 'a\x01' AS c FROM o ORDER BY id",
       element("o", text("C")), -135, "QRKQ055E  ICU error: column C"},
      {"a node that only the second object reaches",
       "SELECT id, name FROM o WHERE id > 1 ORDER BY id, name",
       element("o", element("n", text("NAME") + element("", ""))), -74,
       "QRKQ014E  An element_node element has no name.", 1},
      {"a top query beyond the limit", longList + " ORDER BY id", element("o", text("ID")), -121,
       "QRKQ038E  The SQL statement is too long: sql_stmt > MAX_STMT_LEN."},
  };
  Shop shop;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const Composed composed = composeSql(c.statement, c.tree);
    EXPECT_EQ(composed.code, c.code);
    EXPECT_TRUE(composed.message.starts_with(c.message)) << composed.message;
    EXPECT_EQ(composed.documents.size(), c.documents) << composed;
  }
}

}  // namespace
}  // namespace orvxml::test

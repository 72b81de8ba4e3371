// Side tables that triggers keep current with the functions of the library.
#include "tests/functions/function_database.h"

namespace orvxml::test {
namespace {

// A table of documents with a root id of its own, values of which stand in ONE (each once) and MANY
// (as often as the document has them, numbered).
class FunctionTriggerTest : public ::testing::Test {
 protected:
  FunctionTriggerTest() {
    db_.run(
        "create table docs (id integer not null primary key, doc orvxml.XMLCLOB, "
        "root char(13) for bit data)");
    db_.run(
        "create table one (root char(13) for bit data not null, title varchar(20), "
        "price decimal(7,2))");
    db_.run(
        "create table many (root char(13) for bit data not null, seqno integer, "
        "part varchar(10))");
    const std::string insertMany =
        " INSERT INTO many SELECT NEWROW.root, orvxml.seqno(), returnedVarchar FROM "
        "table(orvxml.extractVarchars(NEWROW.doc, '/d/part')) x; ";
    db_.run(
        "CREATE TRIGGER app.H NO CASCADE BEFORE INSERT ON docs REFERENCING NEW AS NEWROW "
        "FOR EACH ROW MODE ORVSQL WHEN (NEWROW.doc IS NOT NULL) BEGIN ATOMIC "
        "SET NEWROW.root=generate_unique(); END");
    db_.run(
        "CREATE TRIGGER app.J AFTER INSERT ON docs REFERENCING NEW AS NEWROW FOR EACH ROW "
        "MODE ORVSQL WHEN (NEWROW.doc IS NOT NULL) BEGIN ATOMIC INSERT INTO one "
        "(root,title,price) VALUES (NEWROW.root, orvxml.EXTRACTVARCHAR(NEWROW.doc, '/d/title'),"
        " CAST(orvxml.EXTRACTVARCHAR(NEWROW.doc, '/d/@price') AS decimal(7,2))); " +
        insertMany + "END");
    db_.run(
        "CREATE TRIGGER app.D AFTER DELETE ON docs REFERENCING OLD AS OLDROW FOR EACH ROW "
        "MODE ORVSQL BEGIN ATOMIC DELETE FROM one WHERE oldrow.root = one.root; "
        "DELETE FROM many WHERE oldrow.root = many.root; END");
    db_.run(
        "CREATE TRIGGER app.U AFTER UPDATE ON docs REFERENCING NEW AS NEWROW FOR EACH ROW "
        "MODE ORVSQL WHEN (NEWROW.doc IS NOT NULL) BEGIN ATOMIC UPDATE one SET "
        "title = orvxml.extractVARCHAR(NEWROW.doc, '/d/title') WHERE newrow.root = one.root; "
        "DELETE FROM many WHERE newrow.root = many.root; " +
        insertMany + "END");
    db_.run(
        "create view joined as select docs.id, one.title, one.price, many.seqno, many.part "
        "from one, many, docs where docs.root = one.root and docs.root = many.root");
  }

  std::string document(const std::string& price, const std::string& title,
                       const std::string& parts) {
    std::string text = "<d price=\"" + price + "\"><title>" + title + "</title>";
    for (const char part : parts) text += "<part>" + std::string(1, part) + "</part>";
    return "orvxml.XMLCLOB(" + literal(text + "</d>") + ")";
  }
  Rows joined() { return db_.rows("select * from joined order by id, seqno"); }

  FunctionDatabase db_;
};

TEST_F(FunctionTriggerTest, StayInStepWhateverStatementChangesTheirTable) {
  // The number of documents, of values that stand once, and of those that stand more than once.
  const auto counts = [&](const char* documents, const char* once, const char* often) {
    EXPECT_EQ(db_.rows("values ((select count(*) from docs where doc is not null), "
                       "(select count(*) from one), (select count(*) from many))"),
              (Rows{{documents, once, often}}));
    EXPECT_EQ(db_.rows("select count(*) from one where root not in (select root from docs)"),
              (Rows{{"0"}}));
  };
  db_.run("create table inbox (doc orvxml.XMLCLOB, n integer)");
  db_.run(
      "create trigger post after insert on inbox referencing new as newrow for each row mode "
      "orvsql "
      "when (not exists (select 1 from docs where docs.id = newrow.n)) begin atomic insert into "
      "docs(id, doc) values (newrow.n, newrow.doc); update docs set doc = newrow.doc where docs.id "
      "= newrow.n - 1; end");
  db_.run("insert into inbox values (" + document("1", "A", "x") + ", 1), (" +
          document("2", "B", "yz") + ", 2), (" + document("3", "C", "") + ", 2)");
  counts("2", "2", "4");
  db_.run("savepoint s on rollback retain cursors");
  db_.run("insert into docs(id, doc) select id + 10, doc from docs");
  db_.run("delete from docs where id = 1");
  counts("3", "3", "6");
  db_.run("rollback to savepoint s");
  counts("2", "2", "4");
  db_.run("update docs set id = id + 100");
  db_.run("update docs set doc = " + document("1", "N", "") + " where id = 0", 100);
  EXPECT_EQ(joined().front(), (Row{"101", "B", "1.00", "1", "y"}));
  counts("2", "2", "4");
  db_.run(
      "delete from docs where root in (select root from many where part = 'z' and seqno = 2) "
      "and id > (select min(id) from docs)");
  counts("1", "1", "2");
  db_.run("insert into joined(id) values (1)", -150);
  db_.run("update joined set title = 'x'", -150);
  db_.run("delete from joined", -150);
  db_.run("merge into docs using inbox on inbox.n = docs.id when matched then delete", -142);
  counts("1", "1", "2");
  // Its triggers go with the table; side tables stay, and what reads it is in the way.
  db_.run("drop table docs", -478);
  db_.run("drop view joined");
  db_.run("drop table one", -478);
  db_.run("drop table docs", -478);
  db_.run("drop trigger post");
  db_.run("drop table docs");
  EXPECT_EQ(db_.rows("select count(*) from syscat.triggers where tabname = 'DOCS'"), (Rows{{"0"}}));
  db_.run("drop table one");
  EXPECT_EQ(db_.rows("select part from many order by part"), (Rows{{"y"}, {"z"}}));
}

TEST_F(FunctionTriggerTest, SignalledTextsArriveWhole) {
  const auto signalling = [](const std::string& text) {
    return "create trigger refuse no cascade before insert on docs for each row mode orvsql signal "
           "sqlstate '75000' (" +
           literal(text) + ")";
  };
  std::string euros;
  for (size_t i = 0; i < 24; ++i) euros += "\u20ac";
  const std::string kTexts[] = {"",    "it's",      std::string(70, 'x'),  std::string(71, 'y'),
                                euros, "x" + euros, std::string(4000, 'z')};
  for (const std::string& text : kTexts) {
    SCOPED_TRACE(text);
    db_.run(signalling(text));
    const orv::Result refused = db_.run("insert into docs(id) values (1)", -438);
    EXPECT_EQ(refused.outcome.sqlstate, "75000");
    EXPECT_EQ(refused.outcome.tokens, std::vector<std::string>{text});
    db_.run("drop trigger refuse");
  }
}

}  // namespace
}  // namespace orvxml::test

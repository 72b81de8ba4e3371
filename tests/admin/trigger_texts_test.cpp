// The SQL texts of an enabled column's objects, to the blank: the server reads exactly these.
#include "src/admin/trigger_texts.h"

#include <set>

#include "src/admin/column_steps.h"
#include "src/admin/random_name.h"
#include "tests/support/call_context.h"

namespace orvxml {
namespace {

using namespace unittest;

constexpr char kSuffix[] = "ABCDEF7";

// The model of a column of letters: one single-occurrence side table and two with a row each value.
struct Letters {
  explicit Letters(const std::string& settings = "", const char* table = "letters",
                   const char* column = "DOC") {
    std::string text =
        "<DAD>" + settings +
        "<Xcolumn><table name='head'>"
        "<column name='who' type='varchar(30)' path='/a/from' multi_occurrence='NO'/>"
        "<column name='price' type='Decimal(7,2)' path=\"/a/p[@k='1']\" multi_occurrence='NO'/>"
        "<column name='sent' type='date' path='/a/@d' multi_occurrence='NO'/>"
        "<column name='txt' type='Clob(9k)' path='//t' multi_occurrence='NO'/></table>"
        "<table name='s.copies'>"
        "<column name='n' type='integer' path='/a/n' multi_occurrence='YES'/></table>"
        "<table name='sums'>"
        "<column name='sum' type='decimal(5,1)' path='//sum' multi_occurrence='YES'/></table>"
        "</Xcolumn></DAD>";
    QrkOutbuf buffer{};
    buffer.data = text.data();
    buffer.loctype = QRK_LOC_MEMORY;
    model.reset(dad_popu(&call.ctx, table, column, &buffer, 1, call.msg, call.state));
    if (!model) throw std::runtime_error(call.msg);
  }
  CallContext call;
  ModelOwner model;
};

TEST(TriggerTextsTest, SideTables) {
  const Letters letters;
  const side_table* const head = letters.model->sideTables;
  EXPECT_EQ(sideTableText(*head, "", "", ""),
            "CREATE TABLE head (QRKROOT_ID CHAR(13) FOR BIT DATA NOT NULL, "
            "who varchar(30),price Decimal(7,2),sent date,txt Clob(9k) not logged)");
  EXPECT_EQ(sideTableText(*head->next, "no", "INTEGER", "TS1"),
            "CREATE TABLE s.copies (no INTEGER NOT NULL, QRK_SEQNO integer, n integer) IN TS1");
}

TEST(TriggerTextsTest, TriggersThatKeepTheSideTables) {
  const Letters letters;
  QrkStruct* const ctx = const_cast<QrkStruct*>(&letters.call.ctx);
  dad& model = *letters.model;
  EXPECT_EQ(rootidTriggerText(model, "APP", kSuffix),
            "CREATE TRIGGER APP.HABCDEF7 NO CASCADE BEFORE INSERT ON letters REFERENCING NEW AS "
            "NEWROW FOR EACH ROW MODE ORVSQL WHEN (NEWROW.DOC IS NOT NULL) BEGIN ATOMIC  SET "
            "NEWROW.QRKROOT_ID=generate_unique();  END");
  EXPECT_EQ(
      insertTriggerText(ctx, model, "APP", kSuffix, "QRKROOT_ID"),
      "CREATE TRIGGER APP.JABCDEF7 AFTER INSERT ON letters REFERENCING NEW AS NEWROW FOR EACH ROW "
      "MODE ORVSQL WHEN (NEWROW.DOC IS NOT NULL) BEGIN ATOMIC "
      " INSERT INTO head (QRKROOT_ID,who,price,sent,txt)  VALUES (NEWROW.QRKROOT_ID, "
      "ORVXML.EXTRACTVarchar(NEWROW.DOC, '/a/from'), CAST(ORVXML.EXTRACTVARCHAR(NEWROW.DOC, "
      "'/a/p[@k=''1'']') AS Decimal(7,2)), ORVXML.EXTRACTDATE(NEWROW.DOC, '/a/@d'), "
      "ORVXML.EXTRACTClob(NEWROW.DOC, '//t')); "
      " INSERT INTO s.copies SELECT NEWROW.QRKROOT_ID, orvxml.seqno(), returnedinteger FROM "
      "table(orvxml.extractintegers(NEWROW.DOC, '/a/n')) x; "
      " INSERT INTO sums SELECT NEWROW.QRKROOT_ID, orvxml.seqno(), cast( returnedVarchar as "
      "decimal(5,1)) FROM table(orvxml.extractvarchars(NEWROW.DOC, '//sum'))  x;  END");
  EXPECT_EQ(
      deleteTriggerText(model, "APP", kSuffix, "no"),
      "CREATE TRIGGER APP.DABCDEF7 AFTER DELETE ON letters REFERENCING OLD AS OLDROW FOR EACH ROW "
      "MODE ORVSQL BEGIN ATOMIC DELETE FROM head WHERE oldrow.no = head.no; DELETE FROM s.copies "
      "WHERE oldrow.no = s.copies.no; DELETE FROM sums WHERE oldrow.no = sums.no;  END");
  EXPECT_EQ(
      updateTriggerText(ctx, model, "APP", kSuffix, "QRKROOT_ID"),
      "CREATE TRIGGER APP.UABCDEF7 AFTER UPDATE ON letters REFERENCING NEW AS NEWROW FOR EACH ROW "
      "MODE ORVSQL WHEN (NEWROW.DOC IS NOT NULL) BEGIN ATOMIC "
      " UPDATE head SET who = orvxml.extractVarchar(NEWROW.DOC, '/a/from'), price = "
      "CAST(ORVXML.EXTRACTVARCHAR(NEWROW.DOC, '/a/p[@k=''1'']') AS Decimal(7,2)), sent = "
      "orvxml.extractDATE(NEWROW.DOC, '/a/@d'), txt = orvxml.extractClob(NEWROW.DOC, '//t') WHERE "
      "newrow.QRKROOT_ID = head.QRKROOT_ID; "
      "DELETE FROM s.copies WHERE newrow.QRKROOT_ID = s.copies.QRKROOT_ID; "
      " INSERT INTO s.copies SELECT NEWROW.QRKROOT_ID, orvxml.seqno(), returnedinteger FROM "
      "table(orvxml.extractintegers(NEWROW.DOC, '/a/n')) x; "
      "DELETE FROM sums WHERE newrow.QRKROOT_ID = sums.QRKROOT_ID; "
      " INSERT INTO sums SELECT NEWROW.QRKROOT_ID, orvxml.seqno(), cast( returnedVarchar as "
      "decimal(5,1)) FROM table(orvxml.extractvarchars(NEWROW.DOC, '//sum'))  x;  END");
}

TEST(TriggerTextsTest, TriggersThatValidate) {
  const Letters letters("<dtdid>it's.dtd</dtdid>");
  const dad& model = *letters.model;
  const std::string byDtd = dtdCheckText(model, "/tmp/qrkX");
  EXPECT_EQ(insertValidationText(model, "APP", kSuffix, byDtd, "No.\n"),
            "CREATE TRIGGER APP.VABCDEF7 NO CASCADE BEFORE INSERT ON letters REFERENCING NEW AS "
            "NEWROW FOR EACH ROW MODE ORVSQL WHEN (0 = (SELECT orvxml.validate(NEWROW.DOC, "
            "orvxml.Content(content, '/tmp/qrkX'), 'it''s.dtd') FROM orvxml.dtd_ref WHERE "
            "dtdid='it''s.dtd'))SIGNAL SQLSTATE '38X14' ('No.\n')");
  EXPECT_EQ(
      updateValidationText(model, "APP", kSuffix, byDtd, "Don't."),
      "CREATE TRIGGER APP.WABCDEF7 NO CASCADE BEFORE UPDATE OF DOC ON letters REFERENCING NEW "
      "AS NEWROW FOR EACH ROW MODE ORVSQL WHEN (0 = (SELECT orvxml.validate(NEWROW.DOC, "
      "orvxml.Content(content, '/tmp/qrkX'), 'it''s.dtd') FROM orvxml.dtd_ref WHERE "
      "dtdid='it''s.dtd')) SIGNAL SQLSTATE '38X14' ('Don''t.')");
  const std::string bySchema = schemaCheckText(model, "a.xsd");
  EXPECT_EQ(insertValidationText(model, "APP", kSuffix, bySchema, "No."),
            "CREATE TRIGGER APP.VABCDEF7 NO CASCADE BEFORE INSERT ON letters REFERENCING NEW AS "
            "NEWROW FOR EACH ROW MODE ORVSQL WHEN (0 = (VALUES orvxml.validateschema(NEWROW.DOC, "
            "'a.xsd') ))SIGNAL SQLSTATE '38X14' ('No.')");
  EXPECT_EQ(
      updateValidationText(model, "APP", kSuffix, bySchema, "No."),
      "CREATE TRIGGER APP.WABCDEF7 NO CASCADE BEFORE UPDATE OF DOC ON letters REFERENCING NEW "
      "AS NEWROW FOR EACH ROW MODE ORVSQL WHEN (0 = (VALUES orvxml.validateschema(NEWROW.DOC, "
      "'a.xsd') )) SIGNAL SQLSTATE '38X14' ('No.')");
}

TEST(TriggerTextsTest, DefaultView) {
  const Letters letters;
  EXPECT_EQ(defaultViewText(*letters.model, "v", "APP", "LETTERS", "no", {"NO", "DOC"}),
            "CREATE VIEW v AS SELECT APP.LETTERS.NO,APP.LETTERS.DOC, head.who,head.price,head.sent,"
            "head.txt,s.copies.n,sums.sum  FROM head,s.copies,sums,APP.LETTERS WHERE "
            "APP.LETTERS.no=head.no AND APP.LETTERS.no=s.copies.no AND APP.LETTERS.no=sums.no ");
}

// Names that would not read back as they are stand delimited; a caller's own spelling stays.
TEST(TriggerTextsTest, NamesThatAreNoOrdinaryIdentifiers) {
  const Letters letters("", "\"my app\".\"Letters\"", "my doc");
  const std::string text = rootidTriggerText(*letters.model, "my app", kSuffix);
  EXPECT_EQ(text.substr(0, 85),
            "CREATE TRIGGER \"my app\".HABCDEF7 NO CASCADE BEFORE INSERT ON \"my app\".\"Letters\" "
            "REFER");
  EXPECT_NE(text.find("WHEN (NEWROW.\"my doc\" IS NOT NULL)"), text.npos);
  EXPECT_EQ(defaultViewText(*letters.model, "v", "A#1", "Letters", "no", {"A\"B"}).substr(0, 45),
            "CREATE VIEW v AS SELECT A#1.\"Letters\".\"A\"\"B\",");
  for (const char* name : {"", "1A", "a", "Ü", "A B"}) EXPECT_EQ(nameText(name)[0], '"') << name;
}

TEST(RandomNameTest, NamesDifferAndConsistOfLettersAndDigits) {
  std::set<std::string> names;
  for (int i = 0; i < 200; ++i) {
    char name[8] = "";
    qrk_GetRandName(nullptr, name, kSuffixLength);
    EXPECT_EQ(std::string(name).find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"),
              std::string::npos);
    EXPECT_EQ(std::string(name).size(), 7U);
    names.insert(name);
  }
  EXPECT_GE(names.size(), 199U);
}

}  // namespace
}  // namespace orvxml

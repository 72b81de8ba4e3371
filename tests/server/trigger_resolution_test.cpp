// CREATE TRIGGER and CREATE VIEW, from the text to the resolved tree.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "orv/session.h"
#include "server/session/table_usage.h"
#include "server/sql/parser.h"
#include "server/sql/resolver.h"
#include "server/sql/sql_error.h"
#include "tests/server/fake_catalog.h"
#include "tests/server/tree_text.h"

namespace orv {
namespace {

std::string assignmentsText(const std::vector<Assignment>& assignments) {
  std::string text;
  for (const Assignment& a : assignments) {
    text += " " + a.column + "#" + std::to_string(a.columnIndex) + "=" + treeText(*a.value);
  }
  return text;
}

std::string stepText(const TriggerStep& step) {
  if (step.kind == TriggerStep::Kind::Set) return "SET" + assignmentsText(step.assignments);
  if (step.kind == TriggerStep::Kind::Signal) return "SIGNAL " + step.sqlState + " " + step.text;
  const Statement& nested = *step.statement;
  std::string text = nested.kind == StatementKind::Insert   ? "INSERT "
                     : nested.kind == StatementKind::Update ? "UPDATE "
                     : nested.kind == StatementKind::Delete ? "DELETE "
                                                            : "";
  if (nested.table) text += nested.table->storedName;
  for (const std::string& column : nested.insertColumns) text += " " + column;
  text += assignmentsText(nested.assignments);
  if (nested.query) text += (nested.table ? " " : "") + treeText(*nested.query);
  if (nested.where) text += " WHERE " + treeText(*nested.where);
  return text;
}

std::string triggerText(const TriggerDefinition& trigger) {
  constexpr const char* kEvents[] = {"INSERT", "UPDATE", "DELETE"};
  std::string text = trigger.time == TriggerTime::Before ? "BEFORE " : "AFTER ";
  text += kEvents[static_cast<size_t>(trigger.event)];
  for (const std::string& column : trigger.updateColumns) text += " " + column;
  if (trigger.oldRow) text += " old " + trigger.oldRow->alias;
  if (trigger.newRow) text += " new " + trigger.newRow->alias;
  if (trigger.when) text += " | WHEN " + treeText(*trigger.when);
  for (const TriggerStep& step : trigger.steps) text += " | " + stepText(step);
  return text;
}

class TriggerResolutionTest : public testing::Test {
 protected:
  TriggerResolutionTest() {
    catalog_.addType("ORVXML", "XMLVARCHAR", makeType(TypeKind::Varchar, 3000));
    catalog_.addType("ORVXML", "XMLCLOB", makeType(TypeKind::Clob, 2147483647));
    addExternal("extractVarchar(ORVXML.XMLVARCHAR, varchar(256)) returns varchar(4000)");
    addExternal("extractInteger(ORVXML.XMLVARCHAR, varchar(256)) returns integer");
    addExternal(
        "extractVarchars(ORVXML.XMLVARCHAR, varchar(256)) returns table(returnedVarchar "
        "varchar(4000))");
    addExternal("Content(ORVXML.XMLCLOB as LOCATOR, varchar(512)) returns varchar(512)");
    addExternal("validate(ORVXML.XMLVARCHAR, varchar(512), varchar(128)) returns integer");
    addExternal("validateschema(ORVXML.XMLVARCHAR, varchar(512)) returns integer");
    addExternal("seqno() returns integer");
    catalog_.addTable("USER1", "MAIL",
                      "ID INTEGER NOT NULL, DOC ORVXML.XMLVARCHAR, QRKROOT_ID CHAR(13) FOR BIT "
                      "DATA, N SMALLINT NOT NULL");
    catalog_.addTable("USER1", "ONE",
                      "QRKROOT_ID CHAR(13) FOR BIT DATA NOT NULL, TOTAL DECIMAL(9,2), SUBJ "
                      "VARCHAR(50)");
    catalog_.addTable("S", "MANY",
                      "QRKROOT_ID CHAR(13) FOR BIT DATA NOT NULL, QRK_SEQNO INTEGER, RCPT "
                      "VARCHAR(50)");
    catalog_.addTable("S", "SUMS",
                      "QRKROOT_ID CHAR(13) FOR BIT DATA NOT NULL, QRK_SEQNO INTEGER, AMOUNT "
                      "DECIMAL(9,2)");
    catalog_.addTable("ORVXML", "DTD_REF",
                      "DTDID VARCHAR(128) NOT NULL, CONTENT ORVXML.XMLCLOB NOT NULL, USAGE_COUNT "
                      "INT NOT NULL");
    catalog_.addTable("USER1", "V", "A INTEGER").type = 'V';
    catalog_.addTable("SYSCAT", "TABLES", "A INTEGER").type = 'S';
    catalog_.addTable("SESSION", "TEMP", "A INTEGER").declared = true;
  }

  void addExternal(const std::string& signature) {
    catalog_.addFunction("create function orvxml." + signature +
                         " external name 'l!e' language c parameter style orvsql deterministic");
  }

  std::unique_ptr<Statement> resolved(const std::string& text) {
    auto statement = parseStatement(text);
    resolve(*statement, catalog_);
    return statement;
  }

  // Records the trigger as an engine does.
  const Trigger& record(const std::string& text) {
    const auto statement = resolved(text);
    Trigger& trigger = catalog_.triggers.emplace_back();
    trigger.schema = statement->name.resolvedSchema;
    trigger.name = statement->name.name;
    trigger.tableSchema = statement->table->schema;
    trigger.tableName = statement->table->name;
    trigger.time = statement->trigger->time;
    trigger.event = statement->trigger->event;
    trigger.updateColumns = statement->trigger->updateColumns;
    trigger.text = text;
    trigger.defaultSchema = catalog_.defaultSchema();
    trigger.functionPath = catalog_.path;
    return trigger;
  }

  template <typename Action>
  static void expectError(const std::string& label, Action action, int sqlcode,
                          const std::string& tokens) {
    SCOPED_TRACE(label);
    try {
      action();
      ADD_FAILURE() << "accepted";
    } catch (const SqlError& error) {
      EXPECT_EQ(error.sqlcode(), sqlcode) << error.what();
      std::string all;
      for (const std::string& token : error.tokens()) all += (all.empty() ? "" : "|") + token;
      EXPECT_EQ(all, tokens);
    }
  }

  FakeCatalog catalog_;
};

TEST_F(TriggerResolutionTest, TriggersOfEnabledColumnsAndOfTheDtdTableResolveAsGenerated) {
  struct Case {
    const char *text, *expected;
  };
  const Case kCases[] = {
      {"CREATE TRIGGER USER1.HABCDEFG NO CASCADE BEFORE INSERT ON mail REFERENCING NEW AS NEWROW "
       "FOR "
       "EACH ROW MODE ORVSQL WHEN (NEWROW.DOC IS NOT NULL) BEGIN ATOMIC  SET "
       "NEWROW.QRKROOT_ID=generate_unique();  END",
       "BEFORE INSERT new T1 | WHEN (T1.DOC IS NOT NULL) | SET QRKROOT_ID#2=GENERATE_UNIQUE()"},
      {"CREATE TRIGGER USER1.JABCDEFG AFTER INSERT ON mail REFERENCING NEW AS NEWROW FOR EACH ROW "
       "MODE ORVSQL WHEN (NEWROW.DOC IS NOT NULL) BEGIN ATOMIC  INSERT INTO one "
       "(QRKROOT_ID,TOTAL,SUBJ)  VALUES (NEWROW.QRKROOT_ID, CAST(ORVXML.EXTRACTVARCHAR(NEWROW.DOC, "
       "'/m/t') AS DECIMAL(9,2)), ORVXML.EXTRACTVarchar(NEWROW.DOC, '/m/s'));  INSERT INTO s.many "
       "SELECT NEWROW.QRKROOT_ID, orvxml.seqno(), returnedVarchar FROM "
       "table(orvxml.extractVarchars(NEWROW.DOC, '/m/r')) x;  END",
       "AFTER INSERT new T1 | WHEN (T1.DOC IS NOT NULL) | INSERT ONE QRKROOT_ID TOTAL SUBJ VALUES "
       "(T1.QRKROOT_ID,CAST(EXTRACTVARCHAR(T1.DOC,'/m/t') AS "
       "DECIMAL(9,2)),EXTRACTVARCHAR(T1.DOC,'/m/s')) | INSERT S.MANY QRKROOT_ID QRK_SEQNO RCPT "
       "SELECT T1.QRKROOT_ID,SEQNO(),T2.RETURNEDVARCHAR FROM "
       "ORVXML.EXTRACTVARCHARS(T1.DOC,'/m/r') X"},
      {"CREATE TRIGGER USER1.DABCDEFG AFTER DELETE ON mail REFERENCING OLD AS OLDROW FOR EACH ROW "
       "MODE ORVSQL BEGIN ATOMIC DELETE FROM one WHERE oldrow.QRKROOT_ID = one.QRKROOT_ID; DELETE "
       "FROM s.many WHERE oldrow.QRKROOT_ID = s.many.QRKROOT_ID;  END",
       "AFTER DELETE old T1 | DELETE ONE WHERE (T1.QRKROOT_ID=ONE.QRKROOT_ID) | DELETE S.MANY "
       "WHERE "
       "(T1.QRKROOT_ID=S.MANY.QRKROOT_ID)"},
      {"CREATE TRIGGER USER1.UABCDEFG AFTER UPDATE ON mail REFERENCING NEW AS NEWROW FOR EACH ROW "
       "MODE ORVSQL WHEN (NEWROW.DOC IS NOT NULL) BEGIN ATOMIC  UPDATE one SET TOTAL = "
       "CAST(ORVXML.EXTRACTVARCHAR(NEWROW.DOC, '/m/t') AS DECIMAL(9,2)), SUBJ = "
       "orvxml.extractVarchar(NEWROW.DOC, '/m/s') WHERE newrow.QRKROOT_ID = one.QRKROOT_ID; DELETE "
       "FROM s.sums WHERE newrow.QRKROOT_ID = s.sums.QRKROOT_ID;  INSERT INTO s.sums SELECT "
       "NEWROW.QRKROOT_ID, orvxml.seqno(), cast( returnedVarchar as DECIMAL(9,2)) FROM "
       "table(orvxml.extractvarchars(NEWROW.DOC, '/m/r'))  x;  END",
       "AFTER UPDATE new T1 | WHEN (T1.DOC IS NOT NULL) | UPDATE ONE "
       "TOTAL#1=CAST(EXTRACTVARCHAR(T1.DOC,'/m/t') AS DECIMAL(9,2)) "
       "SUBJ#2=EXTRACTVARCHAR(T1.DOC,'/m/s') WHERE (T1.QRKROOT_ID=ONE.QRKROOT_ID) | DELETE S.SUMS "
       "WHERE (T1.QRKROOT_ID=S.SUMS.QRKROOT_ID) | INSERT S.SUMS QRKROOT_ID QRK_SEQNO AMOUNT SELECT "
       "T1.QRKROOT_ID,SEQNO(),CAST(T2.RETURNEDVARCHAR AS DECIMAL(9,2)) FROM "
       "ORVXML.EXTRACTVARCHARS(T1.DOC,'/m/r') X"},
      {"CREATE TRIGGER USER1.VABCDEFG NO CASCADE BEFORE INSERT ON mail REFERENCING NEW AS NEWROW "
       "FOR "
       "EACH ROW MODE ORVSQL WHEN (0 = (SELECT orvxml.validate(NEWROW.doc, orvxml.Content(content, "
       "'/tmp/d'), 'x;y') FROM orvxml.dtd_ref WHERE dtdid='x;y'))SIGNAL SQLSTATE '38X14' "
       "('QRKD000E  It isn''t valid.\n')",
       "BEFORE INSERT new T1 | WHEN (0=(SELECT VALIDATE(T1.DOC,CONTENT(T2.CONTENT,'/tmp/d'),'x;y') "
       "FROM ORVXML.DTD_REF WHERE (T2.DTDID='x;y'))) | SIGNAL 38X14 QRKD000E  It isn't valid.\n"},
      {"CREATE TRIGGER USER1.WABCDEFG NO CASCADE BEFORE UPDATE OF doc ON mail REFERENCING NEW AS "
       "NEWROW FOR EACH ROW MODE ORVSQL WHEN (0 = (VALUES orvxml.validateschema(NEWROW.doc, "
       "'a.xsd') "
       ")) SIGNAL SQLSTATE '38X14' ('No.')",
       "BEFORE UPDATE DOC new T1 | WHEN (0=(VALUES (VALIDATESCHEMA(T1.DOC,'a.xsd')))) | SIGNAL "
       "38X14 "
       "No."},
      {"create trigger orvxml.dtdref_delete no cascade before delete on orvxml.dtd_ref referencing "
       "old as oldrow for each row mode orvsql when ( oldrow.usage_count > 0 ) signal sqlstate "
       "'70010' ('This DTD is used by others.')",
       "BEFORE DELETE old T1 | WHEN (T1.USAGE_COUNT>0) | SIGNAL 70010 This DTD is used by others."},
      {"create trigger orvxml.dtdref_update no cascade before update on orvxml.dtd_ref referencing "
       "old as oldrow new as newrow for each row mode orvsql when ( ( ((newrow.usage_count - "
       "oldrow.usage_count) != 1) AND ((newrow.usage_count - oldrow.usage_count) != -1)) OR "
       "((newrow.usage_count = oldrow.usage_count) AND (oldrow.usage_count > 0 )) ) signal "
       "sqlstate "
       "'70010'('Illegal update on DTD or its usage count.')",
       "BEFORE UPDATE old T1 new T2 | WHEN ((((T2.USAGE_COUNT-T1.USAGE_COUNT)<>1) AND "
       "((T2.USAGE_COUNT-T1.USAGE_COUNT)<>-1)) OR ((T2.USAGE_COUNT=T1.USAGE_COUNT) AND "
       "(T1.USAGE_COUNT>0))) | SIGNAL 70010 Illegal update on DTD or its usage count."},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.text);
    const auto script = splitScript(std::string(c.text) + ";\nCOMMIT;");
    ASSERT_EQ(script.size(), 2U);
    EXPECT_EQ(script[0].text, c.text);
    try {
      EXPECT_EQ(triggerText(*resolved(script[0].text)->trigger), c.expected);
    } catch (const SqlError& error) {
      ADD_FAILURE() << error.what();
    }
  }
}

TEST_F(TriggerResolutionTest, BodiesTakeEveryKindOfStep) {
  struct Case {
    const char *event, *rest, *expected;
  };
  const Case kCases[] = {
      {"NO CASCADE BEFORE UPDATE OF id, n",
       "REFERENCING NEW newrow OLD AS o FOR EACH ROW MODE ORVSQL SET (newrow.id, n) = (o.n, 1), "
       "QRKROOT_ID = NULL",
       "BEFORE UPDATE ID N old T1 new T2 | SET ID#0=T1.N N#3=1 QRKROOT_ID#2=NULL"},
      {"NO CASCADE BEFORE INSERT",
       "REFERENCING NEW AS o FOR EACH ROW MODE ORVSQL BEGIN ATOMIC SET o.id = (SELECT "
       "MAX(usage_count) FROM orvxml.dtd_ref); SIGNAL SQLSTATE '7000A'; SIGNAL SQLSTATE VALUE "
       "'7000B' SET MESSAGE_TEXT = 'why'; SELECT id FROM mail; SELECT n FROM mail; END",
       "BEFORE INSERT new T1 | SET ID#0=(SELECT MAX(T2.USAGE_COUNT) FROM ORVXML.DTD_REF) | SIGNAL "
       "7000A  | SIGNAL 7000B why | SELECT T3.ID FROM MAIL | SELECT T4.N FROM MAIL"},
      {"AFTER DELETE", "FOR EACH ROW MODE ORVSQL BEGIN ATOMIC END", "AFTER DELETE"},
      {"AFTER UPDATE",
       "REFERENCING OLD o FOR EACH ROW MODE ORVSQL BEGIN ATOMIC (VALUES 1); INSERT INTO mail "
       "SELECT "
       "* FROM mail WHERE EXISTS (SELECT total FROM one WHERE one.QRKROOT_ID = o.QRKROOT_ID) WITH "
       "UR; END",
       "AFTER UPDATE old T1 | VALUES (1) | INSERT MAIL ID DOC QRKROOT_ID N SELECT "
       "T2.ID,T2.DOC,T2.QRKROOT_ID,T2.N FROM MAIL WHERE EXISTS(SELECT T3.TOTAL FROM ONE WHERE "
       "(T3.QRKROOT_ID=T1.QRKROOT_ID))"},
  };
  for (const Case& c : kCases) {
    const std::string text = "CREATE TRIGGER t " + std::string(c.event) + " ON mail " + c.rest;
    SCOPED_TRACE(text);
    try {
      EXPECT_EQ(triggerText(*resolved(text)->trigger), c.expected);
    } catch (const SqlError& error) {
      ADD_FAILURE() << error.what();
    }
  }
}

TEST_F(TriggerResolutionTest, WrongTriggersAreRefusedByName) {
  record("CREATE TRIGGER taken AFTER DELETE ON mail FOR EACH ROW MODE ORVSQL VALUES 1");
  struct Case {
    const char* text;
    int sqlcode;
    const char* tokens;
  };
  const Case kCases[] = {
      {"t AFTER INSERT ON mail FOR EACH STATEMENT MODE ORVSQL VALUES 1", -104,
       "STATEMENT| INSERT ON mail FOR EACH|ROW"},
      {"t AFTER INSERT ON mail FOR EACH ROW VALUES 1", -104,
       "VALUES|ERT ON mail FOR EACH ROW|MODE"},
      {"t BEFORE INSERT ON mail FOR EACH ROW MODE ORVSQL VALUES 1", -104,
       "BEFORE|CREATE TRIGGER t|AFTER"},
      {"t AFTER INSERT ON mail FOR EACH ROW MODE ORVSQL COMMIT", -104,
       "COMMIT|FOR EACH ROW MODE ORVSQL|<triggered statement>"},
      {"t AFTER INSERT ON mail FOR EACH ROW MODE ORVSQL BEGIN ATOMIC VALUES 1 END", -104,
       "END|QL BEGIN ATOMIC VALUES 1|;"},
      {"t AFTER INSERT ON mail FOR EACH ROW MODE ORVSQL BEGIN ATOMIC VALUES 1;", -104,
       "END-OF-STATEMENT|L BEGIN ATOMIC VALUES 1;|<triggered statement>"},
      {"t AFTER UPDATE ON mail REFERENCING OLD o OLD AS p FOR EACH ROW MODE ORVSQL VALUES 1", -628,
       "OLD"},
      {"t AFTER INSERT ON mail FOR EACH ROW MODE ORVSQL SIGNAL SQLSTATE '01H00' ('x')", -435,
       "01H00"},
      {"t AFTER INSERT ON mail FOR EACH ROW MODE ORVSQL SIGNAL SQLSTATE '7001' ('x')", -435,
       "7001"},
      {"t AFTER INSERT ON mail FOR EACH ROW MODE ORVSQL SIGNAL SQLSTATE '7001a' ('x')", -435,
       "7001a"},
      {"taken AFTER INSERT ON mail FOR EACH ROW MODE ORVSQL VALUES 1", -601, "USER1.TAKEN|TRIGGER"},
      {"syscat.t AFTER INSERT ON mail FOR EACH ROW MODE ORVSQL VALUES 1", -553, "SYSCAT.T"},
      {"session.t AFTER INSERT ON mail FOR EACH ROW MODE ORVSQL VALUES 1", -79, "SESSION.T"},
      {"t AFTER INSERT ON nowhere FOR EACH ROW MODE ORVSQL VALUES 1", -204, "USER1.NOWHERE"},
      {"t AFTER INSERT ON v FOR EACH ROW MODE ORVSQL VALUES 1", -150, "USER1.V"},
      {"t AFTER INSERT ON syscat.tables FOR EACH ROW MODE ORVSQL VALUES 1", -607,
       "CREATE TRIGGER|SYSCAT.TABLES"},
      {"t AFTER INSERT ON session.temp FOR EACH ROW MODE ORVSQL VALUES 1", -526,
       "CREATE TRIGGER|SESSION.TEMP"},
      {"t AFTER INSERT ON mail FOR EACH ROW MODE ORVSQL SELECT a FROM session.temp", -204,
       "SESSION.TEMP"},
      {"t AFTER UPDATE OF id, x ON mail FOR EACH ROW MODE ORVSQL VALUES 1", -205, "X|USER1.MAIL"},
      {"t AFTER INSERT ON mail REFERENCING OLD AS o FOR EACH ROW MODE ORVSQL VALUES 1", -696,
       "USER1.T|O|An INSERT has no old row."},
      {"t AFTER DELETE ON mail REFERENCING NEW AS n FOR EACH ROW MODE ORVSQL VALUES 1", -696,
       "USER1.T|N|A DELETE has no new row."},
      {"t AFTER UPDATE ON mail REFERENCING NEW AS n OLD n FOR EACH ROW MODE ORVSQL VALUES 1", -696,
       "USER1.T|N|The old and the new row have this name."},
      {"t NO CASCADE BEFORE UPDATE ON mail REFERENCING OLD o NEW n FOR EACH ROW MODE ORVSQL SET "
       "o.id "
       "= 1",
       -696, "USER1.T|O|Columns of the new row alone can be set."},
      {"t NO CASCADE BEFORE UPDATE ON mail FOR EACH ROW MODE ORVSQL SET id = 1", -696,
       "USER1.T|ID|The new row has no name."},
      {"t AFTER INSERT ON mail REFERENCING NEW n FOR EACH ROW MODE ORVSQL SET n.id = 1", -797,
       "USER1.T|SET"},
      {"t NO CASCADE BEFORE DELETE ON mail FOR EACH ROW MODE ORVSQL SET id = 1", -797,
       "USER1.T|SET"},
      {"t NO CASCADE BEFORE INSERT ON mail FOR EACH ROW MODE ORVSQL DELETE FROM one", -797,
       "USER1.T|DELETE"},
      {"t NO CASCADE BEFORE INSERT ON mail REFERENCING NEW n FOR EACH ROW MODE ORVSQL SET x = 1",
       -206, "X"},
      {"t NO CASCADE BEFORE INSERT ON mail REFERENCING NEW n FOR EACH ROW MODE ORVSQL SET id = 1, "
       "n.id = 2",
       -121, "ID"},
      {"t NO CASCADE BEFORE INSERT ON mail REFERENCING NEW n FOR EACH ROW MODE ORVSQL SET id = 'x'",
       -408, "ID"},
      {"t NO CASCADE BEFORE INSERT ON mail REFERENCING NEW n FOR EACH ROW MODE ORVSQL SET n = "
       "DEFAULT",
       -104, "DEFAULT|=|<value>"},
      {"t AFTER INSERT ON mail REFERENCING NEW n FOR EACH ROW MODE ORVSQL WHEN (id = 1) VALUES 1",
       -206, "ID"},
      {"t AFTER INSERT ON mail REFERENCING NEW n FOR EACH ROW MODE ORVSQL INSERT INTO one VALUES "
       "(n.x, 1, '')",
       -206, "N.X"},
      {"t AFTER INSERT ON mail REFERENCING NEW n FOR EACH ROW MODE ORVSQL INSERT INTO v VALUES 1",
       -150, "USER1.V"},
      {"t AFTER INSERT ON mail REFERENCING NEW n FOR EACH ROW MODE ORVSQL WHEN (n.id = ?) VALUES 1",
       -418, ""},
      {"t AFTER INSERT ON mail FOR EACH ROW MODE ORVSQL INSERT INTO one VALUES (?, 1, '')", -418,
       ""},
      {"t AFTER INSERT ON mail FOR EACH ROW MODE ORVSQL WHEN (COUNT(*) = 1) VALUES 1", -120,
       "COUNT"},
  };
  for (const Case& c : kCases) {
    expectError(
        c.text, [&] { resolved("CREATE TRIGGER " + std::string(c.text)); }, c.sqlcode, c.tokens);
  }
  expectError(
      "unknown", [&] { resolved("DROP TRIGGER none"); }, -204, "USER1.NONE");
  expectError(
      "qualified", [&] { resolved("UPDATE mail SET mail.id = 1"); }, -104,
      ".|UPDATE mail SET mail|=");
  EXPECT_EQ(resolved("DROP TRIGGER USER1.taken ")->droppedTrigger, &catalog_.triggers.front());
}

// What an INSERT or UPDATE brings along: the names of the triggers, by their first assignment.
TEST_F(TriggerResolutionTest, ChangesBringTheTriggersThatSetColumns) {
  const std::string before = " NO CASCADE BEFORE ";
  const std::string body = " REFERENCING NEW AS n FOR EACH ROW MODE ORVSQL ";
  record("CREATE TRIGGER a" + before + "INSERT ON mail" + body + "SET id = 1");
  record("CREATE TRIGGER b" + before + "INSERT ON mail" + body + "SIGNAL SQLSTATE '70001'");
  record("CREATE TRIGGER c AFTER INSERT ON mail" + body + "INSERT INTO one VALUES ('', 1, '')");
  record("CREATE TRIGGER d" + before + "INSERT ON mail" + body +
         "BEGIN ATOMIC SIGNAL SQLSTATE '70001'; SET id = (SELECT 2 FROM one); END");
  record("CREATE TRIGGER e" + before + "UPDATE ON mail" + body + "SET id = 3");
  record("CREATE TRIGGER f" + before + "UPDATE OF n, doc ON mail" + body + "SET id = 4");
  record("CREATE TRIGGER h AFTER INSERT ON mail" + body + "INSERT INTO mail(id) VALUES (n.id)");
  record("CREATE TRIGGER g" + before + "INSERT ON one" + body + "SET total = 5");
  struct Case {
    const char *text, *expected;
  };
  const Case kCases[] = {
      {"INSERT INTO mail(id) VALUES 1", "ID#0=1, ID#0=(SELECT 2 FROM ONE), "},
      {"INSERT INTO mail SELECT * FROM mail", "ID#0=1, ID#0=(SELECT 2 FROM ONE), "},
      {"INSERT INTO s.many(RCPT) VALUES 'x'", ""},
      {"UPDATE mail SET id = 1", "ID#0=3, "},
      {"UPDATE mail SET id = 1, doc = NULL", "ID#0=3, ID#0=4, "},
      {"DELETE FROM mail", ""},
  };
  const auto setters = [](const Statement& statement) {
    std::string all;
    for (const auto& trigger : statement.setters) {
      EXPECT_TRUE(trigger->newRow);
      all += assignmentsText(trigger->steps.back().assignments).substr(1) + ", ";
    }
    return all;
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(setters(*resolved(c.text)), c.expected);
  }
  const auto nested = resolveTrigger(catalog_.triggers[2], catalog_);
  EXPECT_EQ(setters(*nested->steps[0].statement), "TOTAL#1=5, ");

  // An engine writes all row sources into one statement.
  const auto insert = resolved("INSERT INTO mail SELECT * FROM mail");
  const std::set<std::string> aliases{insert->query->from[0]->alias,
                                      insert->setters[0]->newRow->alias,
                                      insert->setters[1]->newRow->alias};
  EXPECT_EQ(aliases.size(), 3U);
}

TEST_F(TriggerResolutionTest, ChangesThatFireTriggersDisturbResultsOverEveryTable) {
  record("CREATE TRIGGER a NO CASCADE BEFORE INSERT ON one FOR EACH ROW MODE ORVSQL VALUES 1");
  record("CREATE TRIGGER b AFTER INSERT ON mail FOR EACH ROW MODE ORVSQL DELETE FROM one");
  const auto usage = [&](const std::string& text) { return tableUsage(*resolved(text), catalog_); };
  const TableUsage reading = usage("SELECT * FROM s.many");
  EXPECT_TRUE(reading.conflictsWith(usage("INSERT INTO mail(id) VALUES 1")));
  EXPECT_FALSE(reading.conflictsWith(usage("UPDATE mail SET id = 1")));
  EXPECT_FALSE(reading.conflictsWith(usage("INSERT INTO one(total) VALUES 1")));

  // Rows of other tables go along by their foreign keys, and theirs in turn.
  const auto refer = [](Table& child, const char* parent, const char* onDelete) {
    child.foreignKeys.push_back({"K", {0}, "USER1", parent, {"A"}, onDelete});
  };
  catalog_.addTable("USER1", "TOP", "A INTEGER");
  catalog_.addTable("USER1", "KEPT", "A INTEGER");
  catalog_.addTable("USER1", "THEIRS", "A INTEGER").firesOthers = true;
  Table& middle = catalog_.addTable("USER1", "MIDDLE", "A INTEGER");
  refer(middle, "TOP", "CASCADE");
  refer(middle, "MIDDLE", "CASCADE");
  Table& bottom = catalog_.addTable("USER1", "BOTTOM", "A INTEGER");
  refer(bottom, "MIDDLE", "SET NULL");
  refer(bottom, "KEPT", "");
  EXPECT_FALSE(reading.conflictsWith(usage("DELETE FROM top")));
  record("CREATE TRIGGER c AFTER UPDATE ON bottom FOR EACH ROW MODE ORVSQL DELETE FROM one");
  EXPECT_TRUE(reading.conflictsWith(usage("DELETE FROM top")));
  EXPECT_FALSE(reading.conflictsWith(usage("UPDATE top SET a = 1")));
  EXPECT_FALSE(reading.conflictsWith(usage("DELETE FROM bottom")));
  EXPECT_FALSE(reading.conflictsWith(usage("DELETE FROM kept")));
  EXPECT_TRUE(reading.conflictsWith(usage("INSERT INTO theirs VALUES 1")));
}

TEST_F(TriggerResolutionTest, RecordedTriggersKeepTheMeaningOfTheirNames) {
  catalog_.addTable("OTHER", "MAIL", "K INTEGER");
  catalog_.addTable("OTHER", "TARGET", "L VARCHAR(4000)");
  Trigger trigger;
  trigger.tableSchema = "OTHER";
  trigger.tableName = "MAIL";
  trigger.text =
      "CREATE TRIGGER t AFTER INSERT ON gone_alias REFERENCING NEW n FOR EACH ROW MODE ORVSQL "
      "INSERT "
      "INTO target SELECT extractVarchar(doc, '/a') FROM user1.mail WHERE id = n.k";
  trigger.defaultSchema = "OTHER";
  trigger.functionPath = {"SYSNTQ", "ORVXML"};
  catalog_.path = {"SYSNTQ"};
  EXPECT_EQ(triggerText(*resolveTrigger(trigger, catalog_)),
            "AFTER INSERT new T1 | INSERT OTHER.TARGET L SELECT EXTRACTVARCHAR(T2.DOC,'/a') FROM "
            "USER1.MAIL WHERE (T2.ID=T1.K)");
  trigger.functionPath = {"SYSNTQ"};
  expectError(
      "path", [&] { resolveTrigger(trigger, catalog_); }, -440, "EXTRACTVARCHAR");
  trigger.tableName = "GONE";
  expectError(
      "table", [&] { resolveTrigger(trigger, catalog_); }, -204, "OTHER.GONE");
}

TEST_F(TriggerResolutionTest, ViewsNameAndTypeTheirColumns) {
  struct Case {
    const char* text;
    int sqlcode;
    const char* expected;  // columns, or tokens
  };
  const Case kCases[] = {
      {"sv AS SELECT USER1.MAIL.ID,USER1.MAIL.DOC, one.TOTAL,S.MANY.RCPT  FROM "
       "one,s.many,USER1.MAIL "
       "WHERE USER1.MAIL.QRKROOT_ID=one.QRKROOT_ID AND USER1.MAIL.QRKROOT_ID=S.MANY.QRKROOT_ID ",
       0, "ID INTEGER, DOC ORVXML.XMLVARCHAR, TOTAL DECIMAL(9,2), RCPT VARCHAR(50), "},
      {"s.sv(a, b, \"c\") AS SELECT id + 1, NULL, (SELECT MAX(total) FROM one) FROM mail", 0,
       "A INTEGER, B VARCHAR(1), c DECIMAL(9,2), "},
      {"sv AS SELECT id AS x FROM mail UNION ALL VALUES 1", 0, "X INTEGER, "},
      {"sv AS SELECT id + 1 FROM mail", -153, "USER1.SV"},
      {"sv AS VALUES (1, 2)", -153, "USER1.SV"},
      {"sv AS SELECT * FROM one, s.many", -153, "USER1.SV"},
      {"sv(a) AS SELECT * FROM one", -158, "USER1.SV"},
      {"sv(a, b, a) AS SELECT * FROM one", -612, "A"},
      {"sv AS SELECT id FROM mail WHERE id = ?", -418, ""},
      {"sv AS SELECT id FROM mail WITH CHECK OPTION", -104,
       "WITH|v AS SELECT id FROM mail|END-OF-STATEMENT"},
      {"mail AS SELECT id FROM mail", -601, "USER1.MAIL|TABLE"},
      {"v AS SELECT id FROM mail", -601, "USER1.V|VIEW"},
      {"sysstat.sv AS SELECT id FROM mail", -553, "SYSSTAT.SV"},
      {"sv AS SELECT a FROM session.temp", -204, "SESSION.TEMP"},
  };
  for (const Case& c : kCases) {
    const std::string text = "CREATE VIEW " + std::string(c.text);
    if (c.sqlcode != 0) {
      expectError(
          text, [&] { resolved(text); }, c.sqlcode, c.expected);
      continue;
    }
    SCOPED_TRACE(text);
    try {
      const auto statement = resolved(text);
      std::string columns;
      for (size_t i = 0; i < statement->viewColumns.size(); ++i) {
        columns +=
            statement->viewColumns[i] + " " + typeText(statement->query->columns[i].type) + ", ";
      }
      EXPECT_EQ(columns, c.expected);
    } catch (const SqlError& error) {
      ADD_FAILURE() << error.what();
    }
  }
  EXPECT_EQ(resolved("DROP VIEW v")->table->name, "V");
  expectError(
      "no view", [&] { resolved("DROP VIEW mail"); }, -159, "USER1.MAIL|TABLE|VIEW");
}

TEST_F(TriggerResolutionTest, UniqueValuesAreBitsThatStandForNoOtherOccurrence) {
  const auto statement =
      resolved("SELECT generate_unique(), id FROM mail ORDER BY sysntq.generate_unique(), id");
  const OutputColumn& column = statement->query->columns[0];
  EXPECT_EQ(typeText(column.type), "CHAR(13) FOR BIT DATA");
  EXPECT_FALSE(column.type.nullable);
  EXPECT_EQ(statement->query->orderBy[0].columnNumber, -1);
  EXPECT_EQ(statement->query->orderBy[1].columnNumber, 1);
  const auto wrong = [&](const std::string& text, int sqlcode, const std::string& tokens) {
    expectError(
        text, [&] { resolved(text); }, sqlcode, tokens);
  };
  wrong("VALUES generate_unique(1)", -440, "GENERATE_UNIQUE");
  wrong("UPDATE mail SET id = generate_unique()", -408, "ID");
  wrong("CREATE TABLE n(a CHAR(13) FOR BIT DATA WITH DEFAULT generate_unique())", -574, "A");
  wrong("CREATE TABLE n(a CHAR(13) FOR BIT DATA CHECK (a <> generate_unique()))", -546,
        "a <> generate_unique()");
}

}  // namespace
}  // namespace orv

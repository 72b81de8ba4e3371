// Which tables a statement reads and changes, by its triggers and foreign keys too.
#include "server/session/table_usage.h"

#include <gtest/gtest.h>

#include "tests/server/fake_catalog.h"

namespace orv {
namespace {

class TableUsageTest : public testing::Test {
 protected:
  TableUsageTest() {
    catalog_.addTable("USER1", "MAIL", "ID INTEGER");
    catalog_.addTable("USER1", "ONE", "TOTAL INTEGER");
    catalog_.addTable("S", "MANY", "RCPT VARCHAR(50)");
  }

  // Records a trigger as an engine does.
  void record(const std::string& text) {
    const auto statement = catalog_.resolved(text);
    Trigger trigger;
    trigger.schema = statement->name.resolvedSchema;
    trigger.name = statement->name.name;
    trigger.tableSchema = statement->table->schema;
    trigger.tableName = statement->table->name;
    trigger.time = statement->trigger->time;
    trigger.event = statement->trigger->event;
    trigger.text = text;
    trigger.defaultSchema = catalog_.defaultSchema();
    trigger.functionPath = catalog_.functionPath();
    catalog_.addTrigger(std::move(trigger));
  }

  FakeCatalog catalog_;
};

TEST_F(TableUsageTest, ChangesThatFireTriggersDisturbResultsOverEveryTable) {
  record("CREATE TRIGGER a NO CASCADE BEFORE INSERT ON one FOR EACH ROW MODE ORVSQL VALUES 1");
  record("CREATE TRIGGER b AFTER INSERT ON mail FOR EACH ROW MODE ORVSQL DELETE FROM one");
  const auto usage = [&](const std::string& text) {
    return tableUsage(*catalog_.resolved(text), catalog_);
  };
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

}  // namespace
}  // namespace orv

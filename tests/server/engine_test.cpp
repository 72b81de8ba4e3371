// The engine, where a text of statements/ cannot say it: many values, deep ones, files, processes.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <set>
#include <sstream>
#include <thread>

#include "tests/server/engine_database.h"
#include "tests/support/sqlite_file.h"
#include "tests/support/temporary_folder.h"

namespace orv {
namespace {

using orvxml::test::readFile;
using orvxml::test::runSqlite;
using orvxml::test::TemporaryFolder;

// What counts as one value to = is one value to everything that gathers equal values.
TEST(EngineTest, EqualStringsAreOneValueHoweverTheyAreGathered) {
  EngineDatabase database(":memory:");
  runSteps(database, {{"CREATE TABLE S(V VARCHAR(9), W VARCHAR(12))", "ok"},
                      {"INSERT INTO S VALUES('a', 'a'), ('a ', 'a'), ('b', 'c  ')", "3 rows"}});
  for (const char* value : {"V", "V || ''", "CAST(V AS VARCHAR(20))", "COALESCE(V, W)",
                            "SUBSTR(V || 'x', 1, LENGTH(V))", "LOWER(V)"}) {
    SCOPED_TRACE(value);
    const std::string v(value);
    const auto count = [&](const std::string& query) {
      return database.run("SELECT COUNT(*) FROM (" + query + ") AS X");
    };
    EXPECT_EQ(count("SELECT 1 FROM S WHERE " + v + " = 'a  '"), "2");
    EXPECT_EQ(count("SELECT DISTINCT " + v + " FROM S"), "2");
    EXPECT_EQ(count("SELECT 1 FROM S GROUP BY " + v), "2");
    EXPECT_EQ(count("SELECT X.V FROM (SELECT " + v + " AS V FROM S) AS X GROUP BY X.V"), "2");
    EXPECT_EQ(count("SELECT DISTINCT X.V FROM (SELECT " + v + " AS V FROM S) AS X"), "2");
    EXPECT_EQ(count("SELECT " + v + " FROM S UNION SELECT W FROM S"), "3");
    EXPECT_EQ(count("SELECT W FROM S UNION SELECT " + v + " FROM S"), "3");
    EXPECT_EQ(count("SELECT " + v + " FROM S EXCEPT VALUES ('a  '), ('c')"), "1");
    EXPECT_EQ(count("SELECT " + v + " FROM S EXCEPT ALL VALUES ('a  '), ('c')"), "2");
    EXPECT_EQ(database.run("SELECT COUNT(DISTINCT " + v + ") FROM S"), "2");
    EXPECT_EQ(database.run("SELECT W, LENGTH(V) FROM S ORDER BY " + v + ", W, LENGTH(V) DESC"),
              "a|2\na|1\nc  |1");
    EXPECT_EQ(database.run("SELECT " + v + ", LENGTH(V) FROM S ORDER BY 1, 2 DESC"),
              "a |2\na|1\nb|1");
  }
  EXPECT_EQ(database.run("SELECT COUNT(*) FROM (VALUES ('a'), ('a ') UNION VALUES ('a')) AS X"),
            "1");
}

TEST(EngineTest, DeepNestingCostsNoMoreThanItsLengthAndEndsInAMessage) {
  EngineDatabase database(":memory:");
  auto nested = [](int levels) {
    std::string value = "1";
    for (int i = 0; i < levels; ++i) {
      value.insert(0, "CASE WHEN ").append(" BETWEEN 1 AND 1.0 THEN NULLIF(1, 2) ELSE 0 END");
    }
    return "SELECT " + value + " FROM N";
  };
  std::string average = "1";
  for (int i = 0; i < 4; ++i) average.insert(0, "(SELECT AVG(").append(") FROM N)");
  std::string sum = "I";
  std::string any = "I = 0";
  for (int i = 1; i < 400; ++i) sum += " + " + std::to_string(i);
  for (int i = 1; i < 5000; ++i) any += " OR I = " + std::to_string(i);
  runSteps(database, {{"CREATE TABLE N(I INTEGER)", "ok"},
                      {"INSERT INTO N VALUES(1)", "1 rows"},
                      {nested(10).c_str(), "1"},
                      {nested(90).c_str(), "-101 54001"},
                      {("SELECT " + average + " FROM N").c_str(), "1"},
                      {("SELECT " + sum + " FROM N").c_str(), "79801"},
                      {("SELECT I FROM N WHERE " + any).c_str(), "1"}});
}

TEST(EngineTest, OpensDatabasesOnly) {
  TemporaryFolder folder;
  auto outcome = [&](const std::string& name, bool create, int codePage = 1208) {
    const std::string opened = outcomeOf(
        [&] { EngineDatabase(name.empty() ? name : folder.path(name), create, codePage); });
    return opened.substr(0, opened.find(' '));
  };
  folder.write("text", std::string(4096, 'x'));
  EXPECT_EQ(outcome("db", false), "-1013");
  EXPECT_EQ(outcome("nowhere/db", true), "-1051");
  EXPECT_EQ(outcome("text", false), "-1026");
  EXPECT_EQ(outcome("text", true), "-1005");
  EXPECT_EQ(outcome("", false), "-1001");
  EXPECT_EQ(outcome("bad", true, 123456), "-332");
  EXPECT_EQ(outcome("bad", false), "-1013");
  EXPECT_EQ(outcome("file:db?mode=memory", true), "ok");
  EXPECT_EQ(outcome("file:db?mode=memory", false), "ok");
  EXPECT_EQ(outcome("db", true, 943), "ok");
  EngineDatabase database("sqlite:" + folder.path("db"), false, 943);
  EXPECT_EQ(database.engine().catalog().codePage(), 943);
  runSteps(database, {{"CREATE TABLE T(V VARCHAR(4))", "ok"},
                      {"INSERT INTO T VALUES(?)", "1 rows", {"\xE6\xBC\xA2\xE5\xAD\x97"}},
                      {"INSERT INTO T SELECT V || 'x' FROM T",
                       "-433 22001 \xE6\xBC\xA2\xE5\xAD\x97x,APP.T.V"},
                      {"SELECT LENGTH(V), SUBSTR(V, 3, 2) FROM T", "4|\xE5\xAD\x97"}});
}

TEST(EngineTest, FilesOfOtherProgramsAreNotWrittenByReadingThem) {
  TemporaryFolder folder;
  const std::string path = folder.path("other.db");
  runSqlite(path, "CREATE TABLE t(id INTEGER PRIMARY KEY); INSERT INTO t VALUES(7)");
  const std::string before = readFile(path);
  {
    EngineDatabase database(path, false);
    runSteps(database, {{"SELECT ID FROM T", "7"}});
    database.engine().commit();
  }
  EXPECT_EQ(readFile(path), before);
}

TEST(EngineTest, AFormatOfTheFutureIsRefused) {
  TemporaryFolder folder;
  const std::string path = folder.path("future.db");
  EngineDatabase(path).engine().commit();
  runSqlite(path, "UPDATE \"SYSNTQ.DATABASE\" SET VALUE = 99 WHERE NAME = 'FORMAT'");
  EXPECT_EQ(outcomeOf([&] { EngineDatabase(path, false); }).substr(0, 4), "-902");
}

TEST(EngineTest, UniqueValuesRiseAndRepeatInNoThreadOrProcess) {
  constexpr const char* kTenThousand =
      "SELECT HEX(generate_unique()) FROM TABLE(VALUES 0,1,2,3,4,5,6,7,8,9) AS A, TABLE(VALUES "
      "0,1,2,3,4,5,6,7,8,9) AS B, TABLE(VALUES 0,1,2,3,4,5,6,7,8,9) AS C, TABLE(VALUES "
      "0,1,2,3,4,5,6,7,8,9) AS D";
  const auto make = [&](std::string& lines) {
    lines = EngineDatabase(":memory:").run(kTenThousand);
  };
  // A child of this process has what this one remembers, and its clock.
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const pid_t child = fork();
  std::vector<std::string> lines(4);
  if (child == 0) {
    make(lines[0]);
    for (size_t sent = 0; sent < lines[0].size();) {
      const ssize_t count = write(ends[1], lines[0].data() + sent, lines[0].size() - sent);
      if (count <= 0) break;
      sent += static_cast<size_t>(count);
    }
    _exit(0);
  }
  close(ends[1]);
  std::vector<std::thread> threads;
  for (size_t i = 0; i < 3; ++i) threads.emplace_back([&, i] { make(lines[i]); });
  std::array<char, 65536> buffer;
  for (ssize_t count; (count = read(ends[0], buffer.data(), buffer.size())) > 0;) {
    lines[3].append(buffer.data(), static_cast<size_t>(count));
  }
  for (std::thread& thread : threads) thread.join();
  waitpid(child, nullptr, 0);
  close(ends[0]);
  std::set<std::string> all;
  for (const std::string& made : lines) {
    std::istringstream values(made);
    std::string before;
    for (std::string value; std::getline(values, value); before = value) {
      EXPECT_EQ(value.size(), 26U);
      EXPECT_LT(before, value);
      all.insert(value);
    }
  }
  EXPECT_EQ(all.size(), 40000U);
}

// Nothing beside the file can be written either, which its write-ahead log would need.
TEST(EngineTest, DatabasesThatNobodyCanWriteAreRead) {
  TemporaryFolder folder;
  const std::string path = folder.path("fixed.db");
  {
    EngineDatabase database(path);
    runSteps(database,
             {{"CREATE TABLE T(A INTEGER)", "ok"}, {"INSERT INTO T VALUES(1)", "1 rows"}});
    database.engine().commit();
  }
  const std::string around = folder.path("."), link = folder.path("link.db");
  ASSERT_EQ(symlink("fixed.db", link.c_str()) | chmod(path.c_str(), 0444), 0);
  const bool superuser = geteuid() == 0;  // for whom everything is writable
  // What a writer that was killed has left.
  const std::pair<std::string, const char*> kCases[] = {
      {"", "1, -970"}, {"-journal", "-970"}, {"-wal", "-1026"}};
  for (const auto& [left, expected] : kCases) {
    SCOPED_TRACE(left);
    if (!left.empty()) std::ofstream(path + left) << "x";
    ASSERT_EQ(chmod(around.c_str(), 0555) | (superuser ? seteuid(65534) : 0), 0);
    for (const std::string& name : {path, link}) {
      const std::string outcome = outcomeOf([&] {
        EngineDatabase database(name, false);
        return database.run("SELECT COUNT(*) FROM T") + ", " + database.run("DELETE FROM T");
      });
      EXPECT_TRUE(outcome.starts_with(expected)) << outcome;
    }
    ASSERT_EQ((superuser ? seteuid(0) : 0) | chmod(around.c_str(), 0755), 0);
    if (!left.empty()) unlink((path + left).c_str());
  }
}

}  // namespace
}  // namespace orv

// A database in a file, opened by whoever works in it, and a picture of all that it holds, in which
// what is drawn at random has fixed names: two databases in which the same was done look alike.
//
//   { StoredDatabase db(path); db.run("..."); db.commit(); }
//   EXPECT_EQ(StoredDatabase(path).picture(), expected);
#pragma once

#include <sqlite3.h>

#include <map>

#include "tests/support/admin_calls.h"

namespace orvxml::test {

using Picture = std::vector<std::string>;  // a line for each row of each table

class StoredDatabase {
 public:
  explicit StoredDatabase(const std::string& path) {
    setenv("ORVINSTANCE", instanceName().c_str(), 1);
    orv::Outcome outcome;
    session_ = orv::Session::open(path, outcome);
    if (!session_) throw std::runtime_error("no database: " + outcome.message);
    session_->makeCurrent();
  }

  // Makes one, with the packages bound.
  static void create(const std::string& path) {
    Database db(1208, path);
    EXPECT_FALSE(db.session().commit().failed());
  }

  orv::Session& session() { return *session_; }
  int sqlcode(const std::string& statement) { return session_->run(statement).outcome.sqlcode; }
  void run(const std::string& statement) {
    const orv::Outcome outcome = session_->run(statement).outcome;
    EXPECT_EQ(outcome.sqlcode, 0) << statement << "\n" << outcome.message;
  }
  void runScript(const std::string& script) {
    for (const orv::ScriptStatement& statement : orv::splitScript(script)) run(statement.text);
  }
  Rows rows(const std::string& query) {
    const orv::Result result = session_->run(query);
    EXPECT_FALSE(result.outcome.failed()) << query << "\n" << result.outcome.message;
    Rows rows;
    for (const auto& values : result.rows) {
      Row& row = rows.emplace_back();
      for (const orv::ResultValue& value : values) row.push_back(value.value_or("NULL"));
    }
    return rows;
  }
  void commit() { EXPECT_FALSE(session_->commit().failed()); }
  void rollback() { EXPECT_FALSE(session_->rollback().failed()); }

  Picture picture() {
    const Rows tables = rows(
        "select tabschema, tabname from syscat.tables where type = 'T' or tabschema = 'SYSCAT'"
        " order by 1, 2");
    Picture lines;
    for (const Row& table : tables) {
      const std::string name = '"' + table[0] + "\".\"" + table[1] + '"';
      for (const Row& row : rows("select * from " + name)) lines.push_back(name + lineOf(row));
    }
    nameAgain(lines);
    std::sort(lines.begin(), lines.end());
    return lines;
  }

 private:
  static std::string lineOf(const Row& row) {
    std::string line;
    for (const std::string& value : row) line += '|' + value;
    return line;
  }
  // Puts names into the lines for what was drawn at random: the suffixes of triggers, the names of
  // temporary files, and root ids, which are those of the first column's value beside them.
  void nameAgain(Picture& lines) {
    std::map<std::string, std::string> names;
    for (const Row& column : rows("select colname, tabschema, tabname from syscat.columns"
                                  " where colname = 'QRKROOT_ID' and colno = 2")) {
      const std::string table = '"' + column[1] + "\".\"" + column[2] + '"';
      for (const Row& row : rows("select * from " + table)) names[row[2]] = "root of " + row[0];
    }
    if (!rows("select 1 from syscat.tables where tabname = 'XML_USAGE'").empty()) {
      for (const Row& usage : rows("select trigger_suffix, col_name from orvxml.xml_usage")) {
        names[usage[0].substr(0, usage[0].find(' '))] = "of " + usage[1];
      }
    }
    for (std::string& line : lines) {
      for (const auto& [old, name] : names) {
        if (old == "NULL" || old.empty()) continue;
        for (size_t at = 0; (at = line.find(old, at)) != line.npos; at += name.size()) {
          line.replace(at, old.size(), name);
        }
      }
      constexpr std::string_view kFile = "/qrk";
      constexpr size_t kDrawn = 6;
      for (size_t at = 0; (at = line.find(kFile, at)) != line.npos; ++at) {
        line.replace(at, kFile.size() + kDrawn, "/file");
      }
    }
  }

  std::unique_ptr<orv::Session> session_;
};

// The first line that only one of them has; nothing when they are alike.
inline std::string difference(const Picture& found, const Picture& expected) {
  const auto [here, there] =
      std::mismatch(found.begin(), found.end(), expected.begin(), expected.end());
  if (here == found.end() && there == expected.end()) return "";
  return (here == found.end() ? "end" : *here) + "\ninstead of\n" +
         (there == expected.end() ? "end" : *there);
}

// What the file's own checks find fault with; nothing in a sound file.
inline Rows faultsOfFile(const std::string& path) {
  sqlite3* file = nullptr;
  EXPECT_EQ(sqlite3_open_v2(path.c_str(), &file, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
  Rows faults;
  const auto collect = [](void* to, int, char** values, char**) {
    static_cast<Rows*>(to)->push_back({values[0] ? values[0] : "NULL"});
    return 0;
  };
  char* message = nullptr;
  for (const char* check : {"PRAGMA integrity_check", "PRAGMA foreign_key_check"}) {
    if (sqlite3_exec(file, check, collect, &faults, &message) != SQLITE_OK) {
      faults.push_back({message});
    }
    sqlite3_free(std::exchange(message, nullptr));
  }
  sqlite3_close(file);
  std::erase(faults, Row{"ok"});
  return faults;
}

}  // namespace orvxml::test

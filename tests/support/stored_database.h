// A database in a file, opened by whoever works in it, and a picture of all that it holds, in which
// what is drawn at random has fixed names: two databases in which the same was done look alike.
//
//   { StoredDatabase db(path); db.run("..."); db.commit(); }
//   EXPECT_EQ(StoredDatabase(path).picture(), expected);
#pragma once

#include <map>

#include "tests/support/admin_calls.h"
#include "tests/support/sqlite_file.h"

namespace orvxml::test {

using Picture = std::vector<std::string>;  // a line for each row of each table

class StoredDatabase : public TestSession {
 public:
  using TestSession::TestSession;

  // Makes one, with the packages bound.
  static void create(const std::string& path) { Database(1208, path).commit(); }

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
inline std::string faultsOfFile(const std::string& path) {
  std::string faults;
  for (const std::string& fault :
       runSqlite(path, "PRAGMA integrity_check; PRAGMA foreign_key_check")) {
    if (fault != "ok") faults += fault + '\n';
  }
  return faults;
}

}  // namespace orvxml::test

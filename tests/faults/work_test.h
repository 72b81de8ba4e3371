// Works that faults happen in, and the fixture that knows what each of their units makes of a
// database: whatever happens, a database must look like after some of them.
#pragma once

#include "tests/faults/stored_work.h"

namespace orvxml::test {

struct WorkCase {
  const char* name;
  Work before, work;
  bool isLogged = true;  // its changes go into a log beside the file; else the old pages do
};
inline std::ostream& operator<<(std::ostream& out, const WorkCase& work) {
  return out << work.name;
}

inline const Work kToColumn = {kEnableDatabase, kMailTable, kAddDtd, kEnableColumn};
inline const Work kToShred = {kEnableDatabase, kInvoiceTables};
inline const Work kShred = {decompose("c-1001.xml"), decompose("c-1002.xml")};

inline const WorkCase kWorks[] = {
    {"Enabling", {}, {kEnableDatabase, kMailTable, kAddDtd, kEnableColumn}},
    {"AColumn", {kEnableDatabase, kMailTable, kAddDtd}, {kEnableColumn, kDisableColumn}},
    {"Documents", kToColumn, kMailChanges},
    {"DocumentsWithoutLog", kToColumn, kMailChanges, false},
    {"Decomposition", kToShred, kShred},
    {"DecompositionWithoutLog", kToShred, kShred, false},
};

class WorkTest : public testing::TestWithParam<WorkCase> {
 protected:
  WorkTest() {
    StoredDatabase::create(prepared_);
    if (!GetParam().isLogged) runSqlite(prepared_, "PRAGMA journal_mode=DELETE");
    doAll(prepared_, GetParam().before);
    const std::string whole = copy();
    pictures_.push_back(StoredDatabase(whole).picture());
    for (const UnitOfWork& unit : work_) {
      doAll(whole, {unit});
      pictures_.push_back(StoredDatabase(whole).picture());
    }
    EXPECT_NE(pictures_.front(), pictures_.back());
  }

  // A copy of the database to work in.
  std::string copy() {
    const std::string file = folder_.path("copy" + std::to_string(++copies_));
    std::filesystem::copy_file(prepared_, file);
    return file;
  }

  // The file is sound and looks as `done` units of the work make it, or one more; the rest of the
  // work can be done.
  void judge(const std::string& file, size_t done) {
    EXPECT_EQ(faultsOfFile(file), "");
    const Picture found = StoredDatabase(file).picture();
    const bool oneMore = done < work_.size() && found == pictures_[done + 1];
    if (!oneMore) {
      EXPECT_EQ(difference(found, pictures_[done]), "") << "after units: " << done;
    }
    doAll(file, Work(work_.begin() + static_cast<ptrdiff_t>(done) + oneMore, work_.end()));
    StoredDatabase db(file);
    EXPECT_EQ(difference(db.picture(), pictures_.back()), "");
    if (!db.rows("select 1 from syscat.tables where tabname = 'MAIL_TO'").empty()) {
      EXPECT_EQ(mailsOutOfStep(db), kInStep);
    }
  }

  const Work& work_ = GetParam().work;

 private:
  static void doAll(const std::string& file, const Work& work) {
    StoredDatabase db(file);
    for (const UnitOfWork& unit : work) doWhole(db, unit);
  }

  const TemporaryFolder folder_;
  const Variable temporary_{"ORVQRKTEMP", folder_.path().c_str()};
  const std::string prepared_ = folder_.path("db");
  std::vector<Picture> pictures_;  // before the first unit, after it, ...
  int copies_ = 0;
};

inline std::string workName(const testing::TestParamInfo<WorkCase>& info) {
  return info.param.name;
}

// Numbers from 1 to `last`, so many and evenly apart.
inline std::vector<long> spread(long last, long count) {
  std::vector<long> numbers;
  for (long i = 0; i < count; ++i) numbers.push_back(1 + (last - 1) * i / (count - 1));
  return numbers;
}

}  // namespace orvxml::test

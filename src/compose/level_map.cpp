// Builds the level map: the select list as the server describes it, cut into levels at the columns
// that the ORDER BY list names.
#include "src/compose/level_map.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/compose/sql_statement.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

namespace {

constexpr char kModule[] = "qrklm";
constexpr int kMaxNameParts = 3;
constexpr int kMaxNameLength = kLevelSlotSize - 1;

struct LevelMapRelease {
  void operator()(level_map* map) const { qrkLmRelease(nullptr, map); }
};
using LevelMapOwner = std::unique_ptr<level_map, LevelMapRelease>;

template <class T>
T* allocateZeroed(size_t count) {
  return static_cast<T*>(std::calloc(count, sizeof(T)));
}

class LevelMapBuilder {
 public:
  LevelMapBuilder(const Report& report, SQLHDBC hdbc)
      : report_(report), hdbc_(hdbc), statement_(report_, kModule) {}

  // 0, or a status with the message stored.
  int build(const char* sqlStmt, const char* orderList) {
    if (int rc = describeStatement(sqlStmt)) return rc;
    if (int rc = readOrderKeys(orderList)) return rc;
    if (int rc = allocateLists()) return rc;
    assignLevels();
    if (int rc = checkKeys()) return rc;
    std::stable_sort(map_->columns, map_->columns + columnCount_,
                     [](const level_column& a, const level_column& b) {
                       return std::strcmp(a.name, b.name) < 0;
                     });
    return statement_.close();
  }

  level_map* release() { return map_.release(); }

 private:
  int describeStatement(const char* sqlStmt);
  int describeColumns();
  int readOrderKeys(const char* orderList);
  int allocateLists();
  void assignLevels();
  int checkKeys();
  bool startsLevel(int level, const char* name) const;
  int refuseKey(const std::string& key);
  int noMemory();
  char* slot(int index) const { return map_->names + ptrdiff_t{index} * kLevelSlotSize; }
  // A name has kMaxNameLength bytes at most.
  void setSlot(int index, std::string_view name) { name.copy(slot(index), kMaxNameLength); }
  int levelCount() const { return static_cast<int>(keys_.size()); }
  // What the trace shows as the key of a level.
  const char* keyOf(int level) const {
    return level < levelCount() ? keys_[static_cast<size_t>(level)].c_str() : kNoMoreKeys;
  }

  const Report report_;
  SQLHDBC hdbc_;
  CliStatement statement_;
  LevelMapOwner map_;
  int columnCount_ = 0;
  std::vector<std::string> keys_;
};

int LevelMapBuilder::noMemory() {
  return failed(report_, Msg::QRKG002E);
}

int LevelMapBuilder::refuseKey(const std::string& key) {
  return failed(report_, Msg::QRKQ004E, key);
}

int LevelMapBuilder::describeStatement(const char* sqlStmt) {
  if (int rc = statement_.allocate(hdbc_)) return rc;
  if (statement_.prepare(sqlStmt) < 0) {
    QRK_TRACE(report_.ctx, "SQLPrepare(%s) failed: %s", sqlStmt, statement_.diagnostic().c_str());
    return statement_.failWith(Msg::QRKQ001E);
  }
  SQLSMALLINT count = 0;
  if (const SQLRETURN rc = SQLNumResultCols(statement_.handle(), &count); rc < 0) {
    statement_.diagnose(__LINE__);
    return rc;
  }
  QRK_TRACE(report_.ctx, "sql_stmt (%d cols): %s", count, sqlStmt);
  columnCount_ = count;
  return describeColumns();
}

int LevelMapBuilder::describeColumns() {
  map_.reset(allocateZeroed<level_map>(1));
  if (map_) map_->columns = allocateZeroed<level_column>(static_cast<size_t>(columnCount_) + 1);
  if (!map_ || !map_->columns) return noMemory();
  std::memcpy(map_->columns[columnCount_].name, kEndOfColumns, sizeof kEndOfColumns);
  for (int i = 0; i < columnCount_; ++i) {
    level_column& column = map_->columns[i];
    column.level = -1;
    SQLSMALLINT length = 0;
    const SQLRETURN rc = SQLDescribeCol(statement_.handle(), static_cast<SQLUSMALLINT>(i + 1),
                                        reinterpret_cast<SQLCHAR*>(column.name), kMaxNameLength + 1,
                                        &length, nullptr, nullptr, nullptr, nullptr);
    if (rc < 0) {
      statement_.diagnose(__LINE__);
      return rc;
    }
    // A column of the sentinel's name would end every list in front of its place.
    if (isEndOfColumns(column.name)) {
      return failed(report_, Msg::QRKQ001E);
    }
  }
  return 0;
}

// Key: a name of at most three parts, of which the last counts; the list ends at the first token
// behind a name that is no comma.
int LevelMapBuilder::readOrderKeys(const char* orderList) {
  std::u16string text;
  if (!toUtf16(report_.ctx, orderList, text)) {
    failInternal(report_, kModule, __LINE__);
    return -1;
  }
  if (text.size() > kOrderListLimit) {
    return failed(report_, Msg::QRKG017E, "QRK_ORDER_LIST", buildStamp(), kModule, __LINE__);
  }
  const char16_t* cursor = text.c_str();
  QrkSqlToken token{};
  do {
    qrkGetSqlToken(report_.ctx, &cursor, &token);
    const char16_t* const start = token.startptr;
    char parts[kMaxNameParts][kNamePartSize];
    int count = 0;
    if (qrkParseSqlQualifiedId(report_.ctx, &cursor, &token, kMaxNameParts, &count, parts)) {
      return refuseKey(textForMessage(report_.ctx, {start, static_cast<size_t>(cursor - start)}));
    }
    keys_.emplace_back(parts[count - 1]);
  } while (token.type == Type_Delimiter && *token.startptr == ',');
  return 0;
}

int LevelMapBuilder::allocateLists() {
  const int slots = columnCount_ + levelCount();
  map_->objids = allocateZeroed<char*>(keys_.size() + 1);
  map_->names = allocateZeroed<char>(static_cast<size_t>(slots) * kLevelSlotSize);
  if (!map_->objids || !map_->names) return noMemory();
  setSlot(slots - 1, kEndOfColumns);
  // A level that no column starts has an empty list.
  std::fill(map_->objids, map_->objids + levelCount(), slot(slots - 1));
  map_->objids[0] = slot(0);
  return 0;
}

bool LevelMapBuilder::startsLevel(int level, const char* name) const {
  return level < levelCount() && keys_[static_cast<size_t>(level)] == name;
}

void LevelMapBuilder::assignLevels() {
  QRK_TRACE(report_.ctx, "initial nextlevelkey = objids[1] = '%s'", keyOf(1));
  QRK_TRACE(report_.ctx, "num_levels = %d", levelCount());
  int level = 0;
  int next = 0;  // slot
  for (int i = 0; i < columnCount_; ++i) {
    level_column& column = map_->columns[i];
    QRK_TRACE(report_.ctx, "sqldaIndex=%d colname='%s' colnameLen=%d", i, column.name,
              static_cast<int>(std::strlen(column.name)));
    if (startsLevel(level + 1, column.name)) {
      setSlot(next++, kEndOfColumns);
      map_->objids[++level] = slot(next);
      QRK_TRACE(report_.ctx, "Start level %d", level);
      QRK_TRACE(report_.ctx, "nextlevelkey = objids[%d] = '%s'", level + 1, keyOf(level + 1));
    }
    setSlot(next++, column.name);
    column.level = level;
  }
  setSlot(next, kEndOfColumns);
}

// Every key but the first must be a column of the result: without it a level would be missing and
// its columns would silently belong to another one.
int LevelMapBuilder::checkKeys() {
  for (int level = 1; level < levelCount(); ++level) {
    const std::string& key = keys_[static_cast<size_t>(level)];
    const bool found = std::any_of(map_->columns, map_->columns + columnCount_,
                                   [&](const level_column& column) { return key == column.name; });
    if (!found) return refuseKey(key);
  }
  return 0;
}

}  // namespace

int qrkLmAcquire(QrkStruct* ctx, level_map** levelMap, SQLHDBC hdbc, const char* sqlStmt,
                 const char* orderList, int* errCode, char* msg) {
  *levelMap = nullptr;
  LevelMapBuilder builder(Report{.ctx = ctx, .msg = msg, .errCode = errCode}, hdbc);
  const int rc = builder.build(sqlStmt, orderList);
  if (rc == 0) *levelMap = builder.release();
  QRK_TRACE(ctx, " Exit with rc = %d", rc);
  return rc;
}

int qrkLmRelease(QrkStruct* /*ctx*/, level_map* levelMap) {
  if (!levelMap) return 0;
  std::free(levelMap->columns);
  std::free(levelMap->names);
  std::free(levelMap->objids);
  std::free(levelMap);
  return 0;
}

int qrkLmGetLevel(QrkStruct* /*ctx*/, const level_map* levelMap, const char* columnName) {
  if (!levelMap) return -1;
  const level_column* const begin = levelMap->columns;
  const level_column* end = begin;
  while (!isEndOfColumns(end->name)) ++end;
  const level_column* const found =
      std::lower_bound(begin, end, columnName, [](const level_column& column, const char* name) {
        return std::strcmp(column.name, name) < 0;
      });
  return found != end && std::strcmp(found->name, columnName) == 0 ? found->level : -1;
}

int qrkLmGetColumns(QrkStruct* /*ctx*/, const level_map* levelMap, int level, const char** list) {
  if (!levelMap || level < 0) return codeOf(Msg::QRKG001E);
  for (int i = 0; i < level; ++i) {
    if (!levelMap->objids[i]) return codeOf(Msg::QRKG001E);
  }
  *list = levelMap->objids[level];
  return 0;
}

}  // namespace orvxml

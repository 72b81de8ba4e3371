// Builds the level map: the select list as the server describes it, cut into levels at the columns
// that the ORDER BY list names.
#include "src/compose/level_map.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/compose/column_buffers.h"
#include "src/compose/sql_statement.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

namespace {

constexpr int kMaxNameParts = 3;
constexpr int kMaxNameLength = kLevelSlotSize - 1;

Failure notInResult(const std::string& key) {
  return Failure(Msg::QRKQ004E, key);
}

class LevelMapBuilder {
 public:
  LevelMapBuilder(QrkStruct* ctx, SQLHDBC hdbc) : ctx_(ctx), statement_(ctx), hdbc_(hdbc) {}

  LevelMap build(const char* sqlStmt, const char* orderList) {
    describeStatement(sqlStmt);
    readOrderKeys(orderList);
    allocateLists();
    assignLevels();
    checkKeys();
    std::stable_sort(map_->columns, map_->columns + columnCount_,
                     [](const level_column& a, const level_column& b) {
                       return std::strcmp(a.name, b.name) < 0;
                     });
    statement_.close();
    return std::move(map_);
  }

 private:
  void describeStatement(const char* sqlStmt);
  void describeColumns();
  void readOrderKeys(const char* orderList);
  void allocateLists();
  void assignLevels();
  void checkKeys() const;
  bool startsLevel(int level, const char* name) const;
  char* slot(int index) const { return map_->names + ptrdiff_t{index} * kLevelSlotSize; }
  // A name has kMaxNameLength bytes at most.
  void setSlot(int index, std::string_view name) { name.copy(slot(index), kMaxNameLength); }
  int levelCount() const { return static_cast<int>(keys_.size()); }
  // What the trace shows as the key of a level.
  const char* keyOf(int level) const {
    return level < levelCount() ? keys_[static_cast<size_t>(level)].c_str() : kNoMoreKeys;
  }

  QrkStruct* const ctx_;
  CliStatement statement_;
  const SQLHDBC hdbc_;
  LevelMap map_;
  int columnCount_ = 0;
  std::vector<std::string> keys_;
};

void LevelMapBuilder::describeStatement(const char* sqlStmt) {
  statement_.allocate(hdbc_);
  if (statement_.prepare(sqlStmt) < 0) {
    QRK_TRACE(ctx_, "SQLPrepare(%s) failed: %s", sqlStmt, statement_.diagnostic().c_str());
    throw Failure(Msg::QRKQ001E).with(statement_.diagnostic());
  }
  SQLSMALLINT count = 0;
  if (SQLNumResultCols(statement_.handle(), &count) < 0) throw statement_.failure();
  QRK_TRACE(ctx_, "sql_stmt (%d cols): %s", count, sqlStmt);
  columnCount_ = count;
  describeColumns();
}

void LevelMapBuilder::describeColumns() {
  map_.reset(allocateZeroed<level_map>(1));
  map_->columns = allocateZeroed<level_column>(static_cast<size_t>(columnCount_) + 1);
  std::memcpy(map_->columns[columnCount_].name, kEndOfColumns, sizeof kEndOfColumns);
  for (int i = 0; i < columnCount_; ++i) {
    level_column& column = map_->columns[i];
    column.level = -1;
    SQLSMALLINT length = 0;
    if (SQLDescribeCol(statement_.handle(), static_cast<SQLUSMALLINT>(i + 1),
                       reinterpret_cast<SQLCHAR*>(column.name), kMaxNameLength + 1, &length,
                       nullptr, nullptr, nullptr, nullptr) < 0) {
      throw statement_.failure();
    }
    // A column of the sentinel's name would end every list in front of its place.
    if (isEndOfColumns(column.name)) throw Failure(Msg::QRKQ001E);
  }
}

// Key: a name of at most three parts, of which the last counts; the list ends at the first token
// behind a name that is no comma.
void LevelMapBuilder::readOrderKeys(const char* orderList) {
  std::u16string text;
  if (!toUtf16(ctx_, orderList, text)) throw Failure::internal();
  if (text.size() > kOrderListLimit) throw Failure::ofLimit("QRK_ORDER_LIST");
  const char16_t* cursor = text.c_str();
  QrkSqlToken token{};
  do {
    qrkGetSqlToken(ctx_, &cursor, &token);
    const char16_t* const start = token.startptr;
    char parts[kMaxNameParts][kNamePartSize];
    int count = 0;
    if (qrkParseSqlQualifiedId(ctx_, &cursor, &token, kMaxNameParts, &count, parts)) {
      throw notInResult(textForMessage(ctx_, {start, static_cast<size_t>(cursor - start)}));
    }
    keys_.emplace_back(parts[count - 1]);
  } while (token.type == Type_Delimiter && *token.startptr == ',');
}

void LevelMapBuilder::allocateLists() {
  const int slots = columnCount_ + levelCount();
  map_->objids = allocateZeroed<char*>(keys_.size() + 1);
  map_->names = allocateZeroed<char>(static_cast<size_t>(slots) * kLevelSlotSize);
  setSlot(slots - 1, kEndOfColumns);
  // A level that no column starts has an empty list.
  std::fill(map_->objids, map_->objids + levelCount(), slot(slots - 1));
  map_->objids[0] = slot(0);
}

bool LevelMapBuilder::startsLevel(int level, const char* name) const {
  return level < levelCount() && keys_[static_cast<size_t>(level)] == name;
}

void LevelMapBuilder::assignLevels() {
  QRK_TRACE(ctx_, "initial nextlevelkey = objids[1] = '%s'", keyOf(1));
  QRK_TRACE(ctx_, "num_levels = %d", levelCount());
  int level = 0;
  int next = 0;  // slot
  for (int i = 0; i < columnCount_; ++i) {
    level_column& column = map_->columns[i];
    QRK_TRACE(ctx_, "sqldaIndex=%d colname='%s' colnameLen=%d", i, column.name,
              static_cast<int>(std::strlen(column.name)));
    if (startsLevel(level + 1, column.name)) {
      setSlot(next++, kEndOfColumns);
      map_->objids[++level] = slot(next);
      QRK_TRACE(ctx_, "Start level %d", level);
      QRK_TRACE(ctx_, "nextlevelkey = objids[%d] = '%s'", level + 1, keyOf(level + 1));
    }
    setSlot(next++, column.name);
    column.level = level;
  }
  setSlot(next, kEndOfColumns);
}

// Every key but the first must be a column of the result: without it a level would be missing and
// its columns would silently belong to another one.
void LevelMapBuilder::checkKeys() const {
  for (int level = 1; level < levelCount(); ++level) {
    const std::string& key = keys_[static_cast<size_t>(level)];
    const bool found = std::any_of(map_->columns, map_->columns + columnCount_,
                                   [&](const level_column& column) { return key == column.name; });
    if (!found) throw notInResult(key);
  }
}

}  // namespace

void LevelMapRelease::operator()(level_map* map) const {
  std::free(map->columns);
  std::free(map->names);
  std::free(map->objids);
  std::free(map);
}

LevelMap qrkLmAcquire(QrkStruct* ctx, SQLHDBC hdbc, const char* sqlStmt, const char* orderList) {
  LevelMap map = LevelMapBuilder(ctx, hdbc).build(sqlStmt, orderList);
  QRK_TRACE(ctx, " Exit with rc = %d", 0);
  return map;
}

int qrkLmGetLevel(const level_map& levelMap, const char* columnName) {
  const level_column* const begin = levelMap.columns;
  const level_column* end = begin;
  while (!isEndOfColumns(end->name)) ++end;
  const level_column* const found =
      std::lower_bound(begin, end, columnName, [](const level_column& column, const char* name) {
        return std::strcmp(column.name, name) < 0;
      });
  return found != end && std::strcmp(found->name, columnName) == 0 ? found->level : -1;
}

const char* qrkLmGetColumns(const level_map& levelMap, int level) {
  if (level < 0) throw Failure::internal();
  for (int i = 0; i < level; ++i) {
    if (!levelMap.objids[i]) throw Failure::internal();
  }
  return levelMap.objids[level];
}

}  // namespace orvxml

// The level map of SQL mapping, and access to descriptor areas.
//
// The ORDER BY clause of a statement names one key column per level of nesting. The map records for
// every column of the select list the level that it belongs to, and for every level its columns:
// with SELECT a, b, c, d, e FROM t ORDER BY a, c, e the levels are 0 = a, b; 1 = c, d; 2 = e.
#pragma once

#include <cstdint>
#include <memory>

#include "orv/sqlda.h"
#include "orvxml/context.h"

namespace orvxml {

inline constexpr int kLevelSlotSize = 129;      // bytes of a name in the name block
inline constexpr char kEndOfColumns[] = "-1";   // ends a level's list and the column entries
inline constexpr char kNoMoreKeys[] = "-1111";  // matches no column
inline constexpr int kOrderListLimit = 4096;    // UTF-16 units

struct level_column {
  char name[132];  // at most 128 bytes
  int32_t level;   // -1 before assignment
};

struct level_map {
  char** objids;          // one per level and a null: the first slot of the level's list
  level_column* columns;  // sorted by name, then a sentinel named "-1"
  char* names;            // the name block that objids points into
};

struct LevelMapRelease {
  void operator()(level_map* map) const;
};
using LevelMap = std::unique_ptr<level_map, LevelMapRelease>;

// Builds the map of `sqlStmt` (without its ORDER BY clause) and the text behind ORDER BY. QRKQ001E
// for a statement that the server does not prepare. A key that the select list lacks: QRKQ004E with
// the key.
LevelMap qrkLmAcquire(QrkStruct* ctx, SQLHDBC hdbc, const char* sqlStmt, const char* orderList);
// The level of a column (exact match), -1 when the map does not have it.
int qrkLmGetLevel(const level_map& levelMap, const char* columnName);
// The level's names, slots of kLevelSlotSize bytes up to kEndOfColumns; null for the level one past
// the last. QRKG001E for a level beyond that.
const char* qrkLmGetColumns(const level_map& levelMap, int level);
inline bool isEndOfColumns(const char* slot) {
  return slot[0] == '-' && slot[1] == '1' && slot[2] == 0;
}

// ---- Descriptor areas. Data areas and indicators are allocated with malloc.
// A descriptor area of so many entries, none of them in use.
sqlda* newDescriptor(int entries);
// Gives an entry its name, cut to what it holds on a character boundary.
void setEntryName(QrkStruct* ctx, sqlvar& entry, const char* name);

// ---- Of the interface, for programs that use descriptors themselves; nothing else calls them.
int qrk_init_da(QrkStruct* ctx, sqlda** da, int entries);  // 0, or -1 out of memory
// Frees the data of the entries in use, their indicators when the type is nullable, and the area.
void qrk_free_da(QrkStruct* ctx, sqlda* da);
// A copy of the entry's value (malloc), null when its indicator is below 1. 0 or -1.
int getValueByIndex(QrkStruct* ctx, const sqlda* da, int index, char** value, int* errCode,
                    char* msg);
// The same without a copy.
int getSQLDADataByIndex(QrkStruct* ctx, const sqlda* da, int index, char** data, int* length);
int getValueByColName(QrkStruct* ctx, const sqlda* da, const char* columnName, char** value,
                      int* errCode, char* msg);
// Prepares `stmtText` through embedded SQL and describes it into a descriptor of the right size.
int qrkSetupSQLDA(QrkStruct* ctx, const char* stmtText, sqlda** da, int* errCode, char* msg);
// Data areas for every entry in use. 0, or -1 out of memory: then nothing is left allocated.
int qrkAllocHostVars(QrkStruct* ctx, sqlda* da);

}  // namespace orvxml

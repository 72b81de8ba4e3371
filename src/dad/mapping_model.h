// The collection mapping model: the DAD's tree of element, attribute and text nodes as a flat,
// table-centred structure. `rel` holds the tables of the collection with the columns mapped from
// each, the join conditions between them, their depth in the document and the element that stands
// for one row. Names are in the database code page, folded as the SQL scanner folds them.
//
// Calling order: qrkSetRel, qrkProcRel, the user of the model, qrkFreeRel (always, also after a
// failure). The layout of the structures is given; everything they point at is theirs.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "orvxml/context.h"
#include "src/parser/parser.h"

namespace orvxml {

inline constexpr int QRK_NUMTAB_IN_REL = 30;

// A set of tables of a model, one bit for each in the model's order, and the set of just one.
using TableBits = uint32_t;
static_assert(QRK_NUMTAB_IN_REL <= 32);
constexpr TableBits tableBit(int table) {
  return TableBits{1} << static_cast<unsigned>(table);
}

inline constexpr int kMaxKeyColumns = 16;
inline constexpr int kMaxForeignKeys = 16;
inline constexpr int kMaxColumnsPerTable = 500;
inline constexpr int kStatementSize = 65537;
inline constexpr int kXmlNameSize = 64;
inline constexpr int kDataTypeSize = 27;
inline constexpr int kConditionSize = 1008;

enum MappingPurpose : int { kForComposition = 0, kForDecomposition = 1 };
enum XmlItemType : int32_t { QRK_ATTRIBUTE = 0, QRK_TEXT = 1, QRK_ELEMENT = 2 };

struct override_list;  // conditions that a caller of composition passes

struct col2xml_entry {
  char col[129];
  char dataType[kDataTypeSize];  // decomposition only
  char xml[kXmlNameSize];        // attribute name, or name of the element whose text it is
  int32_t xmlType;               // XmlItemType; decomposition only
  int32_t xmlLevel;              // depth of the enclosing element_node; the root has 0
  int32_t col_no;
};

struct join_partner {
  char schema[31];
  char tab[129];
  char col[129];
  int32_t value_col;
};

struct join_info_entry {
  char col[129];
  char type[kDataTypeSize];  // composition only
  int32_t num_join;
  join_partner* foreign;  // num_cond entries; null while there are none
};

struct foreign_key {
  join_info_entry* column;  // the table's own join column
  col2xml_entry* parent;    // the column that supplies value and type; null until found
};

struct key_columns {
  int32_t num;
  char name[kMaxKeyColumns][128];
};

struct join_parameter {
  void* value;
  sqlvar* var;
  int32_t ind;
};

struct tab {
  char schema[31];
  char name[129];
  key_columns pri_key;
  int32_t num_fk;
  foreign_key fk[kMaxForeignKeys];
  int32_t level;
  char top_element[kXmlNameSize];
  char* stmt;  // kStatementSize bytes
  int32_t num_param;
  join_parameter param[16];
  char* orderBy;
  int32_t orderBy_owned;
  SQLHSTMT hstmt;
  sqlda* descriptor;  // "sqlda" in composition
  int32_t num_col;
  int32_t max_col;
  col2xml_entry* col2xml;
  int32_t num_join;
  join_info_entry* join_info;  // num_cond entries, or null
  char condition[kConditionSize];
  int32_t cursor_open;
  int32_t* lengths;
  int16_t* indicators;
};

struct rel {
  int32_t level;
  int32_t num_of_tables;
  int32_t num_cond;
  struct tab* tab[QRK_NUMTAB_IN_REL];
  SQLHDBC hdbc;
  char** top_elements;
};

void qrkSetRel(QrkStruct* ctx, rel* relinfo, const DOM_Element& dad, MappingPurpose purpose);
void qrkProcRel(QrkStruct* ctx, rel* relinfo, const DOM_Element& root, MappingPurpose purpose,
                override_list* overrides = nullptr);
void qrkFreeRel(QrkStruct* ctx, rel* relinfo);

// The first throws QRKQ012E, the second gives null.
tab& qrkFindTabByName(QrkStruct* ctx, rel* relinfo, const char* schema, const char* name);
tab* findTabByName(QrkStruct* ctx, rel* relinfo, const char* schema, const char* name);
join_info_entry* qrkGetJoinInfo(QrkStruct* ctx, tab* table, const char* col);
// Whether `xmlName` is the table's top element or the xml name of one of its columns.
bool isInTab(QrkStruct* ctx, const tab* table, const char* xmlName);
// The table's first column that is mapped to `xmlName`, or -1.
int columnNamed(const tab& table, std::string_view xmlName);

// ---- Queries over the DAD's tree (src/dad/dad_queries.cpp). `itemName` stands in messages.
bool qrkIsNodeMultiOccur(QrkStruct* ctx, const DOM_Element& element);
bool qrkIsNodeIntermediate(QrkStruct* ctx, const DOM_Node& node);
bool qrkIsTrivial(QrkStruct* ctx, const DOM_Element& element);
bool qrkHasChildFromOtherTab(QrkStruct* ctx, const DOM_Element& element, const tab* table,
                             int depth);

// Of the tables compared with the names below an element the last one; null: none was.
struct ComparedTable {
  tab* table = nullptr;
  bool isFound = false;
};
ComparedTable qrkFindTabForIntermediate(QrkStruct* ctx, const DOM_Element& element, rel* relinfo);

struct TableName {
  char schema[31];
  char table[129];
};
// QRKQ010E, QRKQ013E, or a failure without a text whose code is the scanner's.
TableName qrkGetTabFromRDB(QrkStruct* ctx, const char* itemName, const DOM_Element& rdb);
// QRKQ011E or QRKQ033E.
std::string qrkGetColFromRDB(QrkStruct* ctx, const char* itemName, const DOM_Element& rdb);
// QRKQ012E, QRKQ014E, or QRKG017E for a name that no mapped one can equal.
std::string qrkGetEleNameOfTxt(QrkStruct* ctx, const DOM_Element& textNode);

}  // namespace orvxml

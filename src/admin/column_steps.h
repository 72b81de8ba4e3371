// The steps of enabling a column. Each returns 0, or -1 with the code stored in `*rc` and the
// message written to `msg` (1024 bytes).
#pragma once

#include <memory>
#include <string>

#include "orvxml/column_dad.h"

namespace orvxml {

inline constexpr int kSuffixLength = 7;       // of the names of one column's triggers
inline constexpr int kNameAttempts = 26;      // how often the server is asked for a name
inline constexpr size_t kMaxColumnName = 30;  // bytes

// The names of a column, as the catalog has them.
struct ColumnNames {
  std::string schema;
  std::string table;
  std::string column;
};

// What both operations begin with. Each returns 0 or the code of the message.
//
// Splits a table name as the caller wrote it; an empty schema is the connection's default schema.
// QRKQ031E for a name that is too long, QRKA016E for one that is none.
int splitTableName(const Report& report, const char* tableName, ColumnNames& names);
// QRKA017E for a column name that is none.
int parseColumnName(const Report& report, const char* tableName, const char* columnName,
                    ColumnNames& names);

int check_table(QrkStruct* ctx, const char* schema, const char* table, int* rc, char* msg);
// Whether the table has the column.
int hasColumn(const Report& report, const char* schema, const char* table, const char* column,
              bool& exists);
int check_column(QrkStruct* ctx, const char* schema, const char* table, const char* column, int* rc,
                 char* msg);
int createSidetables(QrkStruct* ctx, const dad* model, const char* suffix, const char* rootid,
                     const char* rootid_def, const char* tableSpace, int* rc, char* msg);
int rootidTrigger_BIT(QrkStruct* ctx, const dad* model, const char* schema, const char* suffix,
                      int* rc, char* msg);
int insertTrigger_AIT(QrkStruct* ctx, const dad* model, const char* schema, const char* suffix,
                      const char* rootid, int* rc, char* msg);
int deleteTrigger_ADT(QrkStruct* ctx, const dad* model, const char* schema, const char* suffix,
                      const char* rootid, int* rc, char* msg);
int updateTrigger_AUT(QrkStruct* ctx, const dad* model, const char* schema, const char* suffix,
                      const char* rootid, int* rc, char* msg);
int validationTrigger_VBIT(QrkStruct* ctx, const dad* model, const char* schema, const char* suffix,
                           int* rc, char* msg);
int validationTrigger_VBUT(QrkStruct* ctx, const dad* model, const char* schema, const char* suffix,
                           int* rc, char* msg);
int createDefaultView(QrkStruct* ctx, const dad* model, const char* rootid, const char* schema,
                      const char* table, const char* viewName, int* rc, char* msg);

}  // namespace orvxml

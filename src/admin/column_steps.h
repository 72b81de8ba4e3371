// The steps of enabling a column.
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

// What both operations begin with.
//
// Splits a table name as the caller wrote it into `names`; an empty schema is the connection's
// default schema. QRKQ031E for a name that is too long, QRKA016E for one that is none.
void splitTableName(QrkStruct* ctx, const char* tableName, ColumnNames& names);
// The column's name. QRKA017E for one that is none.
std::string parseColumnName(QrkStruct* ctx, const char* tableName, const char* columnName);

void check_table(QrkStruct* ctx, const char* schema, const char* table);
bool hasColumn(QrkStruct* ctx, const char* schema, const char* table, const char* column);
void check_column(QrkStruct* ctx, const char* schema, const char* table, const char* column);

// What is made for a column: its model, the folded schema, the suffix of its triggers' names, and
// the column of the root ids.
struct ColumnObjects {
  const dad& model;
  const char* schema;
  const char* suffix;
  const char* rootid;
};
// `rootid` empty: the generated root id column; else one of the type `rootidDefinition`.
void createSidetables(QrkStruct* ctx, const dad& model, const char* rootid,
                      const char* rootidDefinition, const char* tableSpace);
void rootidTrigger_BIT(const ColumnObjects& of);
void insertTrigger_AIT(QrkStruct* ctx, const ColumnObjects& of);
void deleteTrigger_ADT(const ColumnObjects& of);
void updateTrigger_AUT(QrkStruct* ctx, const ColumnObjects& of);
void validationTrigger_VBIT(QrkStruct* ctx, const ColumnObjects& of);
void validationTrigger_VBUT(QrkStruct* ctx, const ColumnObjects& of);
void createDefaultView(QrkStruct* ctx, const ColumnObjects& of, const char* table,
                       const char* viewName);

}  // namespace orvxml

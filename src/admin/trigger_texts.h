// The SQL texts of the objects of an enabled column: its side tables, its triggers, its default
// view. They are made from the model of the column's mapping alone.
//
// Names stand in the texts as whoever gave them wrote them: the table and the root id column as the
// caller did, side tables and their columns as the mapping does. Names that come folded (the
// schema, the column, the columns of the table) are delimited where they would not read back as
// they are.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "orvxml/column_dad.h"

namespace orvxml {

inline constexpr char kRootIdColumn[] = "QRKROOT_ID";
inline constexpr char kRejectedState[] = "38X14";  // SQLSTATE of an invalid document

// A folded name as SQL text, delimited unless it is an ordinary identifier.
std::string nameText(std::string_view name);
// Whether a type begins with `word`, ignoring case.
bool typeBegins(const char* type, std::string_view word);
// The word that names the extraction functions for columns of this type: the type itself when the
// values are not extracted as another.
const char* mapType(const char* type);
// Whether the side table has a row for each value, as its first column says. It has columns.
bool isMultiOccurrence(const side_table& table);

// Append what a multi-occurrence side table needs when a document is inserted or updated.
void qrkTriggerInsertStmt(QrkStruct* ctx, std::string& body, const char* columnList,
                          const char* sideTable, const char* rootid, const char* extractType,
                          const char* xmlColumn, const char* path);
void qrkTriggerUpdateStmt(QrkStruct* ctx, std::string& body, const char* columnList,
                          const char* sideTable, const char* rootid, const char* extractType,
                          const char* xmlColumn, const char* path);

// `rootid` null or empty: the generated root id column. `tableSpace` may be empty.
std::string sideTableText(const side_table& table, const char* rootid, const char* rootidDef,
                          const char* tableSpace);
std::string rootidTriggerText(const dad& model, const char* schema, const char* suffix);
std::string insertTriggerText(QrkStruct* ctx, const dad& model, const char* schema,
                              const char* suffix, const char* rootid);
std::string deleteTriggerText(const dad& model, const char* schema, const char* suffix,
                              const char* rootid);
std::string updateTriggerText(QrkStruct* ctx, const dad& model, const char* schema,
                              const char* suffix, const char* rootid);

// What a validation trigger asks about a document: against the DTD of the model, which is written
// into the file `dtdFile` first, or against a schema.
std::string dtdCheckText(const dad& model, const char* dtdFile);
std::string schemaCheckText(const dad& model, const char* location);
// `rejection`: the text that the trigger signals.
std::string insertValidationText(const dad& model, const char* schema, const char* suffix,
                                 const std::string& check, const char* rejection);
std::string updateValidationText(const dad& model, const char* schema, const char* suffix,
                                 const std::string& check, const char* rejection);

// `columns`: those of the table, folded, as are `schema` and `table`.
std::string defaultViewText(const dad& model, const char* viewName, const char* schema,
                            const char* table, const char* rootid,
                            const std::vector<std::string>& columns);

}  // namespace orvxml

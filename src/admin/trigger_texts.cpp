#include "src/admin/trigger_texts.h"

#include <strings.h>

#include <algorithm>

#include "orvxml/code_pages.h"
#include "orvxml/sql_literal.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

namespace {

constexpr char kMode[] = "ORVSQL";

bool isDecimal(const char* type) {
  return typeBegins(type, "decimal");
}

// "(NEWROW.column, 'path'": the arguments of an extraction, without the parenthesis behind them.
std::string extractionArguments(const char* xmlColumn, const char* path) {
  return "(NEWROW." + nameText(xmlColumn) + ", " + literalText(path);
}

std::string triggerName(const char* schema, char letter, const char* suffix) {
  return nameText(schema) + '.' + letter + suffix;
}

std::string notNull(const dad& model) {
  return " WHEN (NEWROW." + nameText(model.columnName) + " IS NOT NULL)";
}

// What stands between the event of a trigger on new rows and its condition.
std::string onNewRows(const dad& model) {
  return std::string(" ON ") + model.tableName + " REFERENCING NEW AS NEWROW FOR EACH ROW MODE " +
         kMode;
}

std::string atomic(const std::string& body) {
  return " BEGIN ATOMIC " + body + " END";
}

// "row.rootid = side.rootid": the rows of a side table that belong to a row.
std::string belongsTo(const char* row, const side_table& table, const char* rootid) {
  return std::string(row) + '.' + rootid + " = " + table.name + '.' + rootid;
}

// The word of the extraction function of a column; with one value a document it is in upper case
// where it is the type itself.
std::string singleWord(QrkStruct* ctx, const char* type) {
  char upper[sizeof side_column::type];
  return mapType(qrk_toupper(ctx, type, upper, sizeof upper) == 0 ? upper : type);
}

// The insertion of the values of one document into a single-occurrence side table.
std::string singleInsertText(QrkStruct* ctx, const dad& model, const side_table& table,
                             const char* rootid) {
  std::string list = std::string(" (") + rootid + ',';
  std::string values = std::string(" VALUES (NEWROW.") + rootid;
  for (const side_column* column = table.columns; column; column = column->next) {
    list.append(column->name).append(",");
    const std::string arguments = extractionArguments(model.columnName, column->path);
    if (isDecimal(column->type)) {
      values += ", CAST(ORVXML.EXTRACTVARCHAR" + arguments + ") AS " + column->type + ')';
    } else {
      values += ", ORVXML.EXTRACT" + singleWord(ctx, column->type) + arguments + ')';
    }
  }
  list.back() = ')';
  return std::string(" INSERT INTO ") + table.name + list + ' ' + values + "); ";
}

std::string singleUpdateText(QrkStruct* ctx, const dad& model, const side_table& table,
                             const char* rootid) {
  std::string text = std::string(" UPDATE ") + table.name + " SET ";
  for (const side_column* column = table.columns; column; column = column->next) {
    if (column != table.columns) text += ", ";
    const std::string arguments = extractionArguments(model.columnName, column->path);
    if (isDecimal(column->type)) {
      text += std::string(column->name) + " = CAST(ORVXML.EXTRACTVARCHAR" + arguments + ") AS " +
              column->type + ')';
    } else {
      text +=
          column->name + (" = orvxml.extract" + singleWord(ctx, column->type)) + arguments + ')';
    }
  }
  return text + " WHERE " + belongsTo("newrow", table, rootid) + "; ";
}

std::string signal(const char* rejection) {
  return std::string("SIGNAL SQLSTATE ") + literalText(kRejectedState) + " (" +
         literalText(rejection) + ')';
}

}  // namespace

std::string nameText(std::string_view name) {
  const auto starts = [](char c) {
    return (c >= 'A' && c <= 'Z') || c == '_' || c == '$' || c == '#' || c == '@';
  };
  const auto continues = [&](char c) { return starts(c) || (c >= '0' && c <= '9'); };
  const bool isOrdinary =
      !name.empty() && starts(name.front()) && std::all_of(name.begin(), name.end(), continues);
  return isOrdinary ? std::string(name) : delimitedName(name);
}

bool typeBegins(const char* type, std::string_view word) {
  return strncasecmp(type, word.data(), word.size()) == 0;
}

const char* mapType(const char* type) {
  if (typeBegins(type, "varchar") || typeBegins(type, "char")) return "Varchar";
  if (isDecimal(type)) return "Double";
  if (typeBegins(type, "clob")) return "Clob";
  return type;
}

bool isMultiOccurrence(const side_table& table) {
  return std::string_view(table.columns->multi_occurrence) != "NO";
}

void qrkTriggerInsertStmt(QrkStruct*, std::string& body, const char*, const char* sideTable,
                          const char* rootid, const char* extractType, const char* xmlColumn,
                          const char* path) {
  body.append(" INSERT INTO ").append(sideTable).append(" SELECT NEWROW.").append(rootid);
  body.append(", orvxml.seqno()");
  const std::string arguments = extractionArguments(xmlColumn, path);
  if (isDecimal(extractType)) {
    body.append(", cast( returnedVarchar as ").append(extractType);
    body.append(") FROM table(orvxml.extractvarchars").append(arguments).append("))  x; ");
  } else {
    const char* const word = mapType(extractType);
    body.append(", returned").append(word).append(" FROM table(orvxml.extract").append(word);
    body.append("s").append(arguments).append(")) x; ");
  }
}

void qrkTriggerUpdateStmt(QrkStruct* ctx, std::string& body, const char* columnList,
                          const char* sideTable, const char* rootid, const char* extractType,
                          const char* xmlColumn, const char* path) {
  body.append("DELETE FROM ").append(sideTable).append(" WHERE newrow.").append(rootid);
  body.append(" = ").append(sideTable).append(".").append(rootid).append("; ");
  qrkTriggerInsertStmt(ctx, body, columnList, sideTable, rootid, extractType, xmlColumn, path);
}

std::string sideTableText(const side_table& table, const char* rootid, const char* rootidDef,
                          const char* tableSpace) {
  const bool hasRootid = rootid && *rootid;
  std::string text = std::string("CREATE TABLE ") + table.name + " (";
  text += hasRootid ? std::string(rootid) + ' ' + rootidDef
                    : std::string(kRootIdColumn) + " CHAR(13) FOR BIT DATA";
  text += " NOT NULL, ";
  if (isMultiOccurrence(table)) text += "QRK_SEQNO integer, ";
  for (const side_column* column = table.columns; column; column = column->next) {
    if (column != table.columns) text += ',';
    text += std::string(column->name) + ' ' + column->type;
    if (typeBegins(column->type, "clob")) text += " not logged";
  }
  text += ')';
  if (*tableSpace) text.append(" IN ").append(tableSpace);
  return text;
}

std::string rootidTriggerText(const dad& model, const char* schema, const char* suffix) {
  const std::string body = std::string(" SET NEWROW.") + kRootIdColumn + "=generate_unique(); ";
  return "CREATE TRIGGER " + triggerName(schema, 'H', suffix) + " NO CASCADE BEFORE INSERT" +
         onNewRows(model) + notNull(model) + atomic(body);
}

std::string insertTriggerText(QrkStruct* ctx, const dad& model, const char* schema,
                              const char* suffix, const char* rootid) {
  std::string body;
  for (const side_table* table = model.sideTables; table; table = table->next) {
    const side_column& first = *table->columns;
    if (isMultiOccurrence(*table)) {
      qrkTriggerInsertStmt(ctx, body, "", table->name, rootid, first.type, model.columnName,
                           first.path);
    } else {
      body += singleInsertText(ctx, model, *table, rootid);
    }
  }
  return "CREATE TRIGGER " + triggerName(schema, 'J', suffix) + " AFTER INSERT" + onNewRows(model) +
         notNull(model) + atomic(body);
}

std::string deleteTriggerText(const dad& model, const char* schema, const char* suffix,
                              const char* rootid) {
  std::string body;
  for (const side_table* table = model.sideTables; table; table = table->next) {
    body += std::string("DELETE FROM ") + table->name + " WHERE " +
            belongsTo("oldrow", *table, rootid) + "; ";
  }
  return "CREATE TRIGGER " + triggerName(schema, 'D', suffix) + " AFTER DELETE ON " +
         model.tableName + " REFERENCING OLD AS OLDROW FOR EACH ROW MODE " + kMode + atomic(body);
}

std::string updateTriggerText(QrkStruct* ctx, const dad& model, const char* schema,
                              const char* suffix, const char* rootid) {
  std::string body;
  for (const side_table* table = model.sideTables; table; table = table->next) {
    const side_column& first = *table->columns;
    if (isMultiOccurrence(*table)) {
      qrkTriggerUpdateStmt(ctx, body, "", table->name, rootid, first.type, model.columnName,
                           first.path);
    } else {
      body += singleUpdateText(ctx, model, *table, rootid);
    }
  }
  return "CREATE TRIGGER " + triggerName(schema, 'U', suffix) + " AFTER UPDATE" + onNewRows(model) +
         notNull(model) + atomic(body);
}

std::string dtdCheckText(const dad& model, const char* dtdFile) {
  const std::string dtdid = literalText(model.dtdid);
  return "SELECT orvxml.validate(NEWROW." + nameText(model.columnName) +
         ", orvxml.Content(content, " + literalText(dtdFile) + "), " + dtdid +
         ") FROM orvxml.dtd_ref WHERE dtdid=" + dtdid;
}

std::string schemaCheckText(const dad& model, const char* location) {
  return "VALUES orvxml.validateschema(NEWROW." + nameText(model.columnName) + ", " +
         literalText(location) + ") ";
}

std::string insertValidationText(const dad& model, const char* schema, const char* suffix,
                                 const std::string& check, const char* rejection) {
  return "CREATE TRIGGER " + triggerName(schema, 'V', suffix) + " NO CASCADE BEFORE INSERT" +
         onNewRows(model) + " WHEN (0 = (" + check + "))" + signal(rejection);
}

std::string updateValidationText(const dad& model, const char* schema, const char* suffix,
                                 const std::string& check, const char* rejection) {
  return "CREATE TRIGGER " + triggerName(schema, 'W', suffix) + " NO CASCADE BEFORE UPDATE OF " +
         nameText(model.columnName) + onNewRows(model) + " WHEN (0 = (" + check + ")) " +
         signal(rejection);
}

std::string defaultViewText(const dad& model, const char* viewName, const char* schema,
                            const char* table, const char* rootid,
                            const std::vector<std::string>& columns) {
  const std::string qualified = nameText(schema) + '.' + nameText(table);
  std::string own, side, from, condition;
  for (const std::string& column : columns) own += qualified + '.' + nameText(column) + ',';
  for (const side_table* t = model.sideTables; t; t = t->next) {
    from.append(t->name).append(",");
    if (!condition.empty()) condition += " AND ";
    condition += qualified + '.' + rootid + '=' + t->name + '.' + rootid;
    for (const side_column* c = t->columns; c; c = c->next) {
      if (!side.empty()) side += ',';
      side.append(t->name).append(".").append(c->name);
    }
  }
  return std::string("CREATE VIEW ") + viewName + " AS SELECT " + own + ' ' + side + "  FROM " +
         from + qualified + " WHERE " + condition + ' ';
}

}  // namespace orvxml

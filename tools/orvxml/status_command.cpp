#include "status_command.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <vector>

#include "console.h"
#include "open_database.h"
#include "orvxml/sql_literal.h"
#include "result_writer.h"
#include "text_layout.h"
#include "usage.h"

namespace orvxml::command {

namespace {

using Names = std::vector<std::string>;

struct EnabledColumn {
  std::string table, column, dtd, view;
  bool isValidated = false;
  std::optional<Names> sideTables;  // nothing: its mapping cannot be read
  Names triggers;
};

struct Collection {
  std::string name, dtd;
  bool isValidated = false;
};

struct Dtd {
  std::string id;
  std::string uses;
};

struct Status {
  std::string database;
  int codePage = 0;
  bool isEnabled = false;
  std::vector<EnabledColumn> columns;
  std::vector<Collection> collections;
  std::vector<Dtd> dtds;
};

// The side tables that a column's mapping names; nothing, and a warning, when it cannot be read.
std::optional<Names> sideTablesOf(const Usage& usage) {
  const ColumnMapping mapping = readColumnMapping(usage.mapping);
  if (!mapping.model) {
    printMessage("", "warning: the mapping of column " + usage.name + " of " +
                         usage.qualifiedTable() + " cannot be read: " + mapping.message);
    return std::nullopt;
  }
  Names names;
  for (const side_table* table = mapping.model->sideTables; table; table = table->next) {
    names.emplace_back(table->name);
  }
  return names;
}

class StatusReader {
 public:
  explicit StatusReader(const Settings& settings)
      : database_(settings.database), session_(openDatabase(settings)) {}

  Status read() {
    Status status;
    status.database = database_;
    status.codePage = session_->codePage();
    status.isEnabled = isEnabled(*session_, database_);
    if (!status.isEnabled) return status;
    takeUsage(status);
    for (const auto& row : rows("SELECT dtdid, usage_count FROM orvxml.dtd_ref ORDER BY dtdid")) {
      status.dtds.push_back({row[0].value_or(""), row[1].value_or("")});
    }
    return status;
  }

 private:
  std::vector<std::vector<orv::ResultValue>> rows(const std::string& query) {
    return runStatement(*session_, database_, query).rows;
  }

  void takeUsage(Status& status) {
    for (const Usage& usage : readUsage(*session_, database_)) {
      if (usage.isCollection) {
        status.collections.push_back({usage.name, usage.dtd, usage.isValidated});
        continue;
      }
      status.columns.push_back({usage.qualifiedTable(), usage.name, usage.dtd, usage.view,
                                usage.isValidated, sideTablesOf(usage),
                                triggers(usage.schema, usage.suffix)});
    }
  }

  // A column's triggers have one letter in front of its suffix.
  Names triggers(const std::string& schema, const std::string& suffix) {
    Names names;
    for (const auto& row :
         rows("SELECT trigname FROM syscat.triggers WHERE trigschema = " + literalText(schema) +
              " AND trigname LIKE " + literalText('_' + suffix) + " ORDER BY trigname")) {
      names.push_back(row[0].value_or(""));
    }
    return names;
  }

  const std::string& database_;
  std::unique_ptr<orv::Session> session_;
};

// Text columns of these names, and rows of them.
void printTable(const Names& titles, const std::vector<Names>& lines) {
  std::vector<orv::ResultColumn> columns;
  for (const std::string& title : titles) {
    columns.push_back({title, "", orv::ColumnClass::Text});
  }
  const std::unique_ptr<ResultWriter> writer = makeResultWriter(ResultFormat::Table, stdout);
  writer->begin(columns);
  for (const Names& line : lines) writer->row({line.begin(), line.end()});
  writer->end();
}

const char* yesNo(bool yes) {
  return yes ? "yes" : "no";
}

// A line for each side table and each trigger; the first has the rest.
void addLines(const EnabledColumn& column, std::vector<Names>& lines) {
  const auto at = [](const Names& names, size_t i) { return i < names.size() ? names[i] : ""; };
  const Names sideTables = column.sideTables.value_or(Names{"?"});
  lines.push_back({column.table, column.column, at(sideTables, 0), at(column.triggers, 0),
                   column.view, column.dtd, yesNo(column.isValidated)});
  const size_t count = std::max(sideTables.size(), column.triggers.size());
  for (size_t i = 1; i < count; ++i) {
    lines.push_back({"", "", at(sideTables, i), at(column.triggers, i), "", "", ""});
  }
}

void printText(const Status& status) {
  std::printf("database: %s\ncode page: %d\nenabled: %s\n", onOneLine(status.database).c_str(),
              status.codePage, yesNo(status.isEnabled));
  std::vector<Names> lines;
  for (const EnabledColumn& column : status.columns) addLines(column, lines);
  if (!lines.empty()) {
    std::printf("\n");
    printTable({"TABLE", "COLUMN", "SIDE TABLES", "TRIGGERS", "VIEW", "DTD", "VALIDATED"}, lines);
  }
  lines.clear();
  for (const Collection& collection : status.collections) {
    lines.push_back({collection.name, collection.dtd, yesNo(collection.isValidated)});
  }
  if (!lines.empty()) {
    std::printf("\n");
    printTable({"COLLECTION", "DTD", "VALIDATED"}, lines);
  }
  lines.clear();
  for (const Dtd& dtd : status.dtds) lines.push_back({dtd.id, dtd.uses});
  if (!lines.empty()) {
    std::printf("\n");
    printTable({"DTD", "USES"}, lines);
  }
}

std::string nameOrNull(const std::string& name) {
  return name.empty() ? "null" : jsonString(name);
}

template <class Items, class Text>
std::string jsonArray(const Items& items, Text text) {
  std::string array = "[";
  for (const auto& item : items) array += (array.size() > 1 ? ", " : "") + text(item);
  return array + ']';
}

std::string jsonBool(bool value) {
  return value ? "true" : "false";
}

std::string json(const EnabledColumn& column) {
  return "{\"table\": " + jsonString(column.table) + ", \"column\": " + jsonString(column.column) +
         ", \"sideTables\": " +
         (column.sideTables ? jsonArray(*column.sideTables, jsonString) : "null") +
         ", \"triggers\": " + jsonArray(column.triggers, jsonString) +
         ", \"view\": " + nameOrNull(column.view) + ", \"dtd\": " + nameOrNull(column.dtd) +
         ", \"validated\": " + jsonBool(column.isValidated) + '}';
}

std::string json(const Collection& collection) {
  return "{\"collection\": " + jsonString(collection.name) +
         ", \"dtd\": " + nameOrNull(collection.dtd) +
         ", \"validated\": " + jsonBool(collection.isValidated) + '}';
}

std::string json(const Dtd& dtd) {
  return "{\"dtd\": " + jsonString(dtd.id) + ", \"uses\": " + dtd.uses + '}';
}

void printJson(const Status& status) {
  const auto array = [](const auto& items) {
    return jsonArray(items, [](const auto& item) { return json(item); });
  };
  std::printf(
      "{\"database\": %s, \"codePage\": %d, \"enabled\": %s, \"columns\": %s, "
      "\"collections\": %s, \"dtds\": %s}\n",
      jsonString(status.database).c_str(), status.codePage, jsonBool(status.isEnabled).c_str(),
      array(status.columns).c_str(), array(status.collections).c_str(), array(status.dtds).c_str());
}

}  // namespace

void showStatus(const Settings& settings) {
  const Status status = StatusReader(settings).read();
  settings.json ? printJson(status) : printText(status);
}

}  // namespace orvxml::command

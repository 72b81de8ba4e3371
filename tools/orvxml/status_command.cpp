#include "status_command.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <vector>

#include "database.h"
#include "local_context.h"
#include "orvxml/extraction.h"
#include "result_writer.h"
#include "text_layout.h"

namespace orvxml::command {

namespace {

using Names = std::vector<std::string>;

struct EnabledColumn {
  std::string table, column, dtd, view;
  bool isValidated = false;
  Names sideTables, triggers;
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

// Columns of fixed length are padded.
std::string trimmed(const orv::ResultValue& value) {
  std::string text = value.value_or("");
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

// Extraction gives attribute values as they stand between quotation marks.
std::string withoutEntities(std::string text) {
  static constexpr std::pair<std::string_view, char> kEntities[] = {
      {"&quot;", '"'}, {"&apos;", '\''}, {"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}};
  for (size_t at = text.find('&'); at != std::string::npos; at = text.find('&', at + 1)) {
    for (const auto& [entity, character] : kEntities) {
      if (text.compare(at, entity.size(), entity) != 0) continue;
      text.replace(at, entity.size(), 1, character);
      break;
    }
  }
  return text;
}

// The side tables that a column's mapping names.
Names sideTablesOf(std::string dad) {
  LocalContext context;
  char path[] = "//table/@name";
  QrkExtractResult result{};
  if (extractAll(context.get(), dad.data(), 1, 1, kExtractText, path, &result, INT_MAX,
                 context.sqlState, context.message) != 0) {
    throw Failure("mapping of an enabled column", context.message);
  }
  Names names;
  for (char** name = result.values; *name != nullptr; ++name) {
    names.push_back(withoutEntities(*name));
  }
  qrkFreeArray(context.get(), &result);
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
    readUsage(status);
    for (const auto& row : rows("SELECT dtdid, usage_count FROM orvxml.dtd_ref ORDER BY dtdid")) {
      status.dtds.push_back({row[0].value_or(""), row[1].value_or("")});
    }
    return status;
  }

 private:
  std::vector<std::vector<orv::ResultValue>> rows(const std::string& query) {
    return runStatement(*session_, database_, query).rows;
  }

  void readUsage(Status& status) {
    for (const auto& row :
         rows("SELECT table_schema, table_name, col_name, dtdid, validation, default_view, "
              "trigger_suffix, dad FROM orvxml.xml_usage "
              "ORDER BY table_schema, table_name, col_name")) {
      const bool isValidated = row[4].value_or("0") != "0";
      if (trimmed(row[1]) == "QRK_COLLECTION") {
        status.collections.push_back({trimmed(row[2]), trimmed(row[3]), isValidated});
        continue;
      }
      status.columns.push_back({trimmed(row[0]) + '.' + trimmed(row[1]), trimmed(row[2]),
                                trimmed(row[3]), trimmed(row[5]), isValidated,
                                sideTablesOf(row[7].value_or("")),
                                triggers(trimmed(row[0]), trimmed(row[6]))});
    }
  }

  // A column's triggers have one letter in front of its suffix.
  Names triggers(const std::string& schema, const std::string& suffix) {
    Names names;
    for (const auto& row :
         rows("SELECT trigname FROM syscat.triggers WHERE trigschema = " + sqlLiteral(schema) +
              " AND trigname LIKE " + sqlLiteral('_' + suffix) + " ORDER BY trigname")) {
      names.push_back(trimmed(row[0]));
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
  lines.push_back({column.table, column.column, at(column.sideTables, 0), at(column.triggers, 0),
                   column.view, column.dtd, yesNo(column.isValidated)});
  const size_t count = std::max(column.sideTables.size(), column.triggers.size());
  for (size_t i = 1; i < count; ++i) {
    lines.push_back({"", "", at(column.sideTables, i), at(column.triggers, i), "", "", ""});
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
         ", \"sideTables\": " + jsonArray(column.sideTables, jsonString) +
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

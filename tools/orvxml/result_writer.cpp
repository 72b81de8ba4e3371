#include "result_writer.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "text_layout.h"

namespace orvxml::command {

namespace {

using orv::ColumnClass;
using orv::ResultColumn;
using orv::ResultValue;

void put(std::FILE* out, std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), out);
}

class TableWriter : public ResultWriter {
 public:
  explicit TableWriter(std::FILE* out) : out_(out) {}

  void begin(const std::vector<ResultColumn>& columns) override {
    columns_ = columns;
    rows_.clear();
    widths_.clear();
    std::vector<std::string> names;
    names.reserve(columns.size());
    for (const ResultColumn& column : columns) names.push_back(onOneLine(column.name));
    for (const std::string& name : names) widths_.push_back(displayWidth(name));
    rows_.push_back(std::move(names));
  }

  void row(const std::vector<ResultValue>& values) override {
    std::vector<std::string> cells(values.size());
    for (size_t i = 0; i < values.size(); ++i) {
      cells[i] = shown(values[i], columns_[i]);
      widths_[i] = std::max(widths_[i], displayWidth(cells[i]));
    }
    rows_.push_back(std::move(cells));
  }

  void end() override {
    for (size_t i = 0; i < rows_.size(); ++i) {
      put(out_, line(rows_[i]));
      if (i == 0) put(out_, rule());
    }
    rows_.clear();
  }

 private:
  static std::string shown(const ResultValue& value, const ResultColumn& column) {
    if (!value) return "NULL";
    return column.columnClass == ColumnClass::Binary ? hexDigits(*value) : onOneLine(*value);
  }

  std::string line(const std::vector<std::string>& cells) const {
    std::string text;
    for (size_t i = 0; i < cells.size(); ++i) {
      if (i > 0) text += " | ";
      const std::string blanks(widths_[i] - displayWidth(cells[i]), ' ');
      text +=
          columns_[i].columnClass == ColumnClass::Number ? blanks + cells[i] : cells[i] + blanks;
    }
    text.erase(text.find_last_not_of(' ') + 1);
    return text + '\n';
  }

  std::string rule() const {
    std::string text;
    for (size_t i = 0; i < widths_.size(); ++i) {
      if (i > 0) text += "-+-";
      text.append(widths_[i], '-');
    }
    return text + '\n';
  }

  std::FILE* out_;
  std::vector<ResultColumn> columns_;
  std::vector<std::vector<std::string>> rows_;  // the first holds the column names
  std::vector<size_t> widths_;
};

class CsvWriter : public ResultWriter {
 public:
  explicit CsvWriter(std::FILE* out) : out_(out) {}

  void begin(const std::vector<ResultColumn>& columns) override {
    columns_ = columns;
    for (size_t i = 0; i < columns.size(); ++i) putField(i, columns[i].name);
    put(out_, "\r\n");
  }

  void row(const std::vector<ResultValue>& values) override {
    for (size_t i = 0; i < values.size(); ++i) {
      const bool binary = values[i] && columns_[i].columnClass == ColumnClass::Binary;
      putField(i, binary ? ResultValue(hexDigits(*values[i])) : values[i]);
    }
    put(out_, "\r\n");
  }

  void end() override {}

 private:
  void putField(size_t position, const ResultValue& value) {
    if (position > 0) put(out_, ",");
    if (!value) return;
    if (!value->empty() && value->find_first_of(",\"\r\n") == std::string::npos) {
      put(out_, *value);
      return;
    }
    std::string quoted = "\"";
    for (const char c : *value) quoted.append(c == '"' ? 2 : 1, c);
    put(out_, quoted + '"');
  }

  std::FILE* out_;
  std::vector<ResultColumn> columns_;
};

size_t skipDigits(std::string_view text, size_t at) {
  while (at < text.size() && text[at] >= '0' && text[at] <= '9') ++at;
  return at;
}

// number: ["-"] ("0" | digit1-9 {digit}) ["." digit {digit}] [("e"|"E") ["+"|"-"] digit {digit}]
bool isJsonNumber(std::string_view text) {
  size_t at = text.starts_with('-') ? 1 : 0;
  const size_t whole = at;
  at = skipDigits(text, at);
  if (at == whole || (text[whole] == '0' && at > whole + 1)) return false;
  if (at < text.size() && text[at] == '.') {
    const size_t fraction = at + 1;
    at = skipDigits(text, fraction);
    if (at == fraction) return false;
  }
  if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
    size_t exponent = at + 1;
    if (exponent < text.size() && (text[exponent] == '+' || text[exponent] == '-')) ++exponent;
    at = skipDigits(text, exponent);
    if (at == exponent) return false;
  }
  return at == text.size();
}

class JsonWriter : public ResultWriter {
 public:
  explicit JsonWriter(std::FILE* out) : out_(out) {}

  void begin(const std::vector<ResultColumn>& columns) override {
    columns_ = columns;
    keys_.clear();
    std::set<std::string> used;
    for (const ResultColumn& column : columns) {
      std::string key = column.name;
      // Two columns of one name stay two members.
      for (int n = 2; !used.insert(key).second; ++n) key = column.name + '_' + std::to_string(n);
      keys_.push_back(jsonString(key));
    }
    put(out_, "[");
    first_ = true;
  }

  void row(const std::vector<ResultValue>& values) override {
    std::string text = first_ ? "\n  {" : ",\n  {";
    for (size_t i = 0; i < values.size(); ++i) {
      if (i > 0) text += ", ";
      text += keys_[i] + ": " + json(values[i], columns_[i].columnClass);
    }
    put(out_, text + '}');
    first_ = false;
  }

  void end() override { put(out_, first_ ? "]\n" : "\n]\n"); }

 private:
  static std::string json(const ResultValue& value, ColumnClass columnClass) {
    if (!value) return "null";
    if (columnClass == ColumnClass::Binary) return jsonString(hexDigits(*value));
    if (columnClass == ColumnClass::Number && isJsonNumber(*value)) return *value;
    return jsonString(*value);
  }

  std::FILE* out_;
  std::vector<ResultColumn> columns_;
  std::vector<std::string> keys_;
  bool first_ = true;
};

}  // namespace

std::string jsonString(std::string_view utf8) {
  using nlohmann::json;
  return json(utf8).dump(-1, ' ', false, json::error_handler_t::replace);
}

std::unique_ptr<ResultWriter> makeResultWriter(ResultFormat format, std::FILE* out) {
  switch (format) {
    case ResultFormat::Csv:
      return std::make_unique<CsvWriter>(out);
    case ResultFormat::Json:
      return std::make_unique<JsonWriter>(out);
    default:
      return std::make_unique<TableWriter>(out);
  }
}

}  // namespace orvxml::command

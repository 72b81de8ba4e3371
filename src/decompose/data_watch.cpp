#include "src/decompose/data_watch.h"

#include <algorithm>
#include <cctype>
#include <initializer_list>

#include "orvxml/code_pages.h"
#include "orvxml/messages.h"
#include "orvxml/target_table.h"
#include "src/dad/element_order.h"
#include "src/decompose/untaken_data.h"

namespace orvxml {

namespace {

constexpr size_t kMostRowBytes = 240;  // of a row in a message

// Whole, where shownText cuts; empty when it does not convert.
std::string inUtf8(QrkStruct* ctx, std::string_view databaseText) {
  std::u16string units;
  return toUtf16(ctx, databaseText, units) ? textForMessage(nullptr, units) : std::string();
}

std::vector<bool> filledColumns(const tab& table, RowList& rows) {
  std::vector<bool> filled(static_cast<size_t>(table.num_col));
  for (int r = 0; r < rows.count(); ++r) {
    for (size_t c = 0; c < filled.size(); ++c) {
      if (rows.row(r)[c].text) filled[c] = true;
    }
  }
  return filled;
}

bool overlap(const std::vector<bool>& a, const std::vector<bool>& b) {
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i] && b[i]) return true;
  }
  return false;
}

}  // namespace

DataWatch::DataWatch(NoticeListener& listener, QrkStruct* ctx, const rel& model,
                     const DOM_Element& top, const Element* root)
    : listener_(listener),
      ctx_(ctx),
      model_(model),
      root_(root),
      values_(ctx, model, top),
      warnings_(listener, ctx, model),
      rowCounts_(static_cast<size_t>(model.num_of_tables)) {}

// ---- What the walk does

void DataWatch::leafTaken(const Element* leaf, int table) {
  std::vector<int>& takers = takers_[leaf];
  if (std::find(takers.begin(), takers.end(), table) == takers.end()) takers.push_back(table);
}

// A table whose rows come from two places, no column of the one being filled at the other: what
// stands together in the document, stands in two rows.
void DataWatch::rowsCollected(int table, const Element* dadElement, RowList& rows) {
  if (rows.count() == 0) return;
  rowCounts_[static_cast<size_t>(table)] += static_cast<size_t>(rows.count());
  if (dadElement == values_.top() && rows.count() == 1) {
    rootTable_ = table;
    for (int c = 0; c < model_.tab[table]->num_col; ++c)
      rootRow_.push_back(inUtf8(ctx_, rows.row(0)[c].view()));
  }
  Visit visit{dadElement, filledColumns(*model_.tab[table], rows)};
  for (const Visit& before : visits_[table]) {
    if (overlap(before.columns, visit.columns)) continue;
    warnings_.warn("record-in-two-rows", table, -1, rows.origin(0).begun, dadElement, [&] {
      return "the values of '" + shown(dadElement->getAttribute(u"name")) +
             "' make rows of their own, beside those of '" +
             shown(before.dadElement->getAttribute(u"name")) + "', which lack them";
    });
    break;
  }
  visits_[table].push_back(std::move(visit));
}

void DataWatch::rowMixed(int table, int column, const Element* source) {
  const MappedValue* value = values_.of(table, column);
  warnings_.warn("values-of-two-occurrences", table, column, source, value ? value->leaf : nullptr,
                 [&] {
                   return "the value of '" + shown(source->getTagName()) +
                          "' went into the row that another '" +
                          text(model_.tab[table]->top_element) + "' began";
                 });
}

bool DataWatch::isMeant(const foreign_key& key, const Element* holder, bool isJoin) const {
  const int table = values_.tableOf(key.parent);
  for (const MappedValue& value : values_.all()) {
    if (value.table != table ||
        std::string_view(model_.tab[table]->col2xml[value.column].col) != key.parent->col) {
      continue;
    }
    const Element* element = value.element;
    if (values_.isAt(holder, element)) return true;
    while (isJoin && element != values_.top()) {
      element = static_cast<const Element*>(element->getParentNode());
      if (values_.isAt(holder, element)) return true;
    }
  }
  return false;
}

void DataWatch::keyInBetween(int table, const foreign_key& key, const Element* holder,
                             const Element* source) {
  const int parent = values_.tableOf(key.parent);
  const MappedValue* meant =
      values_.of(parent, static_cast<int>(key.parent - model_.tab[parent]->col2xml));
  // The number of the key's column tells the columns apart; it is none of the mapped ones.
  const auto column = static_cast<int>(&key - model_.tab[table]->fk);
  warnings_.warn(
      "key-from-in-between", table, -2 - column, source, meant ? meant->leaf : nullptr, [&] {
        return "column " + text(key.column->col) + " takes its value from '" +
               shown(holder->getTagName()) + "' (" + std::to_string(elementNumber(holder)) +
               ". element), not from where " + placeInTable(ctx_, *model_.tab[parent], -1) +
               ", column " + text(key.parent->col) + " is mapped";
      });
}

// ---- Where the failure lies

void DataWatch::failedAt(const std::string& text, const Element* source, const Element* dadNode) {
  Notice notice;
  notice.kind = Notice::kPlace;
  notice.rule = "document";
  if (source) notice.text = "element '" + shown(source->getTagName()) + "', ";
  notice.text += text;
  notice.documentElement = elementNumber(source);
  notice.mappingElement = elementNumber(dadNode);
  listener_.notice(notice);
}

void DataWatch::failedAt(int table, int column, std::string_view value, const Element* source) {
  std::string place = placeInTable(ctx_, *model_.tab[table], column);
  if (!value.empty()) place += ", value " + quotedValue(ctx_, value);
  failedAt(place, source);
}

void DataWatch::unconvertible(int table, int column, const Element* source) {
  failedAt(placeInTable(ctx_, *model_.tab[table], column) +
               ": the value has a character that the database's code page lacks",
           source);
}

void DataWatch::failedWhole(int table, int column, int code, const Element* source) {
  if (code != codeOf(Msg::QRKG002E)) return unconvertible(table, column, source);
  failedAt(placeInTable(ctx_, *model_.tab[table], column) +
               ": the element is stored whole, and a start tag in it has 1024 characters or more, "
               "or memory is used up",
           source);
}

// The table that comes by is another one than the table that the mapping means.
void DataWatch::unknownItem(int table, const Element* source, const Element* dadElement) {
  for (const MappedValue& value : values_.all()) {
    if (value.element == dadElement && !value.isAttribute()) table = value.table;
  }
  failedAt("the mapping puts a value of " + placeInTable(ctx_, *model_.tab[table], -1) +
               " outside of '" + text(model_.tab[table]->top_element) +
               "', the element that it takes its rows from",
           source, dadElement);
}

void DataWatch::nameTooLong(int table, const Element* source, size_t limit) {
  failedAt(
      placeInTable(ctx_, *model_.tab[table], -1) + ": the name of an element that stands below '" +
          text(model_.tab[table]->top_element) + "' and has a mapped attribute is longer than " +
          std::to_string(limit) + " characters, or does not convert",
      source);
}

void DataWatch::withoutAncestor(int table, const Element* source) {
  const std::string differs = rootText();
  failedAt(placeInTable(ctx_, *model_.tab[table], -1) + (differs.empty() ? "" : ": " + differs),
           source);
}

std::string DataWatch::rowText(int table, RowList& rows, int row) const {
  const tab& mapped = *model_.tab[table];
  std::string text;
  for (int i = 0; i < mapped.num_col + mapped.num_fk && text.size() < kMostRowBytes; ++i) {
    const Value& value = rows.row(row)[i];
    text += text.empty() ? "row (" : ", ";
    text += shownText(ctx_, i < mapped.num_col ? mapped.col2xml[i].col
                                               : mapped.fk[i - mapped.num_col].column->col);
    text += value.text ? " " + quotedValue(ctx_, value.view()) : " null";
  }
  return text.size() < kMostRowBytes ? text + ')' : text + ", ...)";
}

void DataWatch::rowRefused(int table, RowList& rows, int row, int parameter) {
  const tab& mapped = *model_.tab[table];
  if (parameter < 0) {
    return failedAt(placeInTable(ctx_, mapped, -1) + ", " + rowText(table, rows, row),
                    rows.origin(row).begun);
  }
  const std::string_view value = rows.row(row)[parameter].view();
  if (parameter < mapped.num_col) {
    const Element* source = rows.origin(row).values[parameter];
    return failedAt(table, parameter, value, source ? source : rows.origin(row).begun);
  }
  failedAt(placeInTable(ctx_, mapped, -1) + ", column " +
               text(mapped.fk[parameter - mapped.num_col].column->col) + ", value " +
               quotedValue(ctx_, value),
           rows.origin(row).begun);
}

std::string DataWatch::rootText() const {
  const std::u16string_view mapped = values_.top()->getAttribute(u"name");
  const std::u16string_view actual = root_->getTagName();
  if (mapped == actual) return {};
  return "the document's root is '" + shown(actual) + "', the mapping's '" + shown(mapped) + "'";
}

// ---- Where the document can be found again

std::string DataWatch::pathOf(const MappedValue& value) const {
  std::string path;
  for (const Element* at = value.element; at;
       at = static_cast<const Element*>(at->getParentNode())) {
    path.insert(0, '/' + textForMessage(nullptr, at->getAttribute(u"name")));
    if (at == values_.top()) break;
  }
  if (value.isAttribute()) {
    path += "/@" + textForMessage(nullptr, value.leaf->getAttribute(u"name"));
  }
  return path;
}

// A condition of an override; empty where the type has no literal that is sure to compare.
std::string DataWatch::conditionOn(const MappedValue& value, const std::string& text) const {
  constexpr size_t kLongest = 200;  // bytes; a key is no longer
  if (text.empty() || text.size() > kLongest) return {};
  std::string type = model_.tab[value.table]->col2xml[value.column].dataType;
  for (char& c : type) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  const auto isOf = [&](std::initializer_list<const char*> names) {
    return std::any_of(names.begin(), names.end(),
                       [&](const char* name) { return type.starts_with(name); });
  };
  std::string literal;
  if (isOf({"CHAR", "VARCHAR", "DATE", "TIME"})) {
    literal = "'";
    for (const char c : text) literal.append(c == '\'' ? 2 : 1, c);
    literal += '\'';
  } else if (isOf({"INT", "SMALLINT", "BIGINT", "DEC", "NUM"}) &&
             text.find_first_not_of("0123456789+-.") == text.npos) {
    literal = text;
  } else {
    return {};
  }
  return pathOf(value) + " = " + literal;
}

// By the key of the root's table, or by all of its row where the mapping has no key.
void DataWatch::tellOrigin() {
  Notice notice;
  notice.kind = Notice::kOrigin;
  for (const MappedValue& value : values_.all()) {
    const tab& table = *model_.tab[value.table];
    const auto column = static_cast<size_t>(value.column);
    if (value.table != rootTable_ || column >= rootRow_.size()) continue;
    const char* name = table.col2xml[value.column].col;
    if (table.pri_key.num > 0 && !isPriKey(ctx_, name, &table.pri_key)) continue;
    const std::string condition = conditionOn(value, rootRow_[column]);
    if (condition.empty()) continue;
    notice.text += (notice.text.empty() ? "" : " AND ") + condition;
  }
  listener_.notice(notice);
}

// ---- The end

void DataWatch::end() {
  if (const std::string differs = rootText(); !differs.empty()) {
    Notice notice;
    notice.rule = "other-root";
    notice.text = differs;
    notice.documentElement = 1;
    notice.mappingElement = elementNumber(values_.top());
    listener_.notice(notice);
  }
  UntakenData untaken(ctx_, model_, values_, takers_, warnings_);
  untaken.findIn(root_);
  warnings_.tellCounts();
  Notice notice;
  notice.rule = "not-taken";
  notice.text = untaken.text(rowCounts_);
  if (!notice.text.empty()) listener_.notice(notice);
  tellOrigin();
}

}  // namespace orvxml

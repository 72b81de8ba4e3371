#include "src/decompose/data_watch.h"

#include <algorithm>
#include <cctype>
#include <initializer_list>

#include "orvxml/code_pages.h"
#include "orvxml/messages.h"
#include "orvxml/sql_literal.h"
#include "src/dad/dad_walk.h"
#include "src/dad/element_order.h"
#include "src/dad/trap_rules.h"
#include "src/decompose/target_table.h"
#include "src/decompose/untaken_data.h"

namespace orvxml {

namespace {

constexpr size_t kMostRowBytes = 240;  // of a row in a message

// Whole, where shownText cuts; empty when it does not convert.
std::string inUtf8(QrkStruct* ctx, std::string_view databaseText) {
  std::u16string units;
  return toUtf16(ctx, databaseText, units) ? textForMessage(nullptr, units) : std::string();
}

// An element of the document as notices name one of the mapping.
std::string shownTag(const xercesc::DOMElement* element) {
  return '<' + shown(element->getTagName()) + '>';
}

const xercesc::DOMElement* parentElement(const xercesc::DOMNode* node) {
  const xercesc::DOMNode* parent = node->getParentNode();
  return parent && parent->getNodeType() == xercesc::DOMNode::ELEMENT_NODE
             ? dadtree::asElement(parent)
             : nullptr;
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
      root_(root),
      survey_(ctx, model, top, kForDecomposition),
      warnings_(listener, survey_),
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
  if (dadElement == top() && rows.count() == 1) {
    rootTable_ = table;
    for (int c = 0; c < survey_.table(table).num_col; ++c)
      rootRow_.push_back(inUtf8(ctx_, rows.row(0)[c].view()));
  }
  Visit visit{dadElement, filledColumns(survey_.table(table), rows)};
  for (const Visit& before : visits_[table]) {
    if (overlap(before.columns, visit.columns)) continue;
    warnings_.warn("record-in-two-rows", table, -1, rows.origin(0).begun, dadElement, [&] {
      return "the values of " + shownElement(dadElement) +
             " make rows of their own, beside those of " + shownElement(before.dadElement) +
             ", which lack them";
    });
    break;
  }
  visits_[table].push_back(std::move(visit));
}

void DataWatch::rowMixed(int table, int column, const Element* source) {
  const MappedLeaf* leaf = survey_.leafOf(&survey_.table(table).col2xml[column]);
  warnings_.warn("values-of-two-occurrences", table, column, source, leaf ? leaf->node : nullptr,
                 [&] {
                   return "the value of " + shownTag(source) + " went into the row that another <" +
                          text(survey_.table(table).top_element) + "> began";
                 });
}

// The same names up to the root, whose own name does not count.
bool DataWatch::isAt(const xercesc::DOMNode* node, const Element* element) const {
  for (; element != top(); element = parentElement(element)) {
    if (!element || !node || node->getNodeType() != xercesc::DOMNode::ELEMENT_NODE) return false;
    if (std::u16string_view(element->getAttribute(u"name")) != node->getNodeName()) return false;
    node = node->getParentNode();
  }
  return node == root_;
}

bool DataWatch::isMeant(const foreign_key& key, const Element* holder, bool isJoin) const {
  const MappedLeaf* parent = survey_.leafOf(key.parent);
  if (!parent) return true;
  for (const MappedLeaf& leaf : survey_.leaves()) {
    const tab& table = survey_.table(leaf.table);
    if (leaf.table != parent->table ||
        std::string_view(table.col2xml[leaf.column].col) != key.parent->col) {
      continue;
    }
    const Element* element = leaf.element;
    if (isAt(holder, element)) return true;
    while (isJoin && element != top()) {
      element = parentElement(element);
      if (isAt(holder, element)) return true;
    }
  }
  return false;
}

bool DataWatch::isRowOf(const foreign_key& key, const xercesc::DOMNode* node) const {
  const MappedLeaf* parent = survey_.leafOf(key.parent);
  const Element* row = parent ? survey_.rowElement(parent->table) : nullptr;
  return row && dadtree::isAncestor(row, parent->element) && isAt(node, row);
}

void DataWatch::strayKey(int table, const foreign_key& key, const Element* holder, bool hasLeftRow,
                         const Element* source) {
  const MappedLeaf* parent = survey_.leafOf(key.parent);
  // The number of the key's column tells the columns apart; it is none of the mapped ones.
  const auto column = static_cast<int>(&key - survey_.table(table).fk);
  warnings_.warn("key-from-in-between", table, -2 - column, source, parent->node, [&] {
    return "column " + text(key.column->col) + " takes its value from " + shownTag(holder) + " (" +
           std::to_string(elementNumber(holder)) + ". element), not from " +
           (hasLeftRow ? "the " + shownElement(survey_.rowElement(parent->table)) + " around it"
                       : "where " + placeText(parent->table, parent->column) + " is mapped");
  });
}

// ---- Where a failure lies

void DataWatch::locate(Failure& failure, const std::string& text, const Element* source) {
  const std::string element =
      source ? "element '" + shown(source->getTagName()) + "', " : std::string();
  failure.atElement(FailureText::kDocument, elementNumber(source), element + text);
}

void DataWatch::inTable(Failure& failure, int table, const Element* source, int column,
                        std::string_view value) const {
  std::string place = placeText(table, column);
  if (!value.empty()) place += ", value " + quotedValue(ctx_, value);
  locate(failure, place, source);
}

void DataWatch::unconvertible(Failure& failure, int table, int column,
                              const Element* source) const {
  locate(
      failure,
      placeText(table, column) + ": the value has a character that the database's code page lacks",
      source);
}

void DataWatch::failedWhole(Failure& failure, int table, int column, const Element* source) const {
  if (failure.code() != codeOf(Msg::QRKG002E)) {
    return unconvertible(failure, table, column, source);
  }
  locate(failure,
         placeText(table, column) +
             ": the element is stored whole, and a start tag in it has 1024 characters or more, or "
             "memory is used up",
         source);
}

// The table that comes by is another one than the table that the mapping means.
void DataWatch::unknownItem(Failure& failure, int table, const Element* source,
                            const Element* dadElement) const {
  for (const MappedLeaf& leaf : survey_.leaves()) {
    if (leaf.element == dadElement && !dadtree::hasTag(leaf.node, u"attribute_node")) {
      table = leaf.table;
    }
  }
  locate(failure,
         "the mapping puts a value of " + placeText(table) + " outside of '" +
             text(survey_.table(table).top_element) + "', the element that it takes its rows from",
         source);
  failure.atElement(FailureText::kMapping, elementNumber(dadElement));
}

void DataWatch::nameTooLong(Failure& failure, int table, const Element* source,
                            size_t limit) const {
  locate(failure,
         placeText(table) + ": the name of an element that stands below '" +
             text(survey_.table(table).top_element) +
             "' and has a mapped attribute is longer than " + std::to_string(limit) +
             " characters, or does not convert",
         source);
}

void DataWatch::withoutAncestor(Failure& failure, int table, const Element* source) const {
  const std::string differs = rootText();
  locate(failure, placeText(table) + (differs.empty() ? "" : ": " + differs), source);
}

std::string DataWatch::rowText(int table, RowList& rows, int row) const {
  const tab& mapped = survey_.table(table);
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

void DataWatch::rowRefused(Failure& failure, int table, RowList& rows, int row,
                           int parameter) const {
  const tab& mapped = survey_.table(table);
  const Element* const begun = rows.origin(row).begun;
  if (parameter < 0) {
    return locate(failure, placeText(table) + ", " + rowText(table, rows, row), begun);
  }
  const std::string_view value = rows.row(row)[parameter].view();
  if (parameter < mapped.num_col) {
    const Element* source = rows.origin(row).values[parameter];
    return inTable(failure, table, source ? source : begun, parameter, value);
  }
  locate(failure,
         placeText(table) + ", column " + text(mapped.fk[parameter - mapped.num_col].column->col) +
             ", value " + quotedValue(ctx_, value),
         begun);
}

std::string DataWatch::rootText() const {
  const std::u16string_view mapped = top()->getAttribute(u"name");
  const std::u16string_view actual = root_->getTagName();
  if (mapped == actual) return {};
  return "the document's root is '" + shown(actual) + "', the mapping's '" + shown(mapped) + "'";
}

// ---- Where the document can be found again

std::string DataWatch::pathOf(const MappedLeaf& leaf) const {
  std::string path;
  for (const Element* at = leaf.element; at; at = at == top() ? nullptr : parentElement(at)) {
    path.insert(0, '/' + textForMessage(nullptr, at->getAttribute(u"name")));
  }
  if (dadtree::hasTag(leaf.node, u"attribute_node")) {
    path += "/@" + textForMessage(nullptr, leaf.node->getAttribute(u"name"));
  }
  return path;
}

// A condition of an override; empty where the value has no literal that is sure to equal what is
// stored of it.
std::string DataWatch::conditionOn(const MappedLeaf& leaf, const std::string& text) const {
  constexpr size_t kLongest = 200;  // bytes; a key is no longer
  if (text.empty() || text.size() > kLongest) return {};
  std::string type = survey_.table(leaf.table).col2xml[leaf.column].dataType;
  for (char& c : type) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  const auto isOf = [&](std::initializer_list<const char*> names) {
    return std::any_of(names.begin(), names.end(),
                       [&](const char* name) { return type.starts_with(name); });
  };
  const bool isText = isOf({"CHAR", "VARCHAR", "DATE", "TIME"}) &&
                      type.find(" BIT ") == type.npos && type.find(" LARGE ") == type.npos;
  const bool isWhole = isOf({"INT", "SMALLINT", "BIGINT", "DEC", "NUM"}) &&
                       text.find_first_not_of("0123456789+-") == text.npos;
  if (!isText && !isWhole) return {};
  return pathOf(leaf) + " = " + (isText ? literalText(text) : text);
}

// By the key of the root's table, or by all of its row where the mapping has no key.
void DataWatch::tellOrigin() {
  Notice notice;
  notice.kind = Notice::kOrigin;
  for (const MappedLeaf& leaf : survey_.leaves()) {
    const tab& table = survey_.table(leaf.table);
    const auto column = static_cast<size_t>(leaf.column);
    if (leaf.table != rootTable_ || column >= rootRow_.size()) continue;
    const char* name = table.col2xml[leaf.column].col;
    if (table.pri_key.num > 0 && !isPriKey(ctx_, name, &table.pri_key)) continue;
    const std::string condition = conditionOn(leaf, rootRow_[column]);
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
    notice.mappingElement = elementNumber(top());
    listener_.notice(notice);
  }
  UntakenData untaken(survey_, takers_, warnings_);
  untaken.findIn(root_);
  warnings_.tellAll();
  Notice notice;
  notice.rule = "not-taken";
  notice.text = untaken.text(rowCounts_);
  if (!notice.text.empty()) listener_.notice(notice);
  tellOrigin();
}

}  // namespace orvxml

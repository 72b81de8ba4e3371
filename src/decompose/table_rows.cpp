#include "src/decompose/table_rows.h"

#include <algorithm>
#include <cstdint>
#include <memory>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "orvxml/utilities.h"
#include "src/compose/xml_writer.h"
#include "src/dad/dad_walk.h"
#include "src/decompose/element_text.h"
#include "src/outcome/edge.h"

namespace orvxml {

namespace {

constexpr char kModule[] = "qrkrdbi";
constexpr size_t kMaxTagName = 64;  // characters of an element that holds a mapped attribute
constexpr int kNoTagName = -1;

// The parser lays a document out in document order: between two neighbouring elements of a
// container mostly stands what is below the first. Asking for it early hides the time that memory
// takes, about a twentieth of a whole call (bench/decompose).
void prefetchElement(const Container& container, size_t index) {
  constexpr uintptr_t kCacheLine = 64;
  constexpr uintptr_t kMost = 4096;
  if (index + 1 >= container.size()) return;
  const auto from = reinterpret_cast<uintptr_t>(container[index].node);
  const auto next = reinterpret_cast<uintptr_t>(container[index + 1].node);
  if (next <= from) return;
  const uintptr_t end = std::min(next, from + kMost);
  for (uintptr_t at = from; at < end; at += kCacheLine) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): nothing is read through it.
    __builtin_prefetch(reinterpret_cast<const void*>(at));
  }
}

}  // namespace

int TableRows::gen_rows(const Container& container, std::vector<Branch>& branches,
                        const Element* dadElement, const std::string& dadElementName) {
  DadPlan plan = planElement(walk_, tableIndex_, dadElement, dadElementName);
  for (size_t i = 0; i < container.size(); ++i) {
    const Lineage& at = container[i];
    prefetchElement(container, i + 1);
    children_.clear();
    if (plan.searchesChildren || !branches.empty()) collectChildren(at.element());
    for (Branch& branch : branches) {
      for (const Child& child : children_) branch.offer(child.element, child.name, at);
    }
    if (int code = rowsOfPlace(plan, {at, 0, children_.size()})) return code;
  }
  return 0;
}

int TableRows::get_rows(DadPlan& plan, const Lineage& at) {
  const size_t firstChild = children_.size();
  if (plan.searchesChildren) collectChildren(at.element());
  const int code = rowsOfPlace(plan, {at, firstChild, children_.size()});
  children_.resize(firstChild);
  return code;
}

int TableRows::rowsOfPlace(DadPlan& plan, const Place& place) {
  for (DadStep& step : plan.steps) {
    if (int code = runStep(plan, step, place)) return code;
  }
  return plan.wholeElement ? takeElement(plan, place) : 0;
}

// Going from sibling to sibling costs more than comparing names: children are looked up once,
// whatever the number of names that are searched among them.
void TableRows::collectChildren(const Element* element) {
  forChildElements(element, [&](Element* child, const XMLCh* name) {
    children_.push_back({child, name});
  });
}

int TableRows::runStep(DadPlan& plan, DadStep& step, const Place& place) {
  switch (step.kind) {
    case StepKind::Attribute:
      return takeAttribute(plan, step, place);
    case StepKind::Text:
      return takeText(plan, step, place);
    case StepKind::Element:
      return rowsOfChildren(step, place);
    case StepKind::NamelessAttribute:
      return fail(walk_.report(), Msg::QRKQ006E);
    case StepKind::NamelessElement:
      return fail(walk_.report(), Msg::QRKQ014E);
  }
  return 0;
}

int TableRows::rowsOfChildren(DadStep& step, const Place& place) {
  for (size_t i = place.firstChild; i < place.childrenEnd; ++i) {
    const Child child = children_[i];
    if (step.xmlName != child.name) continue;
    if (!step.below) {
      step.below =
          std::make_unique<DadPlan>(planElement(walk_, tableIndex_, step.dadElement, step.name));
    }
    if (int code = get_rows(*step.below, {child.element, &place.self})) return code;
  }
  return 0;
}

// ---- One value

int TableRows::takeAttribute(const DadPlan& plan, const DadStep& step, const Place& place) {
  const XMLCh* value = place.element()->getAttribute(step.xmlName.c_str());
  int code = step.column < 0 ? unknownItem(step.name, plan, place) : 0;
  if (code == 0 && *value == 0) code = attributeWithoutValue(place.self);
  if (code == 0) code = get_coldata(step.column, value, place);
  QRK_TRACE(walk_.ctx, "call get_coldata(QRK_ATTRIBUTE) returns %ld.", static_cast<long>(code));
  return code < 0 ? code : add_attribute_to_DOM(place.self, step, value);
}

int TableRows::takeText(const DadPlan& plan, const DadStep& step, const Place& place) {
  int code = step.column < 0 ? unknownItem(step.name, plan, place) : 0;
  if (code == 0) code = get_coldata(step.column, textOf(place.element(), joinedText_), place);
  QRK_TRACE(walk_.ctx, "call get_coldata(QRK_TEXT) returns %ld.", static_cast<long>(code));
  return code;
}

int TableRows::takeElement(const DadPlan& plan, const Place& place) {
  if (plan.wholeElementColumn < 0) return unknownItem(plan.name, plan, place);
  std::string xml;
  int code = atEdge({walk_.ctx, walk_.msg}, [&] {
    xml = qrkDOMtoXML(walk_.ctx, DOM_Element(walk_.owner, place.element()));
  });
  if (code < 0 && walk_.watch)
    walk_.watch->failedWhole(tableIndex_, plan.wholeElementColumn, code, place.element());
  if (code >= 0) code = store(plan.wholeElementColumn, rows_.copy(xml), place);
  QRK_TRACE(walk_.ctx, "call get_coldata(QRK_ELEMENT) returns %ld.", static_cast<long>(code));
  return code;
}

int TableRows::unknownItem(const std::string& xmlName, const DadPlan& plan, const Place& place) {
  if (walk_.watch) walk_.watch->unknownItem(tableIndex_, place.element(), plan.dadElement);
  QRK_TRACE(walk_.ctx, "Failed to find '%s' in '%s'.", xmlName.c_str(), table_.name);
  return failInternal(walk_.report(), kModule, __LINE__);
}

// Below the table's top element a missing attribute needs the top element above it.
int TableRows::attributeWithoutValue(const Lineage& at) {
  if (isTopElement(at) || get_named_ancestor(at)) return 0;
  return withoutAncestor(at);
}

int TableRows::withoutAncestor(const Lineage& at) {
  if (walk_.watch) walk_.watch->withoutAncestor(tableIndex_, at.element());
  return fail(walk_.report(), Msg::QRKQ044E, walk_.names.of(at.node).text, table_.top_element);
}

// `text` null or empty: the column gets no value.
int TableRows::get_coldata(int column, const XMLCh* text, const Place& place) {
  if (text == nullptr || *text == 0) return store(column, Value{}, place);
  if (!toDatabase(walk_.ctx, text, converted_)) {
    if (walk_.watch) walk_.watch->unconvertible(tableIndex_, column, place.element());
    return fail(walk_.report(), Msg::QRKG002E);
  }
  return store(column, rows_.copy(converted_), place);
}

// The value completes the last row when its column is still empty there and the row has the same
// parents; otherwise it begins a new row.
int TableRows::store(int column, Value value, const Place& place) {
  Value* row = rows_.count() > 0 ? rows_.last() : nullptr;
  if (row && row[column].text) row = nullptr;
  if (row) {
    if (int code = keys_.get_foreign_key_values(place.self)) return code;
    if (!isPrevRowKeyEqual(row)) row = nullptr;
  }
  if (!row) {
    if (int code = newRow(place, row)) return code;
  }
  if (walk_.watch) noteOrigin(column, value, place);
  row[column] = value;
  return 0;
}

// Tells when the value goes into a row with values of another occurrence of the top element.
void TableRows::noteOrigin(int column, const Value& value, const Place& place) {
  RowOrigin& origin = rows_.origin(rows_.count() - 1);
  origin.values[column] = place.element();
  if (!value.text) return;
  const Element* occurrence = occurrenceAround(place.self);
  if (!occurrence || dadtree::isAncestor(occurrence, origin.occurrence)) return;
  // One inside the other is no other occurrence.
  if (origin.occurrence && !dadtree::isAncestor(origin.occurrence, occurrence)) {
    walk_.watch->rowMixed(tableIndex_, column, place.element());
  }
  origin.occurrence = occurrence;
}

const xercesc::DOMElement* TableRows::occurrenceAround(const Lineage& at) {
  if (at.element() != lastSource_) {
    lastSource_ = at.element();
    lastOccurrence_ = isTopElement(at) ? at.element() : get_named_ancestor(at);
  }
  return lastOccurrence_;
}

// The foreign keys last looked up are those of `previous`. A missing value on
// either side counts as equal.
bool TableRows::isPrevRowKeyEqual(Value* previous) const {
  const Value* previousKeys = rows_.keys(previous);
  for (int k = 0; k < keys_.count(); ++k) {
    if (previousKeys[k].text && previousKeys[k].view() != keys_.value(k)) return false;
  }
  return true;
}

// A new row starts with every column empty and the foreign keys of its element.
int TableRows::newRow(const Place& place, Value*& row) {
  if (rows_.full()) {
    if (walk_.watch) walk_.watch->failedAt(tableIndex_, -1, {}, place.element());
    QRK_TRACE(walk_.ctx, "QRK_MAX_ROWS limit exceeded %s:%d", kModule, __LINE__);
    return fail(walk_.report(), Msg::QRKG017E, "QRK_MAX_ROWS", buildStamp(), kModule, __LINE__);
  }
  if (int code = keys_.get_foreign_key_values(place.self)) return code;
  const Value* previous = rows_.count() > 0 ? rows_.keys(rows_.last()) : nullptr;
  row = rows_.append(place.element());
  Value* keys = rows_.keys(row);
  for (int k = 0; k < keys_.count(); ++k) {
    const std::string_view value = keys_.value(k);
    const bool same = previous && previous[k].text && previous[k].view() == value;
    keys[k] = same ? previous[k] : rows_.copy(value);
  }
  if (walk_.watch) keys_.tellStrays(place.element());
  return 0;
}

// ---- Join attributes

// Notes the value of an attribute below the table's top element at that top element, where the
// foreign keys of other tables find it.
int TableRows::add_attribute_to_DOM(const Lineage& at, const DadStep& step, const XMLCh* value) {
  const NameInfo& name = walk_.names.of(at.node);
  if (name.length > kMaxTagName || name.text.empty()) {
    if (walk_.watch) walk_.watch->nameTooLong(tableIndex_, at.element(), kMaxTagName);
    return kNoTagName;
  }
  if (isTopElement(at)) return 0;
  Element* ancestor = get_named_ancestor(at);
  if (!ancestor) return withoutAncestor(at);
  QRK_TRACE(walk_.ctx, "top_xml_element name %s", walk_.names.of(ancestor).text.c_str());
  if (*ancestor->getAttribute(step.joinName.c_str()) != 0) {
    if (walk_.watch) walk_.watch->failedAt(tableIndex_, step.column, {}, at.element());
    return fail(walk_.report(), Msg::QRKQ045E, walk_.names.of(ancestor).text, step.name);
  }
  if (*value == 0) return 0;
  ancestor->setAttribute(step.joinName.c_str(), value);
  ++walk_.joinAttributes;
  return 0;
}

// The nearest ancestor that is a top element of the table, or null.
xercesc::DOMElement* TableRows::get_named_ancestor(const Lineage& at) {
  for (const Lineage* up = at.parent; up && up->isElement(); up = up->parent) {
    if (isTopElement(*up)) return up->element();
  }
  return nullptr;
}

}  // namespace orvxml

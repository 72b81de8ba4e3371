#include "src/decompose/table_rows.h"

#include <algorithm>
#include <cstdint>
#include <memory>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/compose/xml_writer.h"
#include "src/dad/dad_walk.h"
#include "src/decompose/element_text.h"
#include "src/outcome/traced_call.h"

namespace orvxml {

namespace {

constexpr char kModule[] = "qrkrdbi";
constexpr size_t kMaxTagName = 64;  // characters of an element that holds a mapped attribute
constexpr int kNoTagName = -1;      // the code of one that is longer

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

void TableRows::collect(const Container& container, std::vector<Branch>& branches,
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
    rowsOfPlace(plan, {at, 0, children_.size()});
  }
}

// get_rows
void TableRows::rowsOfElement(DadPlan& plan, const Lineage& at) {
  const size_t firstChild = children_.size();
  if (plan.searchesChildren) collectChildren(at.element());
  rowsOfPlace(plan, {at, firstChild, children_.size()});
  children_.resize(firstChild);
}

void TableRows::rowsOfPlace(DadPlan& plan, const Place& place) {
  for (DadStep& step : plan.steps) runStep(plan, step, place);
  if (plan.wholeElement) takeElement(plan, place);
}

// Going from sibling to sibling costs more than comparing names: children are looked up once,
// whatever the number of names that are searched among them.
void TableRows::collectChildren(const Element* element) {
  forChildElements(element, [&](Element* child, const XMLCh* name) {
    children_.push_back({child, name});
  });
}

void TableRows::runStep(DadPlan& plan, DadStep& step, const Place& place) {
  switch (step.kind) {
    case StepKind::Attribute:
      return takeAttribute(plan, step, place);
    case StepKind::Text:
      return takeText(plan, step, place);
    case StepKind::Element:
      return rowsOfChildren(step, place);
    case StepKind::NamelessAttribute:
      throw Failure(Msg::QRKQ006E);
    case StepKind::NamelessElement:
      throw Failure(Msg::QRKQ014E);
  }
}

void TableRows::rowsOfChildren(DadStep& step, const Place& place) {
  for (size_t i = place.firstChild; i < place.childrenEnd; ++i) {
    const Child child = children_[i];
    if (step.xmlName != child.name) continue;
    if (!step.below) {
      step.below =
          std::make_unique<DadPlan>(planElement(walk_, tableIndex_, step.dadElement, step.name));
    }
    rowsOfElement(*step.below, {child.element, &place.self});
  }
}

// ---- One value (get_coldata)

void TableRows::takeAttribute(const DadPlan& plan, const DadStep& step, const Place& place) {
  const XMLCh* value = place.element()->getAttribute(step.xmlName.c_str());
  traced(walk_.ctx, "call get_coldata(QRK_ATTRIBUTE) returns %ld.", [&] {
    requireColumn(step.column, step.name, plan, place);
    // Below the table's top element a missing attribute needs the top element above it.
    if (*value == 0 && !isTopElement(place.self) && !topElementAbove(place.self)) {
      throw withoutAncestor(place.self);
    }
    storeText(step.column, value, place);
  });
  noteJoinAttribute(place.self, step, value);
}

void TableRows::takeText(const DadPlan& plan, const DadStep& step, const Place& place) {
  traced(walk_.ctx, "call get_coldata(QRK_TEXT) returns %ld.", [&] {
    requireColumn(step.column, step.name, plan, place);
    storeText(step.column, textOf(place.element(), joinedText_), place);
  });
}

void TableRows::takeElement(const DadPlan& plan, const Place& place) {
  const int column = plan.wholeElementColumn;
  traced(walk_.ctx, "call get_coldata(QRK_ELEMENT) returns %ld.", [&] {
    requireColumn(column, plan.name, plan, place);
    store(column, rows_.copy(elementText(column, place)), place);
  });
}

std::string TableRows::elementText(int column, const Place& place) const {
  try {
    return qrkDOMtoXML(walk_.ctx, DOM_Element(walk_.owner, place.element()));
  } catch (Failure& failure) {
    if (walk_.watch) walk_.watch->failedWhole(failure, tableIndex_, column, place.element());
    throw;
  }
}

void TableRows::requireColumn(int column, const std::string& xmlName, const DadPlan& plan,
                              const Place& place) const {
  if (column >= 0) return;
  Failure failure = Failure::internal(kModule);
  if (walk_.watch) {
    walk_.watch->unknownItem(failure, tableIndex_, place.element(), plan.dadElement);
  }
  QRK_TRACE(walk_.ctx, "Failed to find '%s' in '%s'.", xmlName.c_str(), table_.name);
  throw failure;
}

Failure TableRows::withoutAncestor(const Lineage& at) {
  Failure failure(Msg::QRKQ044E, walk_.names.of(at.node).text, table_.top_element);
  if (walk_.watch) walk_.watch->withoutAncestor(failure, tableIndex_, at.element());
  return failure;
}

// `text` null or empty: the column gets no value.
void TableRows::storeText(int column, const XMLCh* text, const Place& place) {
  if (text == nullptr || *text == 0) return store(column, Value{}, place);
  if (!toDatabase(walk_.ctx, text, converted_)) {
    Failure failure = Failure(Msg::QRKG002E).ofKind(FailureKind::kDocument);
    if (walk_.watch) walk_.watch->unconvertible(failure, tableIndex_, column, place.element());
    throw failure;
  }
  store(column, rows_.copy(converted_), place);
}

// The value completes the last row when its column is still empty there and the row has the same
// parents; otherwise it begins a new row.
void TableRows::store(int column, Value value, const Place& place) {
  Value* row = rows_.count() > 0 ? rows_.last() : nullptr;
  if (row && row[column].text) row = nullptr;
  if (row) {
    keys_.lookUp(place.self);
    if (!isPrevRowKeyEqual(row)) row = nullptr;
  }
  if (!row) row = newRow(place);
  if (walk_.watch) noteOrigin(column, value, place);
  row[column] = value;
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
    lastOccurrence_ = isTopElement(at) ? at.element() : topElementAbove(at);
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
Value* TableRows::newRow(const Place& place) {
  if (rows_.full()) {
    Failure failure = Failure::ofLimit("QRK_MAX_ROWS");
    if (walk_.watch) walk_.watch->inTable(failure, tableIndex_, place.element());
    QRK_TRACE(walk_.ctx, "QRK_MAX_ROWS limit exceeded %s:%d", "table_rows", __LINE__);
    throw failure;
  }
  keys_.lookUp(place.self);
  const Value* previous = rows_.count() > 0 ? rows_.keys(rows_.last()) : nullptr;
  Value* row = rows_.append(place.element());
  Value* keys = rows_.keys(row);
  for (int k = 0; k < keys_.count(); ++k) {
    const std::string_view value = keys_.value(k);
    const bool same = previous && previous[k].text && previous[k].view() == value;
    keys[k] = same ? previous[k] : rows_.copy(value);
  }
  if (walk_.watch) keys_.tellStrays(place.element());
  return row;
}

// ---- Join attributes

// Notes the value of an attribute below the table's top element at that top element, where the
// foreign keys of other tables find it (add_attribute_to_DOM).
void TableRows::noteJoinAttribute(const Lineage& at, const DadStep& step, const XMLCh* value) {
  const NameInfo& name = walk_.names.of(at.node);
  if (name.length > kMaxTagName || name.text.empty()) {
    Failure failure = Failure::internal().withCode(kNoTagName).ofKind(FailureKind::kDocument);
    if (walk_.watch) walk_.watch->nameTooLong(failure, tableIndex_, at.element(), kMaxTagName);
    throw failure;
  }
  if (isTopElement(at)) return;
  Element* ancestor = topElementAbove(at);
  if (!ancestor) throw withoutAncestor(at);
  QRK_TRACE(walk_.ctx, "top_xml_element name %s", walk_.names.of(ancestor).text.c_str());
  if (*ancestor->getAttribute(step.joinName.c_str()) != 0) {
    Failure failure(Msg::QRKQ045E, walk_.names.of(ancestor).text, step.name);
    if (walk_.watch) walk_.watch->inTable(failure, tableIndex_, at.element(), step.column);
    throw failure;
  }
  if (*value == 0) return;
  ancestor->setAttribute(step.joinName.c_str(), value);
  ++walk_.joinAttributes;
}

// The nearest ancestor that is a top element of the table, or null (get_named_ancestor).
xercesc::DOMElement* TableRows::topElementAbove(const Lineage& at) {
  for (const Lineage* up = at.parent; up && up->isElement(); up = up->parent) {
    if (isTopElement(*up)) return up->element();
  }
  return nullptr;
}

}  // namespace orvxml

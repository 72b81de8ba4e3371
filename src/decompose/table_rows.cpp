#include "src/decompose/table_rows.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <memory>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "orvxml/xml_writer.h"

namespace orvxml {

namespace {

constexpr char kModule[] = "qrkrdbi";
constexpr size_t kMaxTagName = 64;  // characters of an element that holds a mapped attribute
constexpr int kNoTagName = -1;
constexpr int kNoText = -1;

bool isTextNode(const xercesc::DOMNode* node) {
  const auto type = node->getNodeType();
  return type == xercesc::DOMNode::TEXT_NODE || type == xercesc::DOMNode::CDATA_SECTION_NODE;
}

// The text and CDATA children of `element` as one text. A single one is used where it stands.
const XMLCh* textOf(const xercesc::DOMElement* element, std::u16string& joined) {
  const XMLCh* first = nullptr;
  bool several = false;
  for (auto* child = element->getFirstChild(); child; child = child->getNextSibling()) {
    if (!isTextNode(child)) continue;
    const XMLCh* value = child->getNodeValue();
    if (first && !several) joined = first;
    if (first) {
      several = true;
      joined += value;
    } else {
      first = value;
    }
  }
  return several ? joined.c_str() : first;
}

// The parser lays a document out in document order: between two neighbouring elements of a
// container mostly stands what is below the first. Asking for it early hides the time that memory
// takes.
void prefetchElement(const Container& container, size_t index) {
  constexpr size_t kCacheLine = 64;
  constexpr size_t kMost = 4096;
  if (index + 1 >= container.size()) return;
  const char* from = reinterpret_cast<const char*>(container[index].node);
  const char* next = reinterpret_cast<const char*>(container[index + 1].node);
  if (std::less<>()(next, from)) return;
  const size_t size = std::min(static_cast<size_t>(next - from), kMost);
  for (size_t at = 0; at < size; at += kCacheLine) __builtin_prefetch(from + at);
}

}  // namespace

int TableRows::gen_rows(const Container& container, std::vector<Branch>& branches,
                        const Element* dadElement, const std::string& dadElementName) {
  DadPlan plan = planElement(walk_.ctx, walk_.relinfo, table_, dadElement, dadElementName);
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
    if (int code = runStep(step, place)) return code;
  }
  return plan.wholeElement ? takeElement(plan, place) : 0;
}

// Going from sibling to sibling costs more than comparing names: children are looked up once,
// whatever the number of names that are searched among them.
void TableRows::collectChildren(const Element* element) {
  for (auto* child = element->getFirstChild(); child; child = child->getNextSibling()) {
    if (child->getNodeType() != xercesc::DOMNode::ELEMENT_NODE) continue;
    children_.push_back({static_cast<Element*>(child), child->getNodeName()});
  }
}

int TableRows::runStep(DadStep& step, const Place& place) {
  switch (step.kind) {
    case StepKind::Attribute:
      return takeAttribute(step, place);
    case StepKind::Text:
      return takeText(step, place);
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
      step.below = std::make_unique<DadPlan>(
          planElement(walk_.ctx, walk_.relinfo, table_, step.dadElement, step.name));
    }
    if (int code = get_rows(*step.below, {child.element, &place.self})) return code;
  }
  return 0;
}

// ---- One value

int TableRows::takeAttribute(const DadStep& step, const Place& place) {
  const XMLCh* value = place.element()->getAttribute(step.xmlName.c_str());
  int code = step.column < 0 ? unknownItem(step.name) : 0;
  if (code == 0 && *value == 0) code = attributeWithoutValue(place.self);
  if (code == 0) code = get_coldata(step.column, value, place);
  QRK_TRACE(walk_.ctx, "call get_coldata(QRK_ATTRIBUTE) returns %ld.", static_cast<long>(code));
  return code < 0 ? code : add_attribute_to_DOM(place.self, step, value);
}

int TableRows::takeText(const DadStep& step, const Place& place) {
  int code = step.column < 0 ? unknownItem(step.name) : 0;
  if (code == 0) code = get_coldata(step.column, textOf(place.element(), joinedText_), place);
  QRK_TRACE(walk_.ctx, "call get_coldata(QRK_TEXT) returns %ld.", static_cast<long>(code));
  return code;
}

int TableRows::takeElement(const DadPlan& plan, const Place& place) {
  if (plan.wholeElementColumn < 0) return unknownItem(plan.name);
  char* xml = nullptr;
  int code = qrkDOMtoXML(walk_.ctx, DOM_Element(walk_.owner, place.element()), &xml, walk_.msg);
  const std::unique_ptr<char, decltype(&std::free)> owner(xml, &std::free);
  if (code >= 0) code = xml ? store(plan.wholeElementColumn, rows_.copy(xml), place) : kNoText;
  QRK_TRACE(walk_.ctx, "call get_coldata(QRK_ELEMENT) returns %ld.", static_cast<long>(code));
  return code;
}

int TableRows::unknownItem(const std::string& xmlName) {
  QRK_TRACE(walk_.ctx, "Failed to find '%s' in '%s'.", xmlName.c_str(), table_.name);
  return failInternal(walk_.report(), kModule, __LINE__);
}

// Below the table's top element a missing attribute needs the top element above it.
int TableRows::attributeWithoutValue(const Lineage& at) {
  if (isTopElement(at) || get_named_ancestor(at)) return 0;
  return withoutAncestor(at);
}

int TableRows::withoutAncestor(const Lineage& at) {
  return fail(walk_.report(), Msg::QRKQ044E, walk_.names.of(at.node).text, table_.top_element);
}

// `text` null or empty: the column gets no value.
int TableRows::get_coldata(int column, const XMLCh* text, const Place& place) {
  if (text == nullptr || *text == 0) return store(column, Value{}, place);
  if (!toDatabase(walk_.ctx, text, converted_)) return fail(walk_.report(), Msg::QRKG002E);
  return store(column, rows_.copy(converted_), place);
}

// The value completes the last row when its column is still empty there and the row has the same
// parents; otherwise it begins a new row.
int TableRows::store(int column, Value value, const Place& place) {
  Value* row = rows_.count() > 0 ? rows_.last() : nullptr;
  if (row && row[column].text) row = nullptr;
  if (row) {
    if (int code = keys_.get_foreign_key_values(place.self.parent)) return code;
    if (!isPrevRowKeyEqual(row)) row = nullptr;
  }
  if (!row) {
    if (int code = newRow(place, row)) return code;
  }
  row[column] = value;
  return 0;
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
    QRK_TRACE(walk_.ctx, "QRK_MAX_ROWS limit exceeded %s:%d", kModule, __LINE__);
    return fail(walk_.report(), Msg::QRKG017E, "QRK_MAX_ROWS", buildStamp(), kModule, __LINE__);
  }
  if (int code = keys_.get_foreign_key_values(place.self.parent)) return code;
  const Value* previous = rows_.count() > 0 ? rows_.keys(rows_.last()) : nullptr;
  row = rows_.append();
  Value* keys = rows_.keys(row);
  for (int k = 0; k < keys_.count(); ++k) {
    const std::string_view value = keys_.value(k);
    const bool same = previous && previous[k].text && previous[k].view() == value;
    keys[k] = same ? previous[k] : rows_.copy(value);
  }
  return 0;
}

// ---- Join attributes

// Notes the value of an attribute below the table's top element at that top element, where the
// foreign keys of other tables find it.
int TableRows::add_attribute_to_DOM(const Lineage& at, const DadStep& step, const XMLCh* value) {
  const NameInfo& name = walk_.names.of(at.node);
  if (name.length > kMaxTagName || name.text.empty()) return kNoTagName;
  if (isTopElement(at)) return 0;
  Element* ancestor = get_named_ancestor(at);
  if (!ancestor) return withoutAncestor(at);
  QRK_TRACE(walk_.ctx, "top_xml_element name %s", walk_.names.of(ancestor).text.c_str());
  if (*ancestor->getAttribute(step.joinName.c_str()) != 0) {
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

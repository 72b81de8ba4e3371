#include "src/decompose/foreign_key_values.h"

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/decompose/element_text.h"
#include "src/outcome/traced_call.h"

namespace orvxml {

namespace {

const XMLCh* attributeOf(const Lineage& at, const std::u16string& name) {
  return at.isElement() ? at.element()->getAttribute(name.c_str()) : u"";
}

}  // namespace

// Where a climb stands: the node looked at, its name, and what was found so far.
struct ForeignKeyValues::Climb {
  explicit Climb(const Lineage* start) : node(start) {}

  const Lineage* node;
  const NameInfo* name = nullptr;
  bool found = false;
  bool recalled = false;                        // the rest of the climb is known already
  std::u16string value;                         // empty: none yet
  const xercesc::DOMElement* holder = nullptr;  // of the value
  bool isJoin = false;                          // it is the holder's join attribute
  bool hasLeftRow = false;                      // the parent's row, which had none
};

ForeignKeyValues::ForeignKeyValues(WalkState& walk, const tab& table, int tableIndex)
    : walk_(walk), tableIndex_(tableIndex), keys_(static_cast<size_t>(table.num_fk)) {
  for (size_t k = 0; k < keys_.size(); ++k) {
    keys_[k].definition = &table.fk[k];
    if (!table.fk[k].parent) continue;
    // A name that does not convert is that of no element: the key finds no ancestor.
    if (toUtf16(walk.ctx, table.fk[k].parent->xml, keys_[k].xmlName)) {
      keys_[k].joinName = joinAttributeName(keys_[k].xmlName);
    }
  }
}

void ForeignKeyValues::lookUp(const Lineage& element) {
  for (Key& key : keys_) {
    traced(walk_.ctx, "call get_foreign_key_value() returns %ld.", [&] { lookUp(key, element); });
    QRK_TRACE(walk_.ctx, "%s='%s'", key.definition->column->col, key.value().c_str());
  }
}

void ForeignKeyValues::lookUp(Key& key, const Lineage& element) {
  if (key.joinAttributes != walk_.joinAttributes) {
    for (Known& known : key.known) known.start = nullptr;
    key.joinAttributes = walk_.joinAttributes;
  }
  if (recall(key, element.parent->node)) return;
  Climb at(element.parent);
  climb(key, at);
  if (!at.recalled && at.value.empty()) throw notFound(key, at, element);
  remember(key, element.parent->node, at);
}

Failure ForeignKeyValues::notFound(const Key& key, const Climb& at, const Lineage& element) const {
  Failure failure(Msg::QRKQ043E, key.definition->parent->xml, at.name->text);
  if (walk_.watch) walk_.watch->inTable(failure, tableIndex_, element.element());
  return failure;
}

// Towards the root until a value is found, and past elements that belong to the table itself.
void ForeignKeyValues::climb(Key& key, Climb& at) {
  bool goOn = true;
  while (goOn) {
    at.name = &walk_.names.of(at.node->node);
    if (at.name->text.empty()) throw Failure::internal();
    QRK_TRACE(walk_.ctx, "parent_name='%s'", at.name->text.c_str());
    if (!lookAt(key, at)) throw Failure::internal();
    if (walk_.watch && !at.found) {
      at.hasLeftRow |= walk_.watch->isRowOf(*key.definition, at.node->node);
    }
    at.node = at.node->parent;
    goOn = at.node && at.node->isElement() &&
           (!at.found || (at.name->inTables & tableBit(tableIndex_)) != 0);
    at.recalled = goOn && !at.found && recall(key, at.node->node);
    goOn = goOn && !at.recalled;
  }
}

void ForeignKeyValues::remember(Key& key, const xercesc::DOMNode* start, const Climb& at) {
  const size_t slot = key.next == key.current ? (key.next + 1) % key.known.size() : key.next;
  Known& known = key.known[slot];
  known.start = nullptr;
  if (at.recalled) {
    const Known& from = key.known[key.current];
    known.value = from.value;
    known.holder = from.holder;
    known.isElsewhere = from.isElsewhere;
    known.hasLeftRow = from.hasLeftRow || at.hasLeftRow;
  } else if (!toDatabase(walk_.ctx, at.value, known.value)) {
    Failure failure = Failure(Msg::QRKG002E).ofKind(FailureKind::kDocument);
    if (walk_.watch) walk_.watch->unconvertible(failure, tableIndex_, -1, at.holder);
    throw failure;
  } else if (walk_.watch) {
    known.holder = at.holder;
    known.isElsewhere = !walk_.watch->isMeant(*key.definition, at.holder, at.isJoin);
    known.hasLeftRow = at.hasLeftRow;
  }
  known.start = start;
  key.current = slot;
  key.next = (slot + 1) % key.known.size();
}

void ForeignKeyValues::tellStrays(const xercesc::DOMElement* source) const {
  for (const Key& key : keys_) {
    const Known& known = key.known[key.current];
    if (!known.isElsewhere && !known.hasLeftRow) continue;
    walk_.watch->strayKey(tableIndex_, *key.definition, known.holder, known.hasLeftRow, source);
  }
}

// Makes what is known of `start` current. A trace shows every climb, so nothing is known while it
// is on.
bool ForeignKeyValues::recall(Key& key, const xercesc::DOMNode* start) const {
  if (walk_.ctx->traceOn) return false;
  for (size_t i = 0; i < key.known.size(); ++i) {
    if (key.known[i].start != start) continue;
    key.current = i;
    return true;
  }
  return false;
}

// False when the key names no item that could supply a value.
bool ForeignKeyValues::lookAt(const Key& key, Climb& at) {
  const col2xml_entry* parent = key.definition->parent;
  if (parent && parent->xmlType == QRK_ATTRIBUTE) {
    lookAtAttribute(key, at);
    return true;
  }
  if (parent && parent->xmlType == QRK_TEXT) {
    lookAtText(key, at);
    return true;
  }
  QRK_TRACE(walk_.ctx, "error: unknown foreign_key->xmlType: %d", parent ? parent->xmlType : -1);
  return false;
}

// A level without a value leaves the value of a lower one in place.
void ForeignKeyValues::lookAtAttribute(const Key& key, Climb& at) {
  const XMLCh* value = attributeOf(*at.node, key.xmlName);
  const bool isJoin = *value == 0 && at.name->topElementOf != 0;
  if (isJoin) value = attributeOf(*at.node, key.joinName);
  if (*value == 0) return;
  at.found = true;
  at.value = value;
  at.holder = at.node->element();
  at.isJoin = isJoin;
}

// The element ends the climb even when it has no text: one of the same name further up would be
// another one.
void ForeignKeyValues::lookAtText(const Key& key, Climb& at) {
  const xercesc::DOMElement* element = walk_.descendants.find(at.node->node, key.xmlName);
  if (!element) return;
  at.found = true;
  std::u16string joined;
  const XMLCh* value = textOf(element, joined);
  if (!value || *value == 0) return;
  at.value = value;
  at.holder = element;
}

}  // namespace orvxml

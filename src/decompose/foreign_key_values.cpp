#include "src/decompose/foreign_key_values.h"

#include <cstdio>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"

namespace orvxml {

namespace {

constexpr char kModule[] = "qrkrdbi";
constexpr int kInternalError = -57;
constexpr char kNoParent[] = "Error: Could not find foreign key value in XML.";

bool isElement(const xercesc::DOMNode* node) {
  return node->getNodeType() == xercesc::DOMNode::ELEMENT_NODE;
}

const XMLCh* attributeOf(const Lineage& at, const std::u16string& name) {
  return at.isElement() ? at.element()->getAttribute(name.c_str()) : u"";
}

}  // namespace

// ---- First descendants

// One pass in document order: the first element of the tag that comes by is the answer for every
// ancestor that has none yet; above an ancestor that has one, all have one.
FirstDescendants::Index FirstDescendants::build(const std::u16string& tag) const {
  Index index;
  auto* node = const_cast<xercesc::DOMElement*>(root_);
  for (xercesc::DOMNode* at = node; at; at = nextInDocumentOrder(node, at)) {
    if (!isElement(at) || tag != at->getNodeName()) continue;
    for (const xercesc::DOMNode* up = at->getParentNode(); up; up = up->getParentNode()) {
      if (!index.try_emplace(up, at).second) break;
    }
  }
  return index;
}

const xercesc::DOMNode* FirstDescendants::find(const xercesc::DOMNode* node,
                                               const std::u16string& tag) {
  auto entry = byTag_.find(tag);
  if (entry == byTag_.end()) entry = byTag_.emplace(tag, build(tag)).first;
  const auto found = entry->second.find(node);
  return found == entry->second.end() ? nullptr : found->second;
}

// ---- Foreign keys

// Where a climb stands: the node looked at, its name, and what was found so far.
struct ForeignKeyValues::Climb {
  const Lineage* node;
  const NameInfo* name;
  bool found = false;
  bool recalled = false;  // the rest of the climb is known already
  const XMLCh* value = nullptr;
};

ForeignKeyValues::ForeignKeyValues(WalkState& walk, const tab& table, int tableIndex)
    : walk_(walk), tableBit_(tableBit(tableIndex)), keys_(static_cast<size_t>(table.num_fk)) {
  for (size_t k = 0; k < keys_.size(); ++k) {
    keys_[k].definition = &table.fk[k];
    if (!table.fk[k].parent) continue;
    toUtf16(walk.ctx, table.fk[k].parent->xml, keys_[k].xmlName);
    keys_[k].joinName = joinAttributeName(keys_[k].xmlName);
  }
}

int ForeignKeyValues::get_foreign_key_values(const Lineage* parent) {
  for (Key& key : keys_) {
    const int rc = get_foreign_key_value(key, parent);
    QRK_TRACE(walk_.ctx, "call get_foreign_key_value() returns %ld.", static_cast<long>(rc));
    if (rc < 0) return rc;
    QRK_TRACE(walk_.ctx, "%s='%s'", key.definition->column->col, key.value().c_str());
  }
  return 0;
}

int ForeignKeyValues::get_foreign_key_value(Key& key, const Lineage* parent) {
  if (key.joinAttributes != walk_.joinAttributes) {
    for (Known& known : key.known) known.start = nullptr;
    key.joinAttributes = walk_.joinAttributes;
  }
  if (!parent) {
    std::snprintf(walk_.msg, kMessageSize, "%s", kNoParent);
    return kInternalError;
  }
  if (recall(key, parent->node)) return 0;
  Climb at{parent, nullptr};
  if (int code = climb(key, at)) return code;
  return remember(key, parent->node, at);
}

// Towards the root until a value is found, and past elements that belong to the table itself.
int ForeignKeyValues::climb(Key& key, Climb& at) {
  bool goOn = true;
  while (goOn) {
    at.name = &walk_.names.of(at.node->node);
    if (at.name->text.empty()) return failInternal(walk_.report(), kModule, __LINE__);
    QRK_TRACE(walk_.ctx, "parent_name='%s'", at.name->text.c_str());
    if (!lookAt(key, at)) return failInternal(walk_.report(), kModule, __LINE__);
    at.node = at.node->parent;
    goOn = at.node && at.node->isElement() && (!at.found || (at.name->inTables & tableBit_) != 0);
    at.recalled = goOn && !at.found && recall(key, at.node->node);
    goOn = goOn && !at.recalled;
  }
  return 0;
}

int ForeignKeyValues::remember(Key& key, const xercesc::DOMNode* start, const Climb& at) {
  if (!at.found && !at.recalled) {
    return fail(walk_.report(), Msg::QRKQ043E, key.definition->parent->xml, at.name->text);
  }
  const size_t slot = key.next == key.current ? (key.next + 1) % key.known.size() : key.next;
  Known& known = key.known[slot];
  known.start = nullptr;
  if (at.recalled) {
    known.value = key.value();
  } else if (!at.value || !toDatabase(walk_.ctx, at.value, known.value)) {
    return fail(walk_.report(), Msg::QRKG002E);
  }
  known.start = start;
  key.current = slot;
  key.next = (slot + 1) % key.known.size();
  return 0;
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
  if (*value == 0 && at.name->topElementOf != 0) value = attributeOf(*at.node, key.joinName);
  if (*value == 0) return;
  at.found = true;
  at.value = value;
}

void ForeignKeyValues::lookAtText(const Key& key, Climb& at) {
  const xercesc::DOMNode* element = walk_.descendants.find(at.node->node, key.xmlName);
  const xercesc::DOMNode* content = element ? element->getFirstChild() : nullptr;
  if (!content) return;
  at.found = true;
  const XMLCh* value = content->getNodeValue();
  if (value && *value != 0) at.value = value;
}

}  // namespace orvxml

// The top element of each table: the element that stands for one of its rows. The first mapped leaf
// of a table in document order decides.
#include <cstring>

#include "orvxml/mapping_model.h"
#include "orvxml/sql_scanner.h"
#include "src/dad/dad_walk.h"

namespace orvxml {

using namespace dadtree;

namespace {

class TopElementFinder {
 public:
  TopElementFinder(const Report& report, rel& model, int purpose, DocumentOwner owner)
      : report_(report), model_(model), purpose_(purpose), owner_(std::move(owner)) {}

  void enter(xercesc::DOMElement*) {}
  void leave(xercesc::DOMElement*) {}

  int leaf(xercesc::DOMElement* leafNode, xercesc::DOMElement* rdb) {
    xercesc::DOMElement* element = nearestElementNode(leafNode);
    const std::string ownName =
        element ? textForMessage(report_.ctx, element->getAttribute(u"name")) : std::string();
    char schema[kSchemaSize];
    char name[kTableSize];
    if (int rc = qrkGetTabFromRDB(report_.ctx, ownName.c_str(), DOM_Element(owner_, rdb), schema,
                                  name, report_.errCode, report_.msg)) {
      return rc;
    }
    tab* table = findTabByName(report_.ctx, &model_, schema, name);
    if (!table || !element) return failed(report_, Msg::QRKQ016E);
    return table->top_element[0] ? 0 : setTopElement(*table, element);
  }

 private:
  static xercesc::DOMElement* nearestElementNode(xercesc::DOMNode* node) {
    while (node && !hasTag(node, u"element_node")) node = node->getParentNode();
    return node ? asElement(node) : nullptr;
  }

  // A repeating element that only groups others of the same table stands for the row instead.
  bool standsForRow(const tab& table, xercesc::DOMElement* element) const {
    const DOM_Element handle(owner_, element);
    return qrkIsNodeIntermediate(report_.ctx, handle) && qrkIsNodeMultiOccur(report_.ctx, handle) &&
           !qrkHasChildFromOtherTab(report_.ctx, handle, &table, 0);
  }

  int setTopElement(tab& table, xercesc::DOMElement* element) {
    for (;;) {
      xercesc::DOMNode* parent = element->getParentNode();
      if (!parent || !hasTag(parent, u"element_node")) break;
      if (!standsForRow(table, asElement(parent))) break;
      element = asElement(parent);
    }
    std::string name;
    if (!toDatabase(report_.ctx, element->getAttribute(u"name"), name)) {
      return failUnconverted(report_, purpose_, element);
    }
    if (name.size() >= sizeof table.top_element) {
      return failLimit(report_, "name " + name, __LINE__);
    }
    std::strcpy(table.top_element, name.c_str());
    return 0;
  }

  const Report& report_;
  rel& model_;
  const int purpose_;
  const DocumentOwner owner_;
};

}  // namespace

int qrkFindTopElements(QrkStruct* ctx, rel* relinfo, const DOM_Element& root, int qrk_type,
                       int* errCode, char* msg) {
  const Report report{.ctx = ctx, .msg = msg, .errCode = errCode};
  TopElementFinder finder(report, *relinfo, qrk_type, root.owner());
  return walkMappedLeaves(report, root.node(), qrk_type, finder);
}

}  // namespace orvxml

// The top element of each table: the element that stands for one of its rows. The first mapped leaf
// of a table in document order decides.
#include "src/dad/dad_walk.h"
#include "src/dad/mapping_model.h"
#include "src/dad/model_steps.h"
#include "src/text/sql_scanner.h"

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
      tellPlace(rdb, shownItem(leafNode));
      return rc;
    }
    tab* table = findTabByName(report_.ctx, &model_, schema, name);
    if (!table || !element) return failAt(rdb, shownItem(leafNode), report_, Msg::QRKQ016E);
    return table->top_element[0] ? 0 : setTopElement(*table, element);
  }

 private:
  int setTopElement(tab& table, xercesc::DOMElement* element) {
    return takeItemName(report_, purpose_, rowElement(report_.ctx, table, owner_, element),
                        table.top_element);
  }

  const Report& report_;
  rel& model_;
  const int purpose_;
  const DocumentOwner owner_;
};

// A repeating element that only groups others of the same table stands for the row instead.
bool standsForRow(QrkStruct* ctx, const tab& table, const DOM_Element& element) {
  return qrkIsNodeIntermediate(ctx, element) && qrkIsNodeMultiOccur(ctx, element) &&
         !qrkHasChildFromOtherTab(ctx, element, &table, 0);
}

}  // namespace

xercesc::DOMElement* rowElement(QrkStruct* ctx, const tab& table, const DocumentOwner& owner,
                                xercesc::DOMElement* element) {
  for (;;) {
    xercesc::DOMNode* parent = element->getParentNode();
    if (!parent || !hasTag(parent, u"element_node")) return element;
    if (!standsForRow(ctx, table, DOM_Element(owner, asElement(parent)))) return element;
    element = asElement(parent);
  }
}

int qrkFindTopElements(const Report& report, rel& model, const DOM_Element& root, int purpose) {
  TopElementFinder finder(report, model, purpose, root.owner());
  return walkMappedLeaves(report, root.node(), purpose, finder);
}

}  // namespace orvxml

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
  TopElementFinder(const Building& building, DocumentOwner owner)
      : building_(building), owner_(std::move(owner)) {}

  void enter(xercesc::DOMElement*) {}
  void leave(xercesc::DOMElement*) {}

  void leaf(xercesc::DOMElement* leafNode, xercesc::DOMElement* rdb) {
    xercesc::DOMElement* element = nearestElementNode(leafNode);
    tab* table = tableOf(leafNode, rdb, element);
    if (!table || !element) throw at(rdb, Failure(Msg::QRKQ016E), shownItem(leafNode));
    if (table->top_element[0]) return;
    takeItemName(building_.ctx, building_.purpose,
                 rowElement(building_.ctx, *table, owner_, element), table->top_element);
  }

 private:
  tab* tableOf(const xercesc::DOMElement* leafNode, xercesc::DOMElement* rdb,
               const xercesc::DOMElement* element) {
    const std::string item =
        element ? textForMessage(building_.ctx, element->getAttribute(u"name")) : std::string();
    try {
      const TableName name =
          qrkGetTabFromRDB(building_.ctx, item.c_str(), DOM_Element(owner_, rdb));
      return findTabByName(building_.ctx, &building_.model, name.schema, name.table);
    } catch (const Failure& failure) {
      const bool hasNoText = failure.is(Msg{}) && building_.purpose == kForDecomposition;
      throw at(rdb, hasNoText ? Failure(Msg::QRKQ012E).withCode(failure.code()) : failure,
               shownItem(leafNode));
    }
  }

  const Building& building_;
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

void qrkFindTopElements(const Building& building, const DOM_Element& root) {
  TopElementFinder finder(building, root.owner());
  walkMappedLeaves(root.node(), building.purpose, finder);
}

}  // namespace orvxml

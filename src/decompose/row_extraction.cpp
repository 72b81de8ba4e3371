// The walk over the DAD's element_nodes, with the document elements that each selects.
#include "orvxml/row_extraction.h"

#include <cstring>
#include <string>

#include "orvxml/target_table.h"
#include "orvxml/trace.h"
#include "src/decompose/dad_plan.h"
#include "src/decompose/foreign_key_values.h"
#include "src/decompose/row_insert.h"
#include "src/decompose/table_rows.h"

namespace orvxml {

namespace {

// Appends to `result` the children called `childName` of all elements of `container`, in document
// order. Only direct children are looked at.
int qrk_getNodeList(const QRK_NodeList& container, const XMLCh* childName, QRK_NodeList& result,
                    char* msg) {
  const std::u16string_view wanted = childName;
  const QRK_NodeList::Node* node = container.head;
  for (int i = 0; i < container.count && node; ++i, node = node->next) {
    auto* child = node->element.element()->getFirstElementChild();
    for (; child; child = child->getNextElementSibling()) {
      if (wanted != child->getTagName()) continue;
      if (int code = result.add(DOM_Element(node->element.owner(), child), msg)) return code;
    }
  }
  return 0;
}

class Walk {
 public:
  explicit Walk(WalkState& state) : state_(state) {}

  int decompose(tab* parentTable, const QRK_NodeList& container,
                const xercesc::DOMElement* dadElement);

 private:
  int tableOf(const char* name) const;
  int insertRows(int tableIndex, const QRK_NodeList& container,
                 const xercesc::DOMElement* dadElement, const std::string& name);
  int decomposeChild(tab* owner, const QRK_NodeList& container,
                     const xercesc::DOMElement* dadChild);

  WalkState& state_;
};

// The last table in mapping order that the name belongs to, or -1.
int Walk::tableOf(const char* name) const {
  int found = -1;
  for (int i = 0; i < state_.relinfo->num_of_tables; ++i) {
    if (isInTab(state_.ctx, state_.relinfo->tab[i], name)) found = i;
  }
  return found;
}

int Walk::decompose(tab* parentTable, const QRK_NodeList& container,
                    const xercesc::DOMElement* dadElement) {
  const std::string name = dadName(state_.ctx, dadElement);
  if (name.empty()) return fail(state_.report(), Msg::QRKQ014E);
  const int tableIndex = tableOf(name.c_str());
  tab* owner = parentTable;
  if (tableIndex >= 0) {
    owner = state_.relinfo->tab[tableIndex];
    if (int code = insertRows(tableIndex, container, dadElement, name)) return code;
  }
  for (auto* child = dadElement->getFirstElementChild(); child;
       child = child->getNextElementSibling()) {
    if (std::u16string_view(child->getTagName()) != u"element_node") continue;
    if (int code = decomposeChild(owner, container, child)) return code;
  }
  return 0;
}

int Walk::insertRows(int tableIndex, const QRK_NodeList& container,
                     const xercesc::DOMElement* dadElement, const std::string& name) {
  tab* table = state_.relinfo->tab[tableIndex];
  if (*table->stmt == '\0') {
    if (int code = generate_SQLi(state_.ctx, table, table->stmt, kStatementSize, state_.msg)) {
      return code;
    }
  }
  TableRows collected(state_, *table, tableIndex);
  if (int code = collected.gen_rows(container, dadElement, name)) return code;
  RowInserter inserter(state_.ctx, state_.relinfo, *table, state_.msg);
  if (int code = inserter.prepare()) return code;
  RowList& rows = collected.rows();
  for (int i = 0; i < rows.count(); ++i) {
    if (int code = inserter.qrkrow_to_stmt(rows.row(i))) return code;
  }
  return inserter.close();
}

int Walk::decomposeChild(tab* owner, const QRK_NodeList& container,
                         const xercesc::DOMElement* dadChild) {
  const std::string name = dadName(state_.ctx, dadChild);
  if (name.empty()) return fail(state_.report(), Msg::QRKQ014E);
  if (owner && isInTab(state_.ctx, owner, name.c_str())) return 0;
  if (!owner) {
    QRK_TRACE(state_.ctx, "There is no current_tab or parent_tab for '%s'", name.c_str());
  }
  QRK_NodeList selected(state_.ctx);
  if (int code =
          qrk_getNodeList(container, dadChild->getAttribute(u"name"), selected, state_.msg)) {
    return code;
  }
  return decompose(owner, selected, dadChild);
}

}  // namespace

int decompose_element(QrkStruct* ctx, rel* relinfo, DOM_Document& doc, tab* parent_tab,
                      QRK_NodeList* xml_container, DOM_Element* dad_element, char* msg) {
  const DOM_Element root = doc.getDocumentElement();
  WalkState state{ctx,
                  relinfo,
                  msg,
                  root.owner(),
                  DocumentNames(ctx, relinfo),
                  FirstDescendants(root.element())};
  return Walk(state).decompose(parent_tab, *xml_container, dad_element->element());
}

tab* getTabofTopElement(rel* relinfo, const char* name) {
  for (int i = 0; i < relinfo->num_of_tables; ++i) {
    if (std::strcmp(relinfo->tab[i]->top_element, name) == 0) return relinfo->tab[i];
  }
  return nullptr;
}

}  // namespace orvxml

// The walk over the DAD's element_nodes, with the document elements that each selects.
#include "src/decompose/row_extraction.h"

#include <cstring>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "orvxml/trace.h"
#include "src/decompose/dad_plan.h"
#include "src/decompose/foreign_key_values.h"
#include "src/decompose/row_insert.h"
#include "src/decompose/selection.h"
#include "src/decompose/table_rows.h"
#include "src/decompose/target_table.h"

namespace orvxml {

namespace {

// Gives each branch what it selects among the children of all elements of `container`. Only direct
// children are looked at.
void qrk_getNodeList(const Container& container, std::vector<Branch>& branches) {
  if (branches.empty()) return;
  for (const Lineage& parent : container) {
    forChildElements(parent.node, [&](xercesc::DOMElement* child, const XMLCh* name) {
      for (Branch& branch : branches) branch.offer(child, name, parent);
    });
  }
}

// The elements of the caller's list. Their ancestors go into `ancestors`, which keeps its places.
Container containerOf(const QRK_NodeList& list, std::deque<Lineage>& ancestors) {
  Container container;
  const QRK_NodeList::Node* node = list.head;
  for (int i = 0; i < list.count && node; ++i, node = node->next) {
    container.push_back({node->element.node(), nullptr});
    const Lineage** parent = &container.back().parent;
    for (auto* up = node->element.node()->getParentNode(); up; up = up->getParentNode()) {
      Lineage& ancestor = ancestors.emplace_back(Lineage{up, nullptr});
      *parent = &ancestor;
      parent = &ancestor.parent;
    }
  }
  return container;
}

class Walk {
 public:
  explicit Walk(WalkState& state) : state_(state) {}

  int decompose(tab* parentTable, const Container& container,
                const xercesc::DOMElement* dadElement);

 private:
  int tableOf(const char* name) const;
  bool branchesOf(const xercesc::DOMElement* dadElement, const tab* owner,
                  std::vector<Branch>& branches) const;
  int insertRows(int tableIndex, const Container& container, std::vector<Branch>& branches,
                 const xercesc::DOMElement* dadElement, const std::string& name);

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

int Walk::decompose(tab* parentTable, const Container& container,
                    const xercesc::DOMElement* dadElement) {
  const std::string name = dadName(state_.ctx, dadElement);
  if (name.empty()) return fail(state_.report(), Msg::QRKQ014E);
  const int tableIndex = tableOf(name.c_str());
  tab* owner = tableIndex >= 0 ? state_.relinfo->tab[tableIndex] : parentTable;
  std::vector<Branch> branches;
  const bool allNamed = branchesOf(dadElement, owner, branches);
  if (tableIndex < 0) {
    qrk_getNodeList(container, branches);
  } else if (int code = insertRows(tableIndex, container, branches, dadElement, name)) {
    return code;
  }
  for (Branch& branch : branches) {
    const Container selected = std::move(branch.selected);
    if (int code = decompose(owner, selected, branch.dadElement)) return code;
  }
  return allNamed ? 0 : fail(state_.report(), Msg::QRKQ014E);
}

// The element_nodes below whose values `owner` does not take itself, up to the first one without
// a name; false when there is such a one.
bool Walk::branchesOf(const xercesc::DOMElement* dadElement, const tab* owner,
                      std::vector<Branch>& branches) const {
  for (auto* child = dadElement->getFirstElementChild(); child;
       child = child->getNextElementSibling()) {
    if (std::u16string_view(child->getTagName()) != u"element_node") continue;
    const std::string name = dadName(state_.ctx, child);
    if (name.empty()) return false;
    if (owner && isInTab(state_.ctx, owner, name.c_str())) continue;
    if (!owner) {
      QRK_TRACE(state_.ctx, "There is no current_tab or parent_tab for '%s'", name.c_str());
    }
    branches.push_back({child, child->getAttribute(u"name"), {}});
  }
  return true;
}

int Walk::insertRows(int tableIndex, const Container& container, std::vector<Branch>& branches,
                     const xercesc::DOMElement* dadElement, const std::string& name) {
  tab* table = state_.relinfo->tab[tableIndex];
  if (*table->stmt == '\0') {
    if (int code = generate_SQLi(state_.ctx, table, table->stmt, kStatementSize, state_.msg)) {
      return code;
    }
  }
  TableRows collected(state_, *table, tableIndex);
  if (int code = collected.gen_rows(container, branches, dadElement, name)) return code;
  if (state_.watch) state_.watch->rowsCollected(tableIndex, dadElement, collected.rows());
  RowInserter inserter(state_.ctx, state_.relinfo, *table, state_.msg);
  if (int code = inserter.prepare()) return code;
  RowList& rows = collected.rows();
  for (int i = 0; i < rows.count(); ++i) {
    if (int code = inserter.qrkrow_to_stmt(rows.row(i))) {
      if (state_.watch) {
        state_.watch->rowRefused(tableIndex, rows, i, inserter.faultyParameter(rows.row(i)));
      }
      return code;
    }
  }
  return inserter.close();
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
  std::optional<DataWatch> watch;
  if (NoticeListener* listener = noticeListener()) {
    state.watch = &watch.emplace(*listener, ctx, *relinfo, *dad_element, root.element());
  }
  std::deque<Lineage> ancestors;
  const Container container = containerOf(*xml_container, ancestors);
  const int code = Walk(state).decompose(parent_tab, container, dad_element->element());
  if (watch) code < 0 ? watch->endFailed() : watch->end();
  return code;
}

tab* getTabofTopElement(rel* relinfo, const char* name) {
  for (int i = 0; i < relinfo->num_of_tables; ++i) {
    if (std::strcmp(relinfo->tab[i]->top_element, name) == 0) return relinfo->tab[i];
  }
  return nullptr;
}

}  // namespace orvxml

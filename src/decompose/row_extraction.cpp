// The walk over the DAD's element_nodes, with the document elements that each selects.
#include "src/decompose/row_extraction.h"

#include <cstring>
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

class Walk {
 public:
  explicit Walk(WalkState& state) : state_(state) {}

  void decompose(tab* parentTable, const Container& container,
                 const xercesc::DOMElement* dadElement);

 private:
  int tableOf(const char* name) const;
  bool branchesOf(const xercesc::DOMElement* dadElement, const tab* owner,
                  std::vector<Branch>& branches) const;
  void makeRows(int tableIndex, const Container& container, std::vector<Branch>& branches,
                const xercesc::DOMElement* dadElement, const std::string& name);
  void insertRows(int tableIndex, RowList& rows);

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

void Walk::decompose(tab* parentTable, const Container& container,
                     const xercesc::DOMElement* dadElement) {
  const std::string name = dadName(state_.ctx, dadElement);
  if (name.empty()) throw Failure(Msg::QRKQ014E);
  const int tableIndex = tableOf(name.c_str());
  tab* owner = tableIndex >= 0 ? state_.relinfo->tab[tableIndex] : parentTable;
  std::vector<Branch> branches;
  const bool allNamed = branchesOf(dadElement, owner, branches);
  if (tableIndex < 0) {
    qrk_getNodeList(container, branches);
  } else {
    makeRows(tableIndex, container, branches, dadElement, name);
  }
  for (Branch& branch : branches) {
    const Container selected = std::move(branch.selected);
    decompose(owner, selected, branch.dadElement);
  }
  if (!allNamed) throw Failure(Msg::QRKQ014E);
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

void Walk::makeRows(int tableIndex, const Container& container, std::vector<Branch>& branches,
                    const xercesc::DOMElement* dadElement, const std::string& name) {
  tab& table = *state_.relinfo->tab[tableIndex];
  if (*table.stmt == '\0') generate_SQLi(state_.ctx, table, table.stmt, kStatementSize);
  TableRows collected(state_, table, tableIndex);
  collected.collect(container, branches, dadElement, name);
  if (state_.watch) state_.watch->rowsCollected(tableIndex, dadElement, collected.rows());
  insertRows(tableIndex, collected.rows());
}

void Walk::insertRows(int tableIndex, RowList& rows) {
  RowInserter inserter(state_.ctx, state_.relinfo, *state_.relinfo->tab[tableIndex]);
  inserter.prepare();
  for (int i = 0; i < rows.count(); ++i) {
    try {
      inserter.insert(rows.row(i));
    } catch (Failure& failure) {
      if (state_.watch) {
        const int faulty = inserter.faultyParameter(rows.row(i));
        state_.watch->rowRefused(failure, tableIndex, rows, i, faulty);
      }
      throw;
    }
  }
  inserter.close();
}

}  // namespace

void decompose_element(QrkStruct* ctx, rel* relinfo, const DOM_Document& document,
                       const DOM_Element& top) {
  const DOM_Element root = document.getDocumentElement();
  WalkState state{ctx, relinfo, root.owner(), DocumentNames(ctx, relinfo),
                  FirstDescendants(root.element())};
  std::optional<DataWatch> watch;
  if (NoticeListener* listener = noticeListener()) {
    state.watch = &watch.emplace(*listener, ctx, *relinfo, top, root.element());
  }
  const Lineage above{root.element()->getParentNode(), nullptr};
  try {
    Walk(state).decompose(nullptr, {{root.element(), &above}}, top.element());
  } catch (const Failure&) {
    if (watch) watch->endFailed();
    throw;
  }
  if (watch) watch->end();
}

tab* getTabofTopElement(rel* relinfo, const char* name) {
  for (int i = 0; i < relinfo->num_of_tables; ++i) {
    if (std::strcmp(relinfo->tab[i]->top_element, name) == 0) return relinfo->tab[i];
  }
  return nullptr;
}

}  // namespace orvxml

#include "src/decompose/dad_plan.h"

#include "orvxml/code_pages.h"
#include "src/decompose/document_names.h"
#include "src/decompose/row_extraction.h"

namespace orvxml {

namespace {

class Planner {
 public:
  Planner(WalkState& walk, int tableIndex, DadPlan& plan)
      : walk_(walk),
        ctx_(walk.ctx),
        tableIndex_(tableIndex),
        table_(*walk.relinfo->tab[tableIndex]),
        plan_(plan) {}

  // False when the walk stops at this child.
  bool addChild(xercesc::DOMElement* child);
  bool hasMappedChild() const { return hasMappedChild_; }

 private:
  bool addAttribute(xercesc::DOMElement* child);
  bool addElement(xercesc::DOMElement* child);
  void addText(const xercesc::DOMElement* child);
  DadStep& add(StepKind kind, std::string name, std::u16string xmlName);

  WalkState& walk_;
  QrkStruct* ctx_;
  int tableIndex_;
  const tab& table_;
  DadPlan& plan_;
  bool hasMappedChild_ = false;
};

bool Planner::addChild(xercesc::DOMElement* child) {
  const std::u16string_view tag = child->getTagName();
  if (tag == u"attribute_node") return addAttribute(child);
  if (tag == u"element_node") return addElement(child);
  if (tag == u"text_node") addText(child);
  return true;
}

DadStep& Planner::add(StepKind kind, std::string name, std::u16string xmlName) {
  DadStep& step = plan_.steps.emplace_back();
  step.kind = kind;
  step.name = std::move(name);
  step.xmlName = std::move(xmlName);
  return step;
}

void Planner::addText(const xercesc::DOMElement* child) {
  hasMappedChild_ = true;
  if (walk_.watch) walk_.watch->leafTaken(child, tableIndex_);
  add(StepKind::Text, plan_.name, {}).column = columnNamed(table_, plan_.name);
}

bool Planner::addAttribute(xercesc::DOMElement* child) {
  hasMappedChild_ = true;
  std::string name = dadName(ctx_, child);
  if (name.empty()) {
    add(StepKind::NamelessAttribute, {}, {});
    return false;
  }
  if (!isInTab(ctx_, &table_, name.c_str())) return true;
  const int column = columnNamed(table_, name);
  if (walk_.watch && column >= 0) walk_.watch->leafTaken(child, tableIndex_);
  DadStep& step = add(StepKind::Attribute, std::move(name), child->getAttribute(u"name"));
  step.column = column;
  step.joinName = joinAttributeName(step.xmlName);
  return true;
}

// The top element of another table is left to that table.
bool Planner::addElement(xercesc::DOMElement* child) {
  hasMappedChild_ = true;
  std::string name = dadName(ctx_, child);
  if (name.empty()) {
    add(StepKind::NamelessElement, {}, {});
    return false;
  }
  const tab* top = getTabofTopElement(walk_.relinfo, name.c_str());
  if (top != nullptr && top != &table_) return true;
  add(StepKind::Element, std::move(name), child->getAttribute(u"name")).dadElement = child;
  plan_.searchesChildren = true;
  return true;
}

}  // namespace

std::string dadName(QrkStruct* ctx, const xercesc::DOMElement* dadElement) {
  std::string name;
  if (!toDatabase(ctx, dadElement->getAttribute(u"name"), name)) name.clear();
  return name;
}

DadPlan planElement(WalkState& walk, int tableIndex, const xercesc::DOMElement* dadElement,
                    std::string name) {
  const tab& table = *walk.relinfo->tab[tableIndex];
  DadPlan plan;
  plan.name = std::move(name);
  plan.dadElement = dadElement;
  Planner planner(walk, tableIndex, plan);
  for (auto* child = dadElement->getFirstElementChild(); child;
       child = child->getNextElementSibling()) {
    if (!planner.addChild(child)) return plan;
  }
  plan.wholeElement = !planner.hasMappedChild() && isInTab(walk.ctx, &table, plan.name.c_str());
  if (!plan.wholeElement) return plan;
  plan.wholeElementColumn = columnNamed(table, plan.name);
  if (walk.watch) walk.watch->leafTaken(dadElement, tableIndex);
  return plan;
}

}  // namespace orvxml

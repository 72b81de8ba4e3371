// The stack of open elements.
#include "src/xmlcolumn/location_path_steps.h"

#include <utility>

namespace orvxml {

QrkCurrentPath::~QrkCurrentPath() {
  for (QrkCurrentPathNode* list : {head, spare_}) {
    while (list) delete std::exchange(list, list->next);
  }
}

void QrkCurrentPath::push(const XMLCh* name, const xercesc::Attributes& attributes) {
  // On the spare list until it is complete, so that no failure loses it.
  if (!spare_) spare_ = new QrkCurrentPathNode{.name = {}, .attrs = QrkAttrs(ctx)};
  spare_->name = name;
  spare_->attrs.initialize(attributes);
  QrkCurrentPathNode* const node = std::exchange(spare_, spare_->next);
  node->next = nullptr;
  node->parent = tail;
  (tail ? tail->next : head) = node;
  tail = node;
}

void QrkCurrentPath::pop() {
  if (!tail) return;
  QrkCurrentPathNode* const node = std::exchange(tail, tail->parent);
  (tail ? tail->next : head) = nullptr;
  node->next = spare_;
  spare_ = node;
}

}  // namespace orvxml

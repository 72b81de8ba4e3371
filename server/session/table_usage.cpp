#include "server/session/table_usage.h"

#include <algorithm>
#include <set>
#include <utility>

namespace orv {
namespace {

class UsageCollector {
 public:
  UsageCollector(TableUsage& usage, const Catalog& catalog) : usage_(usage), catalog_(catalog) {}

  void collect(const Query* query) {
    if (!query) return;
    for (const SelectItem& item : query->items) collect(item.expr.get());
    for (const auto& ref : query->from) collect(ref.get());
    collect(query->where.get());
    for (const ExprPtr& expr : query->groupBy) collect(expr.get());
    collect(query->having.get());
    for (const auto& row : query->rows) {
      for (const ExprPtr& expr : row) collect(expr.get());
    }
    for (const OrderItem& item : query->orderBy) collect(item.expr.get());
    collect(query->left.get());
    collect(query->right.get());
  }

  void collect(const Expr* expr) {
    if (!expr) return;
    for (const ExprPtr& argument : expr->args) collect(argument.get());
    collect(expr->query.get());
  }

 private:
  void collect(const TableRef* ref) {
    if (!ref) return;
    if (ref->table) add(*ref->table);
    collect(ref->query.get());
    for (const ExprPtr& argument : ref->functionArgs) collect(argument.get());
    collect(ref->left.get());
    collect(ref->right.get());
    collect(ref->on.get());
  }

  void add(const Table& table) {
    if (table.type == 'V') usage_.readsView = true;
    auto& names = usage_.disturbedBy;
    if (std::find(names.begin(), names.end(), table.storedName) != names.end()) return;
    names.push_back(table.storedName);
    for (const ForeignKey& key : table.foreignKeys) {
      const bool cascades = key.onDelete == "CASCADE" || key.onDelete == "SET NULL";
      const Table* parent =
          cascades ? catalog_.findTable(key.parentSchema, key.parentTable) : nullptr;
      if (parent) add(*parent);
    }
  }

  TableUsage& usage_;
  const Catalog& catalog_;
};

// Whether a change fires triggers that may change any table: its own, and those of the rows that
// foreign keys delete or set to null along with it.
class FiredTriggers {
 public:
  explicit FiredTriggers(const Catalog& catalog) : catalog_(catalog) {}

  bool any(const Table& table, TriggerEvent event) {
    if (!seen_.insert({&table, event}).second) return false;
    return table.firesOthers || firesOwn(table, event) ||
           (event == TriggerEvent::Delete && anyOfChildren(table));
  }

 private:
  bool firesOwn(const Table& table, TriggerEvent event) const {
    return std::ranges::any_of(catalog_.triggersOn(table), [&](const Trigger* trigger) {
      return trigger->time == TriggerTime::After && trigger->event == event;
    });
  }

  bool anyOfChildren(const Table& parent) {
    return std::ranges::any_of(catalog_.childrenOf(parent), [&](const Table* child) {
      return std::ranges::any_of(child->foreignKeys, [&](const ForeignKey& key) {
        const bool follows = catalog_.findTable(key.parentSchema, key.parentTable) == &parent;
        if (!follows) return false;
        if (key.onDelete == "CASCADE") return any(*child, TriggerEvent::Delete);
        return key.onDelete == "SET NULL" && any(*child, TriggerEvent::Update);
      });
    });
  }

  const Catalog& catalog_;
  std::set<std::pair<const Table*, TriggerEvent>> seen_;
};

bool firesAfterTriggers(const Statement& statement, const Catalog& catalog) {
  if (!changesRows(statement.kind)) return false;
  const TriggerEvent event = statement.kind == StatementKind::Insert   ? TriggerEvent::Insert
                             : statement.kind == StatementKind::Update ? TriggerEvent::Update
                                                                       : TriggerEvent::Delete;
  return FiredTriggers(catalog).any(*statement.table, event);
}

// Of all statements but queries.
Access accessOf(const Statement& statement) {
  switch (statement.kind) {
    case StatementKind::Select:
    case StatementKind::Call:
    case StatementKind::SetVariable:
    case StatementKind::Commit:
    case StatementKind::Rollback:
    case StatementKind::Savepoint:
    case StatementKind::ReleaseSavepoint:
    case StatementKind::SetFunctionPath:
    case StatementKind::SetSchema:
    case StatementKind::DeclareTable:
      return Access::None;
    default:
      return statement.table && statement.table->declared ? Access::Reads : Access::Changes;
  }
}

}  // namespace

bool TableUsage::conflictsWith(const TableUsage& change) const {
  return readsView || change.writesMore ||
         std::binary_search(disturbedBy.begin(), disturbedBy.end(), change.writes);
}

TableUsage tableUsage(const Statement& statement, const Catalog& catalog) {
  TableUsage usage;
  usage.access = accessOf(statement);
  if (statement.kind == StatementKind::Select) {
    UsageCollector(usage, catalog).collect(statement.query.get());
    std::sort(usage.disturbedBy.begin(), usage.disturbedBy.end());
    if (usage.readsView || !usage.disturbedBy.empty()) usage.access = Access::Reads;
  } else if (statement.table) {
    usage.writes = statement.table->storedName;
    usage.writesMore = statement.table->type == 'V' || firesAfterTriggers(statement, catalog);
  }
  return usage;
}

}  // namespace orv

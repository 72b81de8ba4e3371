#include "server/session/statement_cache.h"

#include "orv/sqlcli.h"
#include "server/resolve/resolver.h"
#include "server/syntax/sql_parser.h"

namespace orv {
namespace {

bool isCastMarker(const Expr& expr, bool (*accepts)(TypeKind)) {
  return expr.kind == ExprKind::Cast && accepts(expr.type.kind) && !expr.type.isDistinct() &&
         expr.args.size() == 1 && expr.args[0]->kind == ExprKind::Marker;
}

bool isExactlyInteger(TypeKind kind) {
  return kind == TypeKind::Integer;
}

LargeObjectForm largeObjectForm(const Statement& statement) {
  const Query* query = statement.query.get();
  const bool oneValue = statement.kind == StatementKind::Select && query &&
                        query->kind == QueryKind::Values && query->rows.size() == 1 &&
                        query->rows[0].size() == 1;
  if (!oneValue) return LargeObjectForm::None;
  const Expr& value = *query->rows[0][0];
  if (isCastMarker(value, isLargeObject)) return LargeObjectForm::Value;
  if (value.kind != ExprKind::Function || value.args.empty() || !value.name.schema.empty() ||
      !isCastMarker(*value.args[0], isLargeObject)) {
    return LargeObjectForm::None;
  }
  if (value.name.name == "LENGTH" && value.args.size() == 1) return LargeObjectForm::Length;
  const bool substring = value.name.name == "SUBSTR" && value.args.size() == 3 &&
                         isCastMarker(*value.args[1], isExactlyInteger) &&
                         isCastMarker(*value.args[2], isExactlyInteger);
  return substring ? LargeObjectForm::Substring : LargeObjectForm::None;
}

bool enginePrepares(StatementKind kind) {
  return kind == StatementKind::Select || changesRows(kind);
}

}  // namespace

Description describe(const SqlType& type) {
  Description description;
  description.type = cliType(type);
  description.size = static_cast<uint32_t>(declaredSize(type));
  if (type.kind == TypeKind::Decimal) description.digits = static_cast<int16_t>(type.scale);
  if (type.kind == TypeKind::Timestamp) description.digits = 6;
  description.nullable = type.nullable ? SQL_NULLABLE : SQL_NO_NULLS;
  return description;
}

Compilation::Compilation(std::string_view statementText, const Catalog& catalog)
    : text(statementText), statement(parseStatement(text)), catalogVersion(catalog.version()) {
  resolve(*statement, catalog);
  usage = tableUsage(*statement, catalog);
  markers.reserve(statement->markers.size());
  for (const MarkerInfo& marker : statement->markers) markers.push_back(describe(marker.type));
  largeObjectForm = orv::largeObjectForm(*statement);
  if (statement->kind == StatementKind::Insert && statement->table) {
    const Table& table = *statement->table;
    const bool plain = table.schema == catalog.defaultSchema();
    insertedTable = plain ? table.name : table.schema + "." + table.name;
  }
}

bool Compilation::isPrepared() const {
  return enginePrepares(statement->kind);
}

const std::vector<OutputColumn>& Compilation::columns() const {
  static const std::vector<OutputColumn> kNone;
  return statement->hasResult() && statement->query ? statement->query->columns : kNone;
}

CompilationPtr StatementCache::find(std::string_view text, const Catalog& catalog) {
  const auto at = byText_.find(text);
  if (at == byText_.end()) return nullptr;
  const Order::iterator entry = at->second;
  if ((*entry)->catalogVersion == catalog.version()) {
    order_.splice(order_.begin(), order_, entry);
    return *entry;
  }
  byText_.erase(at);
  order_.erase(entry);
  return nullptr;
}

CompilationPtr StatementCache::get(std::string_view text, const Catalog& catalog) {
  if (CompilationPtr known = find(text, catalog)) return known;
  auto compilation = std::make_shared<Compilation>(text, catalog);
  if (!compilation->isPrepared()) return compilation;
  order_.push_front(compilation);
  byText_.emplace(compilation->text, order_.begin());
  if (order_.size() > kCapacity) {
    byText_.erase(order_.back()->text);
    order_.pop_back();
  }
  return compilation;
}

void StatementCache::clear() {
  byText_.clear();
  order_.clear();
}

}  // namespace orv

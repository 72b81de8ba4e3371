// What expressions take from columns of tables, above all from those of other programs: these hold
// what their types do not promise.
#include "server/engine/sqlite/render/renderer.h"

namespace orv::sqlite {

const Column* baseColumn(const Expr& e) {
  const Expr* at = &e;
  while (at->kind == ExprKind::Column && at->source) {
    auto index = static_cast<size_t>(at->columnIndex);
    // The new row may be one that is only being made, and a column of a view any expression.
    if (at->source->kind == RefKind::Transition) return nullptr;
    if (const Table* table = at->source->table) {
      return table->type == 'V' && !table->foreign ? nullptr : &table->columns[index];
    }
    const Query* q = at->source->query.get();
    while (q && q->kind == QueryKind::SetOperation) q = q->left.get();
    if (!q || q->kind != QueryKind::Select || index >= q->items.size()) return nullptr;
    at = q->items[index].expr.get();
  }
  return nullptr;
}

const Column* foreignColumn(const Expr& e) {
  if (e.kind == ExprKind::Scalar) return foreignColumn(*e.query, 0);
  const bool extreme = e.aggregate && (e.function == "MIN" || e.function == "MAX");
  if (extreme) return foreignColumn(*e.args[0]);
  if (e.kind != ExprKind::Column || !e.source) return nullptr;
  const auto index = static_cast<size_t>(e.columnIndex);
  if (const Table* const table = e.source->table) {
    const Column& column = table->columns[index];
    return column.isForeign ? &column : nullptr;
  }
  return e.source->query ? foreignColumn(*e.source->query, index) : nullptr;
}

const Column* foreignColumn(const Query& q, size_t index) {
  if (q.kind == QueryKind::SetOperation) {
    const Column* const left = foreignColumn(*q.left, index);
    return left ? left : foreignColumn(*q.right, index);
  }
  if (q.kind == QueryKind::Select) {
    return index < q.items.size() ? foreignColumn(*q.items[index].expr) : nullptr;
  }
  for (const auto& row : q.rows) {
    if (const Column* const column = foreignColumn(*row[index])) return column;
  }
  return nullptr;
}

std::string storedColumn(std::string_view qualifier, const Table& table, const Column& column) {
  SqlText out;
  // Other programs write dates and times in forms of their own, which do not compare with ours.
  const bool rewritten = table.foreign && isDatetime(column.type.kind);
  if (rewritten) out << "ORV_ASSIGN(";
  out << Verbatim{qualifier} << "." << Name{column.storedName};
  if (rewritten) {
    out << "," << static_cast<int>(column.type.kind) << "," << column.type.length << ","
        << column.type.scale << "," << TextLiteral{qualifiedColumn(table, column)};
    if (table.numbered) out << "," << Verbatim{qualifier} << "." << Verbatim{rowNumberName(table)};
    out << ")";
  }
  return out.take();
}

// A column of a table brings its own collation, which an index on it has as well. What is stored in
// an untyped one is a text only when it is read.
bool bringsCollation(const Expr& e) {
  const Column* const column = baseColumn(e);
  return column && !column->isUntyped;
}

// A value that something is made of. What another program has stored is first made what it is when
// it is read, or fails; a column alone is not, so that its indexes can be used.
void Renderer::value(const Expr& e) {
  const Column* const column = foreignColumn(e);
  if (!column || !(isNumeric(e.type.kind) || column->isUntyped)) return expression(e);
  out_ << "ORV_STORED(";
  expression(e);
  storedAs(e, *column);
}

// The rest of that call: the type, and for failures the place of the value.
void Renderer::storedAs(const Expr& e, const Column& column) {
  const TableRef* const source = e.kind == ExprKind::Column ? e.source : nullptr;
  const Table* const table = source ? source->table : nullptr;
  const bool named = table && !table->name.empty();
  out_ << ",";
  typeArguments(e.type);
  out_ << "," << TextLiteral{named ? qualifiedColumn(*table, column) : column.name};
  if (named && table->foreign && table->numbered && source->kind == RefKind::BaseTable) {
    out_ << "," << Name{source->alias} << "." << Verbatim{rowNumberName(*table)};
  }
  out_ << ")";
}

// CAST takes what another program has stored as it is.
void Renderer::cast(const Expr& e) {
  const Expr& given = *e.args[0];
  if (!foreignColumn(given)) return converted(given, e.type, ConversionMode::Cast);
  out_ << "ORV_CAST(";
  expression(given);
  out_ << ",";
  typeArguments(e.type);
  out_ << ")";
}

}  // namespace orv::sqlite

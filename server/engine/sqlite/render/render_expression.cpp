// Values and search conditions. How two values compare follows from both their types; where that is
// not how SQLite would compare them, a collation or a conversion of one side is written.
#include <array>
#include <utility>

#include "server/engine/sqlite/render/renderer.h"
#include "server/values/numeral.h"
#include "server/values/sql_error.h"

namespace orv::sqlite {
namespace {

// Operators in one call: a function takes at most 100 arguments.
constexpr size_t kMaxChain = 19;

bool isVarying(TypeKind kind) {
  switch (kind) {
    case TypeKind::Char:
    case TypeKind::CharBits:
    case TypeKind::Graphic:
      return false;
    default:
      return true;
  }
}

// Whether every value of `from` is a value of `to` as it is stored.
bool contains(const SqlType& to, const SqlType& from) {
  if (to.kind == from.kind && to.length == from.length && to.scale == from.scale) return true;
  if (isInteger(to.kind)) return isInteger(from.kind) && from.kind <= to.kind;
  if (to.kind == TypeKind::Double) return from.kind == TypeKind::Real;
  if (to.kind == TypeKind::Decimal) {
    return from.kind == TypeKind::Decimal && from.scale == to.scale && from.length <= to.length;
  }
  bool sameFamily = (isCharacter(to.kind) && isCharacter(from.kind)) ||
                    (isGraphic(to.kind) && isGraphic(from.kind)) ||
                    (isBinary(to.kind) && isBinary(from.kind));
  return sameFamily && isVarying(to.kind) && from.length <= to.length;
}

std::string canonicalDecimal(std::string_view text, const SqlType& type) {
  std::string canonical;
  if (!Numeral::parse(text, type).toDecimal(static_cast<int>(type.length), type.scale, canonical)) {
    throw SqlError(-405, {std::string(text)});
  }
  return canonical;
}

}  // namespace

void Renderer::setRow(const TableRef* row, const RowTexts& texts) {
  std::erase_if(rows_, [&](const auto& known) { return known.first == row; });
  rows_.emplace_back(row, &texts);
}

std::string Renderer::textOf(const Expr& e) {
  SqlText around = std::exchange(out_, SqlText());
  expression(e);
  return std::exchange(out_, std::move(around)).take();
}

std::string Renderer::textOf(const Expr& e, const SqlType& type) {
  SqlText around = std::exchange(out_, SqlText());
  converted(e, type, ConversionMode::Assignment);
  return std::exchange(out_, std::move(around)).take();
}

void Renderer::expression(const Expr& e) {
  switch (e.kind) {
    case ExprKind::Literal:
      return literal(e, false);
    case ExprKind::Null:
      out_ << "NULL";
      return;
    case ExprKind::Default:
      throw SqlError(-104, {"DEFAULT", "", "<value>"});
    case ExprKind::Marker:
      out_ << "?" << e.markerIndex + 1;
      return;
    case ExprKind::Column:
      return column(e);
    case ExprKind::Star:
      out_ << "*";
      return;
    case ExprKind::SpecialRegister:
      return specialRegister(e);
    case ExprKind::Negate:
      return negate(e);
    case ExprKind::Arithmetic:
      return arithmetic(e);
    case ExprKind::Concat:
      return concat(e);
    case ExprKind::Compare:
      return comparison(*e.args[0], e.op, *e.args[1]);
    case ExprKind::And:
    case ExprKind::Or:
      return chain(e, 0, e.args.size());
    case ExprKind::Not:
      out_ << "(NOT ";
      expression(*e.args[0]);
      out_ << ")";
      return;
    case ExprKind::IsNull:
      out_ << "(";
      expression(*e.args[0]);
      if (e.negated) {
        out_ << " IS NOT NULL)";
      } else {
        out_ << " IS NULL)";
      }
      return;
    case ExprKind::Between:
      return between(e);
    case ExprKind::In:
      return e.query ? inQuery(e) : inList(e);
    case ExprKind::Like:
      return like(e);
    case ExprKind::Exists:
      out_ << "(";
      if (e.negated) out_ << "NOT ";
      out_ << "EXISTS (";
      query(*e.query);
      out_ << "))";
      return;
    case ExprKind::Scalar:
      return scalar(e);
    case ExprKind::Quantified:
      return quantified(e);
    case ExprKind::Case:
      return caseExpression(e);
    case ExprKind::Cast:
      return cast(e);
    case ExprKind::Function:
      return function(e);
  }
}

void Renderer::literal(const Expr& e, bool negative) {
  std::string text = (negative ? "-" : "") + e.text;
  switch (e.type.kind) {
    case TypeKind::SmallInt:
    case TypeKind::Integer:
    case TypeKind::BigInt:
    case TypeKind::Real:
    case TypeKind::Double:
      out_ << "(" << Verbatim{text} << ")";
      break;
    case TypeKind::Decimal:
      out_ << TextLiteral{canonicalDecimal(text, e.type)};
      break;
    default:
      if (isBinary(e.type.kind)) {
        out_ << BlobLiteral{e.text};
      } else {
        out_ << TextLiteral{e.text};
      }
  }
}

void Renderer::column(const Expr& e) {
  auto index = static_cast<size_t>(e.columnIndex);
  if (self_ && !e.source->table && !e.source->query) {
    out_ << Name{self_->columns[index].storedName};
    return;
  }
  if (e.source == inlined_) return expression(*e.source->query->rows.front()[index]);
  if (e.source->kind == RefKind::Transition) {
    for (const auto& [row, texts] : rows_) {
      if (row == e.source) out_ << Verbatim{(*texts)[index]};
    }
    return;
  }
  const Table* table = e.source->table;
  if (!table) {
    // Bare columns of table functions would be offered to it as conditions, in place of its
    // arguments where there are many.
    if (e.source->kind == RefKind::TableFunction) out_ << "+";
    out_ << Name{e.source->alias} << ".\"C" << e.columnIndex + 1 << "\"";
    return;
  }
  SqlText qualifier;
  qualifier << Name{e.source->alias};
  out_ << Verbatim{storedColumn(qualifier.text(), *table, table->columns[index])};
}

void Renderer::specialRegister(const Expr& e) {
  if (e.op == "CURRENT DATE") {
    out_ << "strftime('%Y-%m-%d','now','localtime')";
  } else if (e.op == "CURRENT TIME") {
    out_ << "strftime('%H.%M.%S','now','localtime')";
  } else if (e.op == "CURRENT TIMESTAMP") {
    out_ << "(strftime('%Y-%m-%d-%H.%M.%f','now','localtime')||'000')";
  } else {
    out_ << TextLiteral{e.op == "USER" ? catalog_.defaultSchema : currentSchema_};
  }
}

void Renderer::negate(const Expr& e) {
  const Expr& operand = *e.args[0];
  if (operand.kind == ExprKind::Literal) return literal(operand, true);
  out_ << "ORV_ARITHMETIC(0,";
  value(operand);
  out_ << ",'-',";
  typeArguments(e.type);
  out_ << ")";
}

// A chain such as a + b - c becomes one call of many arguments: SQLite's parser allows far fewer
// levels than a sum may have terms.
void Renderer::arithmetic(const Expr& e) {
  std::vector<const Expr*> steps;
  const Expr* first = &e;
  while (first->kind == ExprKind::Arithmetic && steps.size() < kMaxChain) {
    steps.push_back(first);
    first = first->args[0].get();
  }
  out_ << "ORV_ARITHMETIC(";
  value(*first);
  for (size_t i = steps.size(); i-- > 0;) {
    out_ << ",";
    value(*steps[i]->args[1]);
    out_ << "," << TextLiteral{steps[i]->op} << ",";
    typeArguments(steps[i]->type);
  }
  out_ << ")";
}

void Renderer::typeArguments(const SqlType& type) {
  out_ << static_cast<int>(type.kind) << "," << (type.anyLength ? 0 : type.length) << ","
       << type.scale;
}

void Renderer::argumentList(const Expr& e) {
  Comma comma;
  for (const ExprPtr& argument : e.args) {
    out_ << comma;
    value(*argument);
  }
}

void Renderer::concat(const Expr& e) {
  if (isBinary(e.type.kind)) {
    out_ << "ORV_CONCAT_BYTES(";
    argumentList(e);
    out_ << ")";
    return;
  }
  out_ << "(";
  bool first = true;
  for (const ExprPtr& argument : e.args) {
    if (!first) out_ << "||";
    first = false;
    value(*argument);
  }
  out_ << ")";
}

// AND and OR of any number of operands, as a balanced tree: SQLite limits its depth.
void Renderer::chain(const Expr& e, size_t first, size_t last) {
  if (last - first == 1) return expression(*e.args[first]);
  size_t middle = first + (last - first) / 2;
  out_ << "(";
  chain(e, first, middle);
  if (e.kind == ExprKind::And) {
    out_ << " AND ";
  } else {
    out_ << " OR ";
  }
  chain(e, middle, last);
  out_ << ")";
}

Renderer::Comparison Renderer::comparisonOf(const SqlType& a, const SqlType& b) {
  if (isNumeric(a.kind) && isNumeric(b.kind)) {
    if (isFloating(a.kind) || isFloating(b.kind)) return Comparison::Floating;
    bool decimal = a.kind == TypeKind::Decimal || b.kind == TypeKind::Decimal;
    return decimal ? Comparison::Decimal : Comparison::Plain;
  }
  if (isBinary(a.kind) || isBinary(b.kind)) return Comparison::Bytes;
  bool text = isCharacter(a.kind) || isGraphic(a.kind) || isCharacter(b.kind) || isGraphic(b.kind);
  return text ? Comparison::Text : Comparison::Plain;
}

// The storage class that an operand must be cast to for a comparison; empty when it has it.
std::string_view Renderer::castFor(const SqlType& type, Comparison comparison) {
  switch (comparison) {
    case Comparison::Decimal:
      return isInteger(type.kind) ? "TEXT" : "";
    case Comparison::Floating:
      return type.kind == TypeKind::Decimal ? "REAL" : "";
    case Comparison::Bytes:
      return isCharacter(type.kind) ? "BLOB" : "";
    default:
      return "";
  }
}

// Values of an untyped column are compared as what they are when they are read; large objects are
// not compared.
void Renderer::operand(const Expr& e, Comparison comparison) {
  const bool text = comparison == Comparison::Text && !isLargeObject(e.type.kind);
  const Column* const column = text ? foreignColumn(e) : nullptr;
  if (column && column->isUntyped) return value(e);
  std::string_view cast = castFor(e.type, comparison);
  if (cast.empty()) return expression(e);
  out_ << "CAST(";
  expression(e);
  out_ << " AS " << Verbatim{cast} << ")";
}

void Renderer::collation(Comparison comparison, bool columnDecides) {
  if (comparison == Comparison::Decimal) out_ << " COLLATE ORV_DECIMAL";
  if (comparison == Comparison::Text && !columnDecides) out_ << " COLLATE RTRIM";
}

// A value that DISTINCT, GROUP BY, ORDER BY, a set operation or a column function compares with its
// like: texts are then equal as they are for =, whatever blanks they end with.
void Renderer::gathered(const Expr& e) {
  operand(e, comparisonOf(e.type, e.type));
  if (!bringsCollation(e)) gatheredTexts(e.type);
}

void Renderer::gatheredTexts(const SqlType& type) {
  if (isLargeObject(type.kind) || comparisonOf(type, type) != Comparison::Text) return;
  collation(Comparison::Text, false);
}

void Renderer::comparison(const Expr& a, std::string_view op, const Expr& b) {
  Comparison kind = comparisonOf(a.type, b.type);
  out_ << "(";
  operand(a, kind);
  collation(kind, bringsCollation(a) || bringsCollation(b));
  out_ << " " << Verbatim{op} << " ";
  operand(b, kind);
  out_ << ")";
}

// How `value` compares with args[first], args[first + step], ... of `e` up to `last`, all in one
// way: Floating wins over Decimal, and Decimal over Plain.
Renderer::Comparison Renderer::commonComparison(const Expr& value, const Expr& e, size_t first,
                                                size_t last, size_t step) {
  Comparison kind = Comparison::Plain;
  for (size_t i = first; i < last; i += step) {
    Comparison next = comparisonOf(value.type, e.args[i]->type);
    if (kind == Comparison::Plain || next == Comparison::Floating) kind = next;
  }
  return kind;
}

void Renderer::between(const Expr& e) {
  const Expr& value = *e.args[0];
  Comparison kind = commonComparison(value, e, 1, 3, 1);
  out_ << "(";
  operand(value, kind);
  collation(kind, bringsCollation(value));
  if (e.negated) out_ << " NOT";
  out_ << " BETWEEN ";
  operand(*e.args[1], kind);
  out_ << " AND ";
  operand(*e.args[2], kind);
  out_ << ")";
}

void Renderer::inList(const Expr& e) {
  const Expr& value = *e.args[0];
  Comparison kind = commonComparison(value, e, 1, e.args.size(), 1);
  out_ << "(";
  operand(value, kind);
  collation(kind, bringsCollation(value));
  if (e.negated) out_ << " NOT";
  out_ << " IN (";
  Comma comma;
  for (size_t i = 1; i < e.args.size(); ++i) {
    out_ << comma;
    operand(*e.args[i], kind);
  }
  out_ << "))";
}

void Renderer::inQuery(const Expr& e) {
  const Expr& value = *e.args[0];
  const SqlType& type = e.query->columns.front().type;
  Comparison kind = comparisonOf(value.type, type);
  std::string_view cast = castFor(type, kind);
  out_ << "(";
  operand(value, kind);
  collation(kind, bringsCollation(value));
  if (e.negated) out_ << " NOT";
  out_ << " IN (";
  if (!cast.empty()) out_ << "SELECT CAST(\"C1\" AS " << Verbatim{cast} << ") FROM (";
  query(*e.query);
  if (!cast.empty()) out_ << ")";
  out_ << "))";
}

void Renderer::like(const Expr& e) {
  out_ << "(";
  if (e.negated) out_ << "NOT ";
  out_ << "ORV_LIKE(";
  argumentList(e);
  out_ << "))";
}

// More than one row is an error, where SQLite would take the first.
void Renderer::scalar(const Expr& e) {
  const Query& q = *e.query;
  bool single =
      (q.kind == QueryKind::Values && q.rows.size() == 1) || (q.fetchFirst && *q.fetchFirst == 1);
  out_ << "(";
  if (!single) out_ << "SELECT ORV_SINGLE(\"C1\") FROM (";
  query(q);
  if (!single) out_ << ")";
  out_ << ")";
}

// a op ANY (query): true when true for some row, else unknown when unknown for some, else false;
// ALL the other way round. The rows' outcomes are gathered by an aggregate.
void Renderer::quantified(const Expr& e) {
  const Expr& value = *e.args[0];
  const SqlType& type = e.query->columns.front().type;
  Comparison kind = comparisonOf(value.type, type);
  std::string_view cast = castFor(type, kind);
  bool all = e.text == "ALL";
  out_ << "(SELECT CASE WHEN ";
  if (all) {
    out_ << "min(\"R\")=0 THEN 0 WHEN max(\"R\" IS NULL)=1 THEN NULL ELSE 1";
  } else {
    out_ << "max(\"R\")=1 THEN 1 WHEN max(\"R\" IS NULL)=1 THEN NULL ELSE 0";
  }
  out_ << " END FROM (SELECT ";
  operand(value, kind);
  collation(kind, bringsCollation(value));
  out_ << " " << Verbatim{e.op} << " ";
  if (cast.empty()) {
    out_ << "\"C1\"";
  } else {
    out_ << "CAST(\"C1\" AS " << Verbatim{cast} << ")";
  }
  out_ << " AS \"R\" FROM (";
  query(*e.query);
  out_ << ")))";
}

void Renderer::caseExpression(const Expr& e) {
  size_t first = e.hasOperand ? 1 : 0;
  size_t pairsEnd = e.args.size() - (e.hasElse ? 1 : 0);
  Comparison kind = Comparison::Plain;
  out_ << "CASE";
  if (e.hasOperand) {
    const Expr& value = *e.args[0];
    kind = commonComparison(value, e, 1, pairsEnd, 2);
    out_ << " ";
    operand(value, kind);
    collation(kind, bringsCollation(value));
  }
  for (size_t at = first; at + 1 < pairsEnd; at += 2) {
    out_ << " WHEN ";
    operand(*e.args[at], kind);
    out_ << " THEN ";
    converted(*e.args[at + 1], e.type, ConversionMode::Cast);
  }
  if (e.hasElse) {
    out_ << " ELSE ";
    converted(*e.args.back(), e.type, ConversionMode::Cast);
  }
  out_ << " END";
}

void Renderer::converted(const Expr& e, const SqlType& type, ConversionMode mode,
                         std::string_view target) {
  // What a trigger hands on as it is needs no function of ours, which other programs lack.
  const bool ofRow = e.kind == ExprKind::Column && e.source->kind == RefKind::Transition;
  const bool foreign = !ofRow && foreignColumn(e);
  const bool promised = !e.type.anyLength && (!foreign || isNumeric(e.type.kind));
  const bool as = e.kind == ExprKind::Null || type.kind == TypeKind::Unknown ||
                  (promised && contains(type, e.type));
  if (as) return ofRow ? expression(e) : value(e);
  if (mode == ConversionMode::Cast) {
    out_ << "ORV_CAST(";
  } else {
    out_ << "ORV_ASSIGN(";
  }
  value(e);
  out_ << ",";
  typeArguments(type);
  if (!target.empty() && mode == ConversionMode::Assignment) out_ << "," << TextLiteral{target};
  out_ << ")";
}

}  // namespace orv::sqlite

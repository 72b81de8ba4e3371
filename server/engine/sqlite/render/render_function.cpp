// Functions: built-in scalar functions as ORV_ functions, and column functions.
#include "server/engine/sqlite/functions/string_unit.h"
#include "server/engine/sqlite/render/renderer.h"
#include "server/values/sql_error.h"
#include "server/values/type_rules.h"

namespace orv::sqlite {
namespace {

bool isOneOf(std::string_view name, std::initializer_list<std::string_view> names) {
  for (std::string_view candidate : names) {
    if (candidate == name) return true;
  }
  return false;
}

// The kind that YEAR, HOUR and so on read their argument as.
TypeKind partKind(std::string_view function, const SqlType& type) {
  if (isDatetime(type.kind)) return type.kind;
  bool ofDay = isOneOf(function, {"HOUR", "MINUTE", "SECOND"});
  return ofDay ? TypeKind::Time : TypeKind::Timestamp;
}

}  // namespace

void Renderer::function(const Expr& e) {
  if (e.routine) return scalarCall(e);
  const std::string& name = e.function;
  if (e.aggregate) return aggregate(e);
  if (name == "LENGTH") return length(e);
  if (name == "NULLIF") return nullIf(e);
  if (unitFunction(e)) return;
  if (name == "TIMESTAMP" && e.args.size() == 1) {
    return converted(*e.args[0], e.type, ConversionMode::Cast);
  }
  if (name == "COALESCE") {
    out_ << "COALESCE(";
  } else {
    // What grows may outgrow its type.
    bool grows = name == "REPLACE" || name == "REPEAT";
    if (grows) {
      out_ << "ORV_ASSIGN(ORV_" << Verbatim{name} << "(";
      argumentList(e);
      out_ << "),";
      typeArguments(e.type);
      out_ << ")";
      return;
    }
    out_ << "ORV_" << Verbatim{name} << "(";
  }
  if (isOneOf(name, {"ABS", "SIGN", "CEIL", "FLOOR", "ROUND", "TRUNCATE", "MOD"})) {
    typeArguments(e.type);
    out_ << ",";
  } else if (isOneOf(name, {"HEX", "DIGITS"})) {
    SqlType type = e.args[0]->type;
    if (name == "DIGITS") type.length = e.type.length;
    typeArguments(type);
    out_ << ",";
  } else if (isOneOf(name, {"YEAR", "MONTH", "DAY", "HOUR", "MINUTE", "SECOND"})) {
    out_ << static_cast<int>(partKind(name, e.args[0]->type)) << ",";
  }
  argumentList(e);
  out_ << ")";
}

void Renderer::scalarCall(const Expr& e) {
  out_ << "ORV_FUNCTION(" << TextLiteral{e.routine->schema};
  callArguments(*e.routine, e.args);
  out_ << ")";
}

// What follows the schema: the specific name, and the arguments, which are assigned to the
// parameters.
void Renderer::callArguments(const Function& routine, const std::vector<ExprPtr>& arguments) {
  out_ << "," << TextLiteral{routine.specific};
  for (size_t i = 0; i < arguments.size(); ++i) {
    out_ << ",";
    converted(*arguments[i], routine.parameters[i], ConversionMode::Assignment);
  }
}

// SUBSTR, LEFT, RIGHT, LOCATE, POSSTR: the unit of counting first.
bool Renderer::unitFunction(const Expr& e) {
  const std::string& name = e.function;
  bool searches = name == "LOCATE" || name == "POSSTR";
  if (!searches && !isOneOf(name, {"SUBSTR", "LEFT", "RIGHT"})) return false;
  const Expr& text = *e.args[name == "LOCATE" ? 1 : 0];
  out_ << "ORV_" << Verbatim{searches ? "LOCATE" : name} << "("
       << static_cast<int>(unitOf(text.type.kind)) << ",";
  if (name == "POSSTR") {
    value(*e.args[1]);
    out_ << ",";
    value(*e.args[0]);
  } else {
    argumentList(e);
  }
  out_ << ")";
  return true;
}

void Renderer::length(const Expr& e) {
  const Expr& text = *e.args[0];
  if (isNumeric(text.type.kind) || isDatetime(text.type.kind)) {
    out_ << "CASE WHEN ";
    expression(text);
    out_ << " IS NOT NULL THEN " << byteLength(text.type) << " END";
    return;
  }
  out_ << "ORV_LENGTH(" << static_cast<int>(unitOf(text.type.kind)) << ",";
  value(text);
  out_ << ")";
}

void Renderer::nullIf(const Expr& e) {
  const Expr& given = *e.args[0];
  Comparison kind = comparisonOf(given.type, e.args[1]->type);
  const Column* const foreign = isNumeric(given.type.kind) ? foreignColumn(given) : nullptr;
  // What was cast for the comparison alone is cast back.
  const bool back = !foreign && !castFor(given.type, kind).empty();
  if (foreign) out_ << "ORV_STORED(";
  if (back) out_ << "ORV_CAST(";
  out_ << "NULLIF(";
  operand(given, kind);
  collation(kind, bringsCollation(given));
  out_ << ",";
  operand(*e.args[1], kind);
  out_ << ")";
  if (foreign) return storedAs(given, *foreign);
  if (!back) return;
  out_ << ",";
  typeArguments(given.type);
  out_ << ")";
}

void Renderer::aggregate(const Expr& e) {
  if (e.function == "AVG") return average(e);
  if (e.function != "SUM") return aggregateCall(e.function, e);
  TypeKind operand = e.args[0]->type.kind;
  if (isFloating(operand)) return aggregateCall("SUM", e);
  // The total of INTEGERs is an INTEGER again: adding nothing checks that it is one.
  out_ << "ORV_ARITHMETIC(";
  aggregateCall(operand == TypeKind::Decimal ? "ORV_SUM_DECIMAL" : "ORV_SUM_INTEGER", e);
  out_ << ",0,'+',";
  typeArguments(e.type);
  out_ << ")";
}

void Renderer::average(const Expr& e) {
  if (isFloating(e.args[0]->type.kind)) return aggregateCall("AVG", e);
  out_ << "ORV_QUOTIENT(";
  aggregateCall("ORV_AVERAGE", e);
  out_ << ",";
  typeArguments(e.type);
  out_ << ")";
}

void Renderer::aggregateCall(std::string_view name, const Expr& e) {
  out_ << Verbatim{name} << "(";
  const bool extreme = name == "MIN" || name == "MAX";
  const Expr& argument = *e.args[0];
  if (e.distinct) out_ << "DISTINCT ";
  if (isNumeric(argument.type.kind) && !extreme && e.function != "COUNT") {
    value(argument);
  } else if (e.distinct || extreme) {
    gathered(argument);
  } else {
    expression(argument);
  }
  if (extreme && e.type.kind == TypeKind::Decimal) out_ << " COLLATE ORV_DECIMAL";
  out_ << ")";
}

}  // namespace orv::sqlite

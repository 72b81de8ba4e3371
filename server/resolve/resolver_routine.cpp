// Calls of registered functions. Of the functions that have the name and take the arguments, the
// one is called whose parameters lie nearest to the arguments' types, the first argument deciding
// before the second and so on; among equals the one whose schema comes first in the function path.
// The built-in functions and those that are made with distinct types take part in this.
#include <algorithm>
#include <utility>

#include "server/resolve/resolver_impl.h"
#include "server/values/sql_error.h"
#include "server/values/type_rules.h"

namespace orv {
namespace {

using Steps = std::vector<int>;

// An argument without a type (a marker, NULL) goes to every parameter.
std::optional<Steps> stepsTo(const Function& function, const std::vector<ExprPtr>& arguments) {
  if (function.parameters.size() != arguments.size()) return std::nullopt;
  Steps steps;
  steps.reserve(arguments.size());
  for (size_t i = 0; i < arguments.size(); ++i) {
    const SqlType& type = arguments[i]->type;
    const std::optional<int> distance = type.kind == TypeKind::Unknown
                                            ? std::optional(0)
                                            : promotionSteps(function.parameters[i], type);
    if (!distance) return std::nullopt;
    steps.push_back(*distance);
  }
  return steps;
}

// Whether both would give the same type to the arguments that have none.
bool typeAlike(const Function& a, const Function& b, const std::vector<ExprPtr>& arguments) {
  for (size_t i = 0; i < arguments.size(); ++i) {
    const bool untyped = arguments[i]->type.kind == TypeKind::Unknown;
    if (untyped && !sameParameterType(a.parameters[i], b.parameters[i])) return false;
  }
  return true;
}

// The type of a value that was declared as that of a parameter or result.
SqlType valueType(const SqlType& declared) {
  SqlType type = declared;
  type.nullable = true;
  type.locator = false;
  return type;
}

struct Choice {
  const Function* function = nullptr;
  Steps steps;
  bool ambiguous = false;
};

// `candidates` come in the order of the function path.
Choice nearest(const std::vector<const Function*>& candidates, bool tables,
               const std::vector<ExprPtr>& arguments) {
  Choice best;
  for (const Function* candidate : candidates) {
    if ((candidate->kind == FunctionKind::Table) != tables) continue;
    std::optional<Steps> steps = stepsTo(*candidate, arguments);
    if (!steps) continue;
    if (!best.function || *steps < best.steps) {
      best = {candidate, std::move(*steps), false};
    } else if (*steps == best.steps && !typeAlike(*candidate, *best.function, arguments)) {
      best.ambiguous = true;
    }
  }
  return best;
}

}  // namespace

// Null when a built-in function or one of a distinct type is nearer, or no registered one fits.
const Function* Resolver::chooseRoutine(const Expr& call) const {
  const auto candidates = catalog_.functionsNamed(call.name.schema, call.name.name);
  const Choice best = nearest(candidates, false, call.args);
  if (!best.function) return nullptr;
  if (const std::optional<Steps> other = builtInSteps(call)) {
    const bool nearer =
        *other < best.steps || (*other == best.steps && !precedesBuiltIns(*best.function, call));
    if (nearer) return nullptr;
  }
  if (best.ambiguous) throw SqlError(-418);
  return best.function;
}

// A path that does not name the schema of the built-in functions begins with it. The functions of
// distinct types come last.
bool Resolver::precedesBuiltIns(const Function& function, const Expr& call) const {
  if (!builtInFor(call)) return true;
  const std::vector<std::string>& path = catalog_.functionPath();
  const auto builtIns = std::ranges::find(path, kBuiltInSchema);
  return builtIns != path.end() && std::find(path.begin(), builtIns, function.schema) != builtIns;
}

// The registered function of exactly these parameters; null when there is none.
const Function* Resolver::findRoutine(const QualifiedName& name,
                                      const std::vector<SqlType>& parameters) const {
  for (const Function* candidate : catalog_.functionsNamed(name.schema, name.name)) {
    if (std::ranges::equal(candidate->parameters, parameters, sameParameterType)) return candidate;
  }
  return nullptr;
}

// A sourced function stands for CAST(source(CAST(arguments)) AS result), and its source may be
// another one.
void Resolver::callRoutine(ExprPtr& expr, const Function& chosen) {
  std::vector<SqlType> results;
  const Function* function = &chosen;
  while (function && function->kind == FunctionKind::Sourced) {
    passToSource(*expr, *function);
    results.push_back(valueType(function->result));
    expr->name = {function->sourceSchema, function->sourceName, {}};
    function = findRoutine(expr->name, function->sourceParameters);
  }
  if (function) {
    for (size_t i = 0; i < expr->args.size(); ++i) {
      giveType(*expr->args[i], valueType(function->parameters[i]));
    }
    expr->routine = function;
    expr->function = function->name;
    expr->name.resolvedSchema = function->schema;
    expr->type = valueType(function->result);
  } else {
    callBuiltIn(*expr);
  }
  raiseHeight(*expr);
  while (!results.empty()) {
    castTo(expr, results.back());
    results.pop_back();
  }
}

// Strings are not cut on their way: what takes them in the end says when one is too long.
void Resolver::passToSource(Expr& call, const Function& function) {
  for (size_t i = 0; i < call.args.size(); ++i) {
    ExprPtr& argument = call.args[i];
    SqlType own = valueType(function.parameters[i]);
    const SqlType source = valueType(function.sourceParameters[i]);
    giveType(*argument, own);
    if (argument->type.kind != own.kind) {
      if (!isNumeric(own.kind)) own.length = std::max(own.length, argument->type.length);
      castTo(argument, own);
    }
    if (promotionSteps(source, argument->type)) continue;
    if (argument->type.isDistinct()) {
      castTo(argument, makeType(argument->type.kind, argument->type.length, argument->type.scale));
    }
    if (!promotionSteps(source, argument->type)) castTo(argument, source);
  }
}

void Resolver::castTo(ExprPtr& expr, const SqlType& type) const {
  if (sameType(expr->type, type)) return;
  wrapInCast(expr, type);
  if (expr->height > kMaxNesting) throw SqlError(-101);
}

// ---------------------------------------------------------------- table functions

// Its arguments see the tables before it in the same FROM, but not from within parentheses or from
// within a RIGHT or FULL JOIN.
void Resolver::resolveTableFunction(TableRef& table, Scope& scope) {
  for (ExprPtr& argument : table.functionArgs) resolveExpr(argument, scope);
  const auto candidates = catalog_.functionsNamed(table.name.schema, table.name.name);
  const Choice best = nearest(candidates, true, table.functionArgs);
  if (!best.function) throw SqlError(-440, {shown(table.name)});
  if (best.ambiguous) throw SqlError(-418);
  for (size_t i = 0; i < table.functionArgs.size(); ++i) {
    giveType(*table.functionArgs[i], valueType(best.function->parameters[i]));
  }
  table.routine = best.function;
  table.name.resolvedSchema = best.function->schema;
  for (const OutputColumn& column : best.function->columns) {
    table.columns.push_back({column.name, valueType(column.type)});
  }
}

}  // namespace orv

// CREATE FUNCTION and DROP FUNCTION.
#include <algorithm>
#include <utility>

#include "server/resolve/resolver_impl.h"
#include "server/values/sql_error.h"
#include "server/values/type_rules.h"

namespace orv {
namespace {

constexpr size_t kMaxParameters = 90;

std::vector<SqlType> typesOf(const std::vector<ParameterDefinition>& parameters) {
  std::vector<SqlType> types;
  types.reserve(parameters.size());
  for (const ParameterDefinition& parameter : parameters) types.push_back(parameter.type);
  return types;
}

std::string listText(const std::vector<SqlType>& types) {
  std::string text;
  for (const SqlType& type : types) text += (text.empty() ? "" : ",") + typeText(type);
  return text;
}

// Types that the calling convention has no form for.
bool isLongString(TypeKind kind) {
  return kind == TypeKind::LongVarchar || kind == TypeKind::LongVarcharBits ||
         kind == TypeKind::LongVarGraphic;
}

}  // namespace

void Resolver::resolveCreateFunction() {
  FunctionDefinition& function = statement_.function;
  QualifiedName& name = function.name;
  name.resolvedSchema = schemaOf(name);
  statement_.name.resolvedSchema = name.resolvedSchema;
  requireSchemaOfUsers(name.resolvedSchema, name);
  requireSpecificSchema(function.specificSchema, name);
  if (function.parameters.size() > kMaxParameters) throw SqlError(-101);
  resolveFunctionTypes(function);
  requireNewSignature(function);
  if (function.kind == FunctionKind::Sourced) {
    resolveSource(function);
  } else {
    requireExternalName(function.externalName, name);
  }
  giveSpecificName(function.specific, name);
}

void Resolver::resolveFunctionTypes(FunctionDefinition& function) {
  const auto resolveType = [&](ParameterDefinition& definition) {
    resolveTypeName(definition.type, definition.typeName);
    checkFunctionType(function, definition.type);
  };
  std::ranges::for_each(function.parameters, resolveType);
  std::vector<std::string> names;
  for (ParameterDefinition& column : function.columns) {
    resolveType(column);
    if (std::ranges::find(names, column.name) != names.end()) throw SqlError(-612, {column.name});
    names.push_back(column.name);
  }
  if (function.kind == FunctionKind::Table) return;
  resolveType(function.result);
  if (!function.castFrom) return;
  const SqlType& result = function.result.type;
  resolveType(*function.castFrom);
  const SqlType& from = function.castFrom->type;
  if (from.isDistinct() || !castable(result, from)) {
    throw SqlError(-453, {display(function.name), typeText(result)});
  }
}

void Resolver::checkFunctionType(const FunctionDefinition& function, const SqlType& type) const {
  if (type.locator && !isLargeObject(type.kind)) throw SqlError(-398, {typeText(type)});
  const bool external = function.kind != FunctionKind::Sourced;
  if (external && isLongString(type.kind)) {
    throw SqlError(-451, {display(function.name), typeText(type)});
  }
}

// Functions of one name and schema differ in their parameters, those of the distinct types
// included.
void Resolver::requireNewSignature(const FunctionDefinition& function) const {
  const std::string& schema = function.name.resolvedSchema;
  const std::vector<SqlType> parameters = typesOf(function.parameters);
  bool taken = findRoutine({schema, function.name.name, schema}, parameters) != nullptr;
  if (parameters.size() == 1) {
    const SqlType& parameter = parameters.front();
    const DistinctType* type = catalog_.findType(schema, function.name.name);
    Expr call;
    call.name.schema = schema;
    call.name.name = function.name.name;
    taken = taken || (type && sameParameterType(type->source, parameter)) ||
            isBackFunction(call, parameter);
  }
  if (taken) throw SqlError(-454, {display(function.name)});
}

// ---------------------------------------------------------------- sources

// Afterwards `source` is the source's own name and schema, and `sourceParameters` are its types.
void Resolver::resolveSource(FunctionDefinition& function) {
  for (ParameterDefinition& parameter : function.sourceParameters) {
    resolveTypeName(parameter.type, parameter.typeName);
  }
  SqlType result;
  if (const Function* source = findSource(function)) {
    function.source = {source->schema, source->name, source->schema};
    function.sourceParameters.clear();
    for (const SqlType& type : source->parameters) {
      function.sourceParameters.emplace_back().type = type;
    }
    result = source->result;
  } else {
    result = builtInSource(function);
  }
  if (function.parameters.size() != function.sourceParameters.size()) {
    throw SqlError(-483, {display(function.name)});
  }
  for (size_t i = 0; i < function.parameters.size(); ++i) {
    if (castable(function.sourceParameters[i].type, function.parameters[i].type)) continue;
    throw SqlError(-492, {display(function.name), std::to_string(i + 1)});
  }
  if (!castable(function.result.type, result)) {
    throw SqlError(-453, {display(function.name), typeText(function.result.type)});
  }
}

// The registered function that is meant; null when none is, so that only a built-in one can be.
const Function* Resolver::findSource(FunctionDefinition& function) {
  const QualifiedName& name = function.source;
  const Function* found = nullptr;
  if (function.sourceIsSpecific) {
    found = catalog_.findSpecificFunction(schemaOf(name), name.name);
    if (!found) throw SqlError(-204, {display(name)});
  } else if (function.sourceSignatureGiven) {
    found = findRoutine(name, typesOf(function.sourceParameters));
  } else {
    for (const Function* candidate : catalog_.functionsNamed(name.schema, name.name)) {
      if (found) throw SqlError(-476, {shown(name)});
      found = candidate;
    }
  }
  if (found && found->kind == FunctionKind::Table) throw SqlError(-440, {shown(name)});
  return found;
}

// A built-in function, or one of a distinct type, as a call with values of its parameters' types
// finds it. Returns what the call gives.
SqlType Resolver::builtInSource(FunctionDefinition& function) {
  if (!function.sourceSignatureGiven) function.sourceParameters = function.parameters;
  Expr call;
  call.kind = ExprKind::Function;
  call.name = function.source;
  for (const ParameterDefinition& parameter : function.sourceParameters) {
    auto& argument = call.args.emplace_back(std::make_unique<Expr>());
    argument->kind = ExprKind::Column;
    argument->type = parameter.type;
  }
  const BuiltInFunction* builtIn = builtInFor(call);
  if (builtIn && builtIn->aggregate) throw SqlError(-440, {shown(function.source)});
  callBuiltIn(call);
  if (builtIn) {
    function.source.resolvedSchema = kBuiltInSchema;
  } else if (const DistinctType* type =
                 catalog_.findType(function.source.schema, function.source.name)) {
    function.source.resolvedSchema = type->schema;
  } else {
    function.source.resolvedSchema = function.source.schema;
  }
  return call.type;
}

// ---------------------------------------------------------------- DROP FUNCTION

void Resolver::resolveDropFunction() {
  QualifiedName& name = statement_.name;
  name.resolvedSchema = schemaOf(name);
  for (ParameterDefinition& parameter : statement_.dropSignature) {
    resolveTypeName(parameter.type, parameter.typeName);
  }
  if (statement_.specific) {
    statement_.droppedFunction = catalog_.findSpecificFunction(name.resolvedSchema, name.name);
    if (!statement_.droppedFunction) throw SqlError(-204, {display(name)});
    return;
  }
  const auto named = catalog_.functionsNamed(name.resolvedSchema, name.name);
  if (named.empty()) throw SqlError(-204, {display(name)});
  if (!statement_.dropSignatureGiven) {
    if (named.size() > 1) throw SqlError(-476, {display(name)});
    statement_.droppedFunction = named.front();
    return;
  }
  const std::vector<SqlType> parameters = typesOf(statement_.dropSignature);
  statement_.droppedFunction =
      findRoutine({name.resolvedSchema, name.name, name.resolvedSchema}, parameters);
  if (!statement_.droppedFunction) throw SqlError(-458, {display(name), listText(parameters)});
}

}  // namespace orv

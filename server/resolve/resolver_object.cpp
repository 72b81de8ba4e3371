// Definitions of types, schemas, table spaces and procedures, and what routines have in common.
#include <algorithm>

#include "server/resolve/resolver_impl.h"
#include "server/values/sql_error.h"

namespace orv {

// Schemas of the system take no objects of users.
void Resolver::requireSchemaOfUsers(const std::string& schema, const QualifiedName& object) const {
  if (schema.starts_with("SYS")) throw SqlError(-553, {display(object)});
}

// An object with one-part name: `exists` must be as `wanted`.
void Resolver::resolveNamed(bool exists, bool wanted, std::string_view type) const {
  if (exists == wanted) return;
  if (wanted) throw SqlError(-204, {statement_.name.name});
  throw SqlError(-601, {statement_.name.name, std::string(type)});
}

void Resolver::resolveTableSpace() {
  const bool wanted = statement_.kind == StatementKind::DropTableSpace;
  resolveNamed(catalog_.tableSpaceExists(statement_.name.name), wanted, "TABLESPACE");
}

void Resolver::resolveSchema() {
  const std::string& name = statement_.name.name;
  const bool wanted = statement_.kind == StatementKind::DropSchema;
  if (!wanted && name.starts_with("SYS")) throw SqlError(-553, {name});
  resolveNamed(catalog_.schemaExists(name), wanted, "SCHEMA");
}

// ALL is what its holder could grant: everything but CONTROL, and on a view what goes for its rows.
void Resolver::resolveGrant() {
  if (statement_.name.name.empty()) return;
  const Table& table = findTable(statement_.name);
  requireStored(table, statement_.grant.revoke ? "REVOKE" : "GRANT");
  statement_.table = &table;
  if (!statement_.grant.all) return;
  for (const std::string_view privilege : kTablePrivileges) {
    const bool ofRows = privilege == "DELETE" || privilege == "INSERT" || privilege == "SELECT" ||
                        privilege == "UPDATE";
    if (privilege == "CONTROL" || (table.type != 'T' && !ofRows)) continue;
    statement_.grant.privileges.emplace_back(privilege);
  }
}

void Resolver::resolveCreateType() {
  QualifiedName& name = statement_.name;
  name.resolvedSchema = schemaOf(name);
  requireSchemaOfUsers(name.resolvedSchema, name);
  checkGraphic(statement_.sourceType);
  if (catalog_.findType(name.resolvedSchema, name.name)) {
    throw SqlError(-601, {display(name), "DISTINCT TYPE"});
  }
}

void Resolver::resolveDropType() {
  QualifiedName& name = statement_.name;
  const DistinctType* type = catalog_.findType(name.schema, name.name);
  if (!type) throw SqlError(-204, {display(name)});
  name.resolvedSchema = type->schema;
}

// ---------------------------------------------------------------- routines

// external name: library ! entry
void Resolver::requireExternalName(const std::string& external,
                                   const QualifiedName& routine) const {
  const size_t mark = external.find('!');
  if (mark == 0 || mark == std::string::npos || mark + 1 == external.size()) {
    throw SqlError(-449, {display(routine)});
  }
}

void Resolver::requireSpecificSchema(const std::string& schema,
                                     const QualifiedName& routine) const {
  if (!schema.empty() && schema != routine.resolvedSchema) {
    throw SqlError(-455, {schema, routine.resolvedSchema});
  }
}

// Procedures and functions of a schema differ in their specific names. Without one a routine gets
// its own name, with a number behind it when that is taken.
void Resolver::giveSpecificName(std::string& specific, const QualifiedName& routine) const {
  const std::string& schema = routine.resolvedSchema;
  const auto procedure = [&](const std::string& name) {
    return catalog_.findSpecificProcedure(schema, name) != nullptr;
  };
  const auto function = [&](const std::string& name) {
    return catalog_.findSpecificFunction(schema, name) != nullptr;
  };
  if (!specific.empty()) {
    if (procedure(specific)) throw SqlError(-601, {schema + "." + specific, "PROCEDURE"});
    if (function(specific)) throw SqlError(-601, {schema + "." + specific, "FUNCTION"});
    return;
  }
  specific = routine.name;
  for (int number = 1; procedure(specific) || function(specific); ++number) {
    specific = routine.name + std::to_string(number);
  }
}

// Procedures of one name differ in their number of parameters.
void Resolver::resolveCreateProcedure() {
  ProcedureDefinition& procedure = statement_.procedure;
  const std::string& schema = schemaOf(procedure.name);
  procedure.name.resolvedSchema = schema;
  statement_.name.resolvedSchema = schema;
  requireSchemaOfUsers(schema, procedure.name);
  requireSpecificSchema(procedure.specificSchema, procedure.name);
  for (ParameterDefinition& parameter : procedure.parameters) {
    resolveTypeName(parameter.type, parameter.typeName);
  }
  requireExternalName(procedure.externalName, procedure.name);
  if (catalog_.findProcedure(schema, procedure.name.name, procedure.parameters.size())) {
    throw SqlError(-454, {display(procedure.name)});
  }
  giveSpecificName(procedure.specific, procedure.name);
}

void Resolver::resolveDropProcedure() {
  QualifiedName& name = statement_.name;
  if (statement_.specific) {
    statement_.routine = catalog_.findSpecificProcedure(schemaOf(name), name.name);
  } else {
    for (ParameterDefinition& parameter : statement_.dropSignature) {
      resolveTypeName(parameter.type, parameter.typeName);
    }
    for (const Procedure* candidate : catalog_.proceduresNamed(name.schema, name.name)) {
      const bool same =
          !statement_.dropSignatureGiven ||
          std::ranges::equal(candidate->parameters, statement_.dropSignature,
                             [](const ParameterDefinition& a, const ParameterDefinition& b) {
                               return sameType(a.type, b.type);
                             });
      if (!same) continue;
      if (statement_.routine) throw SqlError(-476, {display(name)});
      statement_.routine = candidate;
    }
  }
  if (!statement_.routine) throw SqlError(-204, {display(name)});
  name.resolvedSchema = statement_.routine->schema;
}

}  // namespace orv

#include "server/catalog/system_views.h"

#include <algorithm>
#include <iterator>

namespace orv {
namespace {

using ViewColumn = SystemView::ViewColumn;

constexpr ViewColumn text(std::string_view name, int64_t length = 128, bool nullable = false) {
  return {name, TypeKind::Varchar, length, nullable};
}
constexpr ViewColumn small(std::string_view name, bool nullable = false) {
  return {name, TypeKind::SmallInt, 0, nullable};
}
constexpr ViewColumn integer(std::string_view name, bool nullable = false) {
  return {name, TypeKind::Integer, 0, nullable};
}

ViewValue number(int64_t value) {
  return value;
}
ViewValue textOrNull(const std::string& value) {
  return value.empty() ? ViewValue() : ViewValue(value);
}
std::string yesNo(bool yes) {
  return yes ? "Y" : "N";
}

// "2G" is one byte more than the length's type holds.
ViewValue lengthOf(const SqlType& type) {
  const bool declares = type.length > 0;
  return number(std::min(declares ? type.length : byteLength(type), kMaxLob));
}

std::string typeSchemaOf(const SqlType& type) {
  return type.isDistinct() ? type.distinctSchema : std::string(kSystemSchema);
}

SqlType sourceOf(SqlType type) {
  type.distinctSchema.clear();
  type.distinctName.clear();
  return type;
}

// Position in the primary key from 1; null for other columns.
ViewValue keySequence(const Table& table, size_t column) {
  if (!table.primaryKey) return {};
  const auto& columns = table.primaryKey->columns;
  auto found = std::find(columns.begin(), columns.end(), static_cast<int>(column));
  return found == columns.end() ? ViewValue() : number(found - columns.begin() + 1);
}

constexpr ViewColumn kTables[] = {text("TABSCHEMA"),
                                  text("TABNAME"),
                                  text("TYPE", 1),
                                  text("BASE_TABSCHEMA", 128, true),
                                  text("BASE_TABNAME", 128, true),
                                  text("TBSPACE", 128, true),
                                  small("COLCOUNT"),
                                  small("KEYCOLUMNS"),
                                  small("KEYUNIQUE"),
                                  small("PARENTS"),
                                  small("CHECKCOUNT")};

std::vector<ViewRow> tableRows(const CatalogData& data) {
  std::vector<ViewRow> rows;
  for (const auto& t : data.tables) {
    if (t->declared) continue;
    int64_t keyColumns = t->primaryKey ? static_cast<int64_t>(t->primaryKey->columns.size()) : 0;
    std::string type(1, t->type == 'S' ? 'V' : t->type);
    rows.push_back({t->schema, t->name, type, textOrNull(t->baseSchema), textOrNull(t->baseTable),
                    textOrNull(t->tableSpace), number(static_cast<int64_t>(t->columns.size())),
                    number(keyColumns), number(static_cast<int64_t>(t->uniqueKeys.size())),
                    number(static_cast<int64_t>(t->foreignKeys.size())),
                    number(static_cast<int64_t>(t->checks.size()))});
  }
  return rows;
}

constexpr ViewColumn kColumns[] = {text("TABSCHEMA"),
                                   text("TABNAME"),
                                   text("COLNAME"),
                                   small("COLNO"),
                                   text("TYPESCHEMA"),
                                   text("TYPENAME"),
                                   integer("LENGTH"),
                                   small("SCALE"),
                                   text("NULLS", 1),
                                   small("KEYSEQ", true),
                                   text("DEFAULT", 254, true),
                                   small("CODEPAGE")};

std::vector<ViewRow> columnRows(const CatalogData& data) {
  std::vector<ViewRow> rows;
  for (const auto& t : data.tables) {
    if (t->declared) continue;
    for (size_t i = 0; i < t->columns.size(); ++i) {
      const Column& c = t->columns[i];
      bool hasCodePage = isCharacter(c.type.kind) || isGraphic(c.type.kind);
      rows.push_back({t->schema, t->name, c.name, number(static_cast<int64_t>(i)),
                      typeSchemaOf(c.type), typeName(c.type), lengthOf(c.type),
                      number(c.type.scale), yesNo(c.type.nullable), keySequence(*t, i),
                      textOrNull(c.defaultText), number(hasCodePage ? data.codePage : 0)});
    }
  }
  return rows;
}

constexpr ViewColumn kDatatypes[] = {text("TYPESCHEMA"),
                                     text("TYPENAME"),
                                     text("SOURCESCHEMA", 128, true),
                                     text("SOURCENAME", 128, true),
                                     text("METATYPE", 1),
                                     integer("LENGTH"),
                                     small("SCALE")};

std::vector<ViewRow> datatypeRows(const CatalogData& data) {
  std::vector<ViewRow> rows;
  for (const auto& t : data.types) {
    rows.push_back({t->schema, t->name, std::string(kSystemSchema), typeName(sourceOf(t->source)),
                    std::string("T"), lengthOf(t->source), number(t->source.scale)});
  }
  for (auto kind = TypeKind::SmallInt; kind <= TypeKind::Timestamp;
       kind = static_cast<TypeKind>(static_cast<int>(kind) + 1)) {
    if (kind >= TypeKind::CharBits && kind <= TypeKind::LongVarcharBits) continue;
    SqlType type;
    type.kind = kind;
    rows.push_back({std::string(kSystemSchema), typeName(type), ViewValue(), ViewValue(),
                    std::string("S"), lengthOf(type), number(0)});
  }
  return rows;
}

constexpr ViewColumn kTablespaces[] = {text("TBSPACE")};

std::vector<ViewRow> tablespaceRows(const CatalogData& data) {
  std::vector<ViewRow> rows;
  for (const std::string& name : data.tableSpaces) rows.push_back({name});
  return rows;
}

constexpr ViewColumn kSchemata[] = {text("SCHEMANAME")};

std::vector<ViewRow> schemaRows(const CatalogData& data) {
  std::vector<ViewRow> rows;
  for (const std::string& name : data.schemas) rows.push_back({name});
  return rows;
}

constexpr ViewColumn kDefinitionText = {"TEXT", TypeKind::Clob, 2097152, false};

constexpr ViewColumn kTriggers[] = {
    text("TRIGSCHEMA"),  text("TRIGNAME"),     text("TABSCHEMA"),      text("TABNAME"),
    text("TRIGTIME", 1), text("TRIGEVENT", 1), text("GRANULARITY", 1), kDefinitionText};

std::vector<ViewRow> triggerRows(const CatalogData& data) {
  static constexpr const char* kEvents[] = {"I", "U", "D"};
  std::vector<ViewRow> rows;
  for (const auto& t : data.triggers) {
    rows.push_back({t->schema, t->name, t->tableSchema, t->tableName,
                    std::string(t->time == TriggerTime::Before ? "B" : "A"),
                    std::string(kEvents[static_cast<int>(t->event)]), std::string("R"), t->text});
  }
  return rows;
}

constexpr ViewColumn kViewTexts[] = {text("VIEWSCHEMA"), text("VIEWNAME"), kDefinitionText};

std::vector<ViewRow> viewRows(const CatalogData& data) {
  std::vector<ViewRow> rows;
  for (const auto& v : data.views) rows.push_back({v->schema, v->name, v->text});
  return rows;
}

constexpr ViewColumn kTabauth[] = {
    text("GRANTOR"),      text("GRANTEE"),        text("GRANTEETYPE", 1), text("TABSCHEMA"),
    text("TABNAME"),      text("CONTROLAUTH", 1), text("ALTERAUTH", 1),   text("DELETEAUTH", 1),
    text("INDEXAUTH", 1), text("INSERTAUTH", 1),  text("SELECTAUTH", 1),  text("REFAUTH", 1),
    text("UPDATEAUTH", 1)};

// Y(es), N(o), G(rantable), a row for each table and grantee.
std::vector<ViewRow> privilegeRows(const CatalogData& data) {
  constexpr size_t kFirst = std::size(kTabauth) - std::size(kTablePrivileges);
  std::vector<ViewRow> rows;
  for (const TablePrivilege& p : data.privileges) {
    ViewRow key{data.defaultSchema, p.grantee, std::string(1, p.granteeType), p.schema, p.table};
    const bool more = !rows.empty() && std::equal(key.begin(), key.end(), rows.back().begin());
    if (!more) {
      rows.push_back(std::move(key));
      rows.back().resize(std::size(kTabauth), std::string("N"));
    }
    const auto position = static_cast<size_t>(std::ranges::find(kTablePrivileges, p.privilege) -
                                              std::begin(kTablePrivileges));
    if (position == std::size(kTablePrivileges)) continue;
    rows.back()[kFirst + position] = std::string(p.grantable ? "G" : "Y");
  }
  return rows;
}

constexpr ViewColumn kProcedures[] = {text("PROCSCHEMA"),          text("PROCNAME"),
                                      text("SPECIFICNAME"),        small("PARM_COUNT"),
                                      text("IMPLEMENTATION", 254), text("PARM_STYLE", 18)};

std::vector<ViewRow> procedureRows(const CatalogData& data) {
  std::vector<ViewRow> rows;
  for (const auto& p : data.procedures) {
    rows.push_back({p->schema, p->name, p->specific,
                    number(static_cast<int64_t>(p->parameters.size())), p->library + "!" + p->entry,
                    p->parameterStyle});
  }
  return rows;
}

constexpr ViewColumn kProcparms[] = {
    text("PROCSCHEMA"),          text("PROCNAME"),     text("SPECIFICNAME"), small("ORDINAL"),
    text("PARMNAME", 128, true), text("PARM_MODE", 5), text("TYPESCHEMA"),   text("TYPENAME"),
    integer("LENGTH"),           small("SCALE"),       text("AS_LOCATOR", 1)};

std::vector<ViewRow> parameterRows(const CatalogData& data) {
  static constexpr const char* kModes[] = {"IN", "OUT", "INOUT"};
  std::vector<ViewRow> rows;
  for (const auto& p : data.procedures) {
    int64_t ordinal = 0;
    for (const ParameterDefinition& parameter : p->parameters) {
      rows.push_back(
          {p->schema, p->name, p->specific, number(++ordinal), textOrNull(parameter.name),
           std::string(kModes[static_cast<int>(parameter.mode)]), typeSchemaOf(parameter.type),
           typeName(parameter.type), lengthOf(parameter.type), number(parameter.type.scale),
           yesNo(parameter.type.locator)});
    }
  }
  return rows;
}

constexpr ViewColumn kFunctions[] = {text("FUNCSCHEMA"),
                                     text("FUNCNAME"),
                                     text("SPECIFICNAME"),
                                     text("ORIGIN", 1),
                                     text("TYPE", 1),
                                     small("PARM_COUNT"),
                                     text("IMPLEMENTATION", 254, true),
                                     text("SOURCE_SCHEMA", 128, true),
                                     text("SOURCE_NAME", 128, true),
                                     text("DETERMINISTIC", 1, true),
                                     text("NULL_CALL", 1, true),
                                     integer("SCRATCHPAD", true),
                                     text("FINAL_CALL", 1, true),
                                     text("DBINFO", 1, true)};

std::vector<ViewRow> functionRows(const CatalogData& data) {
  std::vector<ViewRow> rows;
  for (const auto& f : data.functions) {
    const bool sourced = f->kind == FunctionKind::Sourced;
    const auto external = [&](const ViewValue& value) { return sourced ? ViewValue() : value; };
    // E(xternal) or U(ser's function on another one); S(calar) or T(able)
    rows.push_back({f->schema, f->name, f->specific, std::string(sourced ? "U" : "E"),
                    std::string(f->kind == FunctionKind::Table ? "T" : "S"),
                    number(static_cast<int64_t>(f->parameters.size())),
                    external(f->library + "!" + f->entry), textOrNull(f->sourceSchema),
                    textOrNull(f->sourceName), external(yesNo(f->deterministic)),
                    external(yesNo(f->nullCall)), external(number(f->scratchpad)),
                    external(yesNo(f->finalCall)), external(yesNo(f->dbInfo))});
  }
  return rows;
}

constexpr ViewColumn kFuncparms[] = {
    text("FUNCSCHEMA"), text("FUNCNAME"),     text("SPECIFICNAME"),
    text("ROWTYPE", 1), small("ORDINAL"),     text("PARMNAME", 128, true),
    text("TYPESCHEMA"), text("TYPENAME"),     integer("LENGTH"),
    small("SCALE"),     text("AS_LOCATOR", 1)};

// P(arameters) from 1, the R(esult) as the code gives it, the result after its C(ast), and the
// columns of table functions as R from 1.
std::vector<ViewRow> functionTypeRows(const CatalogData& data) {
  std::vector<ViewRow> rows;
  for (const auto& f : data.functions) {
    const auto add = [&](const char* rowType, int64_t ordinal, const std::string& name,
                         const SqlType& type) {
      rows.push_back({f->schema, f->name, f->specific, std::string(rowType), number(ordinal),
                      textOrNull(name), typeSchemaOf(type), typeName(type), lengthOf(type),
                      number(type.scale), yesNo(type.locator)});
    };
    int64_t ordinal = 0;
    for (const SqlType& type : f->parameters) add("P", ++ordinal, {}, type);
    ordinal = 0;
    for (const OutputColumn& column : f->columns) add("R", ++ordinal, column.name, column.type);
    if (f->kind == FunctionKind::Table) continue;
    if (f->kind == FunctionKind::Scalar) add("R", 0, {}, f->returned);
    add("C", 0, {}, f->result);
  }
  return rows;
}

constexpr ViewColumn kPackages[] = {text("PKGSCHEMA"), text("PKGNAME"), text("UNIQUE_ID")};

std::vector<ViewRow> packageRows(const CatalogData& data) {
  std::vector<ViewRow> rows;
  for (const Package& p : data.packages) rows.push_back({p.qualifier, p.name, p.token});
  return rows;
}

constexpr ViewColumn kIndexes[] = {text("INDSCHEMA"), text("INDNAME"),       text("TABSCHEMA"),
                                   text("TABNAME"),   text("COLNAMES", 640), text("UNIQUERULE", 1),
                                   small("COLCOUNT")};

std::vector<ViewRow> indexRows(const CatalogData& data) {
  std::vector<ViewRow> rows;
  for (const auto& i : data.indexes) {
    if (i->declared) continue;
    std::string columns;
    for (const auto& [name, descending] : i->columns) {
      columns.append(descending ? "-" : "+").append(name);
    }
    rows.push_back({i->schema, i->name, i->tableSchema, i->tableName, columns,
                    std::string(i->unique ? "U" : "D"),
                    number(static_cast<int64_t>(i->columns.size()))});
  }
  return rows;
}

constexpr ViewColumn kReferences[] = {text("TABSCHEMA"),    text("TABNAME"),    text("CONSTNAME"),
                                      text("REFTABSCHEMA"), text("REFTABNAME"), small("COLCOUNT"),
                                      text("DELETERULE", 1)};

std::vector<ViewRow> referenceRows(const CatalogData& data) {
  std::vector<ViewRow> rows;
  for (const auto& t : data.tables) {
    if (t->declared) continue;
    for (const ForeignKey& f : t->foreignKeys) {
      // A(no action), C(ascade), N(ull), R(estrict)
      std::string rule = f.onDelete == "CASCADE"    ? "C"
                         : f.onDelete == "SET NULL" ? "N"
                         : f.onDelete == "RESTRICT" ? "R"
                                                    : "A";
      rows.push_back({t->schema, t->name, f.name, f.parentSchema, f.parentTable,
                      number(static_cast<int64_t>(f.columns.size())), rule});
    }
  }
  return rows;
}

constexpr ViewColumn kKeycoluse[] = {text("TABSCHEMA"), text("TABNAME"), text("CONSTNAME"),
                                     text("COLNAME"), small("COLSEQ")};

std::vector<ViewRow> keyColumnRows(const CatalogData& data) {
  std::vector<ViewRow> rows;
  for (const auto& t : data.tables) {
    if (t->declared) continue;
    auto add = [&](const std::string& name, const std::vector<int>& columns) {
      for (size_t i = 0; i < columns.size(); ++i) {
        rows.push_back({t->schema, t->name, name, t->columns[static_cast<size_t>(columns[i])].name,
                        number(static_cast<int64_t>(i) + 1)});
      }
    };
    if (t->primaryKey) add(t->primaryKey->name, t->primaryKey->columns);
    for (const Key& key : t->uniqueKeys) add(key.name, key.columns);
    for (const ForeignKey& key : t->foreignKeys) add(key.name, key.columns);
  }
  return rows;
}

constexpr SystemView kViews[] = {
    {"TABLES", kTables, tableRows},
    {"COLUMNS", kColumns, columnRows},
    {"DATATYPES", kDatatypes, datatypeRows},
    {"TABLESPACES", kTablespaces, tablespaceRows},
    {"SCHEMATA", kSchemata, schemaRows},
    {"TRIGGERS", kTriggers, triggerRows},
    {"VIEWS", kViewTexts, viewRows},
    {"TABAUTH", kTabauth, privilegeRows},
    {"PROCEDURES", kProcedures, procedureRows},
    {"PROCPARMS", kProcparms, parameterRows},
    {"FUNCTIONS", kFunctions, functionRows},
    {"FUNCPARMS", kFuncparms, functionTypeRows},
    {"PACKAGES", kPackages, packageRows},
    {"INDEXES", kIndexes, indexRows},
    {"REFERENCES", kReferences, referenceRows},
    {"KEYCOLUSE", kKeycoluse, keyColumnRows},
};

}  // namespace

std::span<const SystemView> systemViews() {
  return kViews;
}

void addSystemViews(CatalogData& data) {
  for (const SystemView& view : kViews) {
    auto table = std::make_unique<Table>();
    table->schema = kSystemViewSchema;
    table->name = view.name;
    table->type = 'S';
    table->storedName = std::string(kSystemViewSchema) + "." + std::string(view.name);
    for (const ViewColumn& viewColumn : view.columns) {
      Column column;
      column.name = viewColumn.name;
      column.storedName = viewColumn.name;
      column.type.kind = viewColumn.kind;
      column.type.length = viewColumn.length;
      column.type.nullable = viewColumn.nullable;
      table->columns.push_back(std::move(column));
    }
    data.tables.push_back(std::move(table));
  }
}

std::vector<ViewRow> systemViewRows(const SystemView& view, const CatalogData& data) {
  std::vector<ViewRow> rows = view.rows(data);
  size_t keys = std::min<size_t>(2, view.columns.size());
  std::stable_sort(rows.begin(), rows.end(), [keys](const ViewRow& a, const ViewRow& b) {
    return std::lexicographical_compare(a.begin(), a.begin() + static_cast<ptrdiff_t>(keys),
                                        b.begin(), b.begin() + static_cast<ptrdiff_t>(keys));
  });
  return rows;
}

}  // namespace orv

// The tree of one SQL statement. The parser makes it from the text alone; the resolver then fills
// in, in place, what the members marked "resolved" say: which table a name means, which type each
// expression, marker and result column has. An engine reads resolved trees and never ORV text.
//
// Names are folded already: ordinary identifiers in upper case, delimited ones as written. A
// QualifiedName without a schema has an empty one; the resolver fills in the schema that was meant
// (in `resolvedSchema`, never in `schema`, so that the text can be told).
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/values/types.h"

namespace orv {

struct Table;  // server/resolve/catalog.h
struct Procedure;
struct Function;
struct Trigger;
struct Query;
struct Expr;
using ExprPtr = std::unique_ptr<Expr>;
using QueryPtr = std::unique_ptr<Query>;

struct QualifiedName {
  std::string schema;
  std::string name;
  std::string resolvedSchema;  // resolved
};

// ---------------------------------------------------------------- expressions

enum class ExprKind : uint8_t {
  Literal,  // text, type
  Null,
  Default,          // DEFAULT, as a value of INSERT or UPDATE
  Marker,           // ?: markerIndex
  Column,           // name parts; resolved: source, columnIndex
  Star,             // * in COUNT(*)
  SpecialRegister,  // CURRENT DATE, CURRENT TIME, CURRENT TIMESTAMP, USER, CURRENT SCHEMA: op
  Negate,           // - a
  Arithmetic,       // a op b with + - * /
  Concat,           // a || b; the resolver turns CONCAT(a, b) into it
  Compare,          // a op b with = <> < > <= >=
  And,              // any number of operands: a long chain is one node
  Or,
  Not,
  IsNull,      // negated: IS NOT NULL
  Between,     // a BETWEEN b AND c
  In,          // a IN (list) or a IN (query)
  Like,        // a LIKE b [ESCAPE c]
  Exists,      // query
  Scalar,      // (query)
  Quantified,  // a op ANY|ALL (query): op, text = "ANY" or "ALL"
  Case,        // [operand] pairs of WHEN/THEN in `args`, then ELSE when hasElse
  Cast,        // CAST(a AS type); name = the type's name when it is no built-in type. The
               // resolver turns conversion functions (INTEGER(a), ORVXML.XMLCLOB(a)) into it
  Function,    // name(args): `function` says which; column functions have `aggregate` set
};

struct TableRef;

// Trees are never higher, so that walks over them may recurse.
inline constexpr int kMaxNesting = 500;

struct Expr {
  ExprKind kind = ExprKind::Null;
  SqlType type;             // parsed for Literal and Cast; resolved for the rest
  std::string op;           // operator, special register ("CURRENT DATE"), as written above
  std::string text;         // literal's value: digits as written, string content
  bool negated = false;     // NOT BETWEEN, NOT IN, NOT LIKE, IS NOT NULL, NOT EXISTS
  bool distinct = false;    // COUNT(DISTINCT a)
  bool hasOperand = false;  // CASE operand WHEN
  bool hasElse = false;
  bool aggregate = false;  // resolved: a column function
  int markerIndex = -1;    // from 0, in order of appearance
  QualifiedName name;      // function; column: name = column, schema = qualifier's schema
  std::string qualifier;   // column: table or correlation name before the period
  std::vector<ExprPtr> args;
  QueryPtr query;
  size_t offset = 0;  // byte offset in the statement's text, for messages
  int height = 1;     // levels of nodes from here down, at most kMaxNesting

  std::string function;  // resolved: the function's own name, UPPER also for UCASE
  // resolved: the registered external function that is called, or null for a built-in one. Its
  // arguments have been converted to the parameters' types (distinct types: to their sources).
  const Function* routine = nullptr;
  const TableRef* source = nullptr;  // resolved: the table or derived table of a column
  int columnIndex = -1;              // resolved: its position there, from 0
};

// ---------------------------------------------------------------- queries

struct OutputColumn {
  std::string name;  // its number when the query gives it none (an expression)
  SqlType type;
};

enum class RefKind : uint8_t {
  BaseTable,
  Derived,
  Join,
  TableFunction,
  Transition,  // the row before or after a change, in a trigger: one row
};
enum class JoinKind : uint8_t { Inner, Left, Right, Full };

struct TableRef {
  RefKind kind = RefKind::BaseTable;
  QualifiedName name;                    // BaseTable; TableFunction: the function's name
  std::string correlation;               // AS name; empty when not given
  std::vector<std::string> columnNames;  // AS T(c1, c2)
  QueryPtr query;                        // Derived: (query) or TABLE(query) or TABLE(VALUES ...)
  // TableFunction: may name columns of the tables to the left of it in the same FROM.
  std::vector<ExprPtr> functionArgs;
  JoinKind join = JoinKind::Inner;  // Join
  std::unique_ptr<TableRef> left;
  std::unique_ptr<TableRef> right;
  ExprPtr on;
  size_t offset = 0;
  int height = 1;  // as in Expr

  const Table* table = nullptr;       // resolved: BaseTable
  const Function* routine = nullptr;  // resolved: TableFunction; arguments as in Expr
  std::vector<OutputColumn> columns;  // resolved: for every kind but Join
  std::string alias;  // resolved: a name unique in the whole statement, "T1", "T2"...
};

struct SelectItem {
  ExprPtr expr;  // null for * and T.*
  bool star = false;
  QualifiedName starQualifier;  // T.* ; empty name for a bare *
  std::string as;
};

struct OrderItem {
  ExprPtr expr;  // a bare integer literal is a column number
  bool descending = false;
  int columnNumber = -1;  // resolved: the result column it means, from 0; then `expr` is not to be
                          // read. -1: an expression over the tables
};

enum class QueryKind : uint8_t { Select, Values, SetOperation };

struct Query {
  QueryKind kind = QueryKind::Select;

  // Select
  bool distinct = false;
  std::vector<SelectItem> items;  // resolved: stars are replaced by their columns
  std::vector<std::unique_ptr<TableRef>> from;
  ExprPtr where;
  std::vector<ExprPtr> groupBy;
  ExprPtr having;

  // Values
  std::vector<std::vector<ExprPtr>> rows;

  // SetOperation
  std::string op;  // "UNION", "EXCEPT", "INTERSECT"
  bool all = false;
  QueryPtr left;
  QueryPtr right;

  std::vector<OrderItem> orderBy;
  std::optional<int64_t> fetchFirst;  // FETCH FIRST n ROWS ONLY
  int height = 1;                     // as in Expr

  std::vector<OutputColumn> columns;  // resolved
};

// ---------------------------------------------------------------- statements

enum class StatementKind : uint8_t {
  Select,  // query; also a top-level VALUES
  Insert,
  Update,
  Delete,
  Call,
  SetVariable,  // VALUES ... INTO is not needed: embedded SQL fetches instead
  Commit,
  Rollback,  // savepoint: ROLLBACK TO SAVEPOINT
  Savepoint,
  ReleaseSavepoint,
  CreateTable,
  DeclareTable,  // DECLARE GLOBAL TEMPORARY TABLE
  DropTable,
  AlterTable,
  CreateIndex,
  DropIndex,
  CreateAlias,
  DropAlias,
  CreateDistinctType,
  DropDistinctType,
  CreateTableSpace,
  DropTableSpace,
  CreateSchema,
  DropSchema,
  CreateProcedure,
  DropProcedure,
  CreateFunction,
  DropFunction,
  CreateTrigger,
  DropTrigger,
  CreateView,
  DropView,
  Grant,  // and REVOKE
  SetFunctionPath,
  SetSchema,
};

// INSERT, UPDATE, DELETE.
inline bool changesRows(StatementKind kind) {
  return kind >= StatementKind::Insert && kind <= StatementKind::Delete;
}

struct Assignment {  // SET column = value
  std::string column;
  ExprPtr value;
  int columnIndex = -1;     // resolved
  std::string qualifier{};  // in a trigger: the correlation name before the period
};

// Constraints of a column that are named, and all check constraints, stand among the keys of the
// table instead.
struct ColumnDefinition {
  std::string name;
  SqlType type;            // distinct types: resolved to their source
  QualifiedName typeName;  // a type written as a name (a distinct type); else empty
  bool notNull = false;
  bool primaryKey = false;
  bool unique = false;
  ExprPtr defaultValue;  // null when none; Kind Null for WITH DEFAULT alone
  bool withDefault = false;
  QualifiedName references;  // column-level REFERENCES; empty name when none
  std::vector<std::string> referencesColumns;
  std::string onDelete;
  size_t offset = 0;
};

struct KeyDefinition {
  enum class Kind : uint8_t { Primary, Unique, Foreign, Check } kind = Kind::Primary;
  std::string constraint;  // CONSTRAINT name; empty when not given
  std::vector<std::string> columns;
  QualifiedName references;                    // Foreign
  std::vector<std::string> referencesColumns;  // empty: the parent's primary key (resolved: filled)
  std::string onDelete;                        // "", "CASCADE", "SET NULL", "RESTRICT", "NO ACTION"
  ExprPtr check;
  std::string checkText;  // Check: its text as written, without parentheses
};

struct ParameterDefinition {
  enum class Mode : uint8_t { In, Out, InOut } mode = Mode::In;
  std::string name;
  SqlType type;
  QualifiedName typeName;
};

// CREATE PROCEDURE as written; the routines layer records it.
struct ProcedureDefinition {
  QualifiedName name;
  std::string specific;        // resolved: generated when not given
  std::string specificSchema;  // as written; resolved: checked against the name's schema
  std::vector<ParameterDefinition> parameters;
  std::string externalName;    // 'library!entry'
  std::string parameterStyle;  // "ORVDARI", "ORVSQL", "GENERAL", "GENERAL WITH NULLS"
};

enum class FunctionKind : uint8_t {
  Scalar,   // external: a value for each call
  Table,    // external: rows
  Sourced,  // stands for another function, which the resolver puts in its place
};

// CREATE FUNCTION as written.
struct FunctionDefinition {
  FunctionKind kind = FunctionKind::Scalar;
  QualifiedName name;
  std::string specific;        // resolved: generated when not given
  std::string specificSchema;  // as written; resolved: checked against the name's schema
  std::vector<ParameterDefinition> parameters;  // all of mode In; names may be empty
  ParameterDefinition result;                   // RETURNS type [AS LOCATOR]
  std::optional<ParameterDefinition> castFrom;  // CAST FROM type [AS LOCATOR]
  std::vector<ParameterDefinition> columns;     // RETURNS TABLE (name type [AS LOCATOR], ...)
  std::string externalName;                     // 'library!entry'
  int32_t scratchpad = 0;                       // bytes; 0: none
  bool finalCall = false;
  bool dbInfo = false;
  bool deterministic = false;  // DETERMINISTIC, NOT VARIANT
  bool nullCall = true;        // false (NOT NULL CALL): null for a null argument, without a call
  // Sourced. Resolved: the source's own name, its schema in `resolvedSchema` (SYSNTQ for a built-in
  // function), and the types of its parameters.
  QualifiedName source;
  bool sourceIsSpecific = false;
  bool sourceSignatureGiven = false;
  std::vector<ParameterDefinition> sourceParameters;
};

struct Statement;

enum class TriggerTime : uint8_t { Before, After };
enum class TriggerEvent : uint8_t { Insert, Update, Delete };

// One statement of a trigger's body.
struct TriggerStep {
  enum class Kind : uint8_t {
    Set,        // of columns of the new row, in BEFORE triggers
    Signal,     // fails the triggering statement
    Statement,  // INSERT, UPDATE, DELETE, a query that is evaluated and dropped
  } kind = Kind::Statement;
  std::vector<Assignment> assignments;   // Set
  std::string sqlState;                  // Signal
  std::string text;                      // Signal: the diagnostic text
  std::unique_ptr<Statement> statement;  // Statement: without markers
};

// CREATE TRIGGER: FOR EACH ROW only.
struct TriggerDefinition {
  TriggerTime time = TriggerTime::After;
  TriggerEvent event = TriggerEvent::Insert;
  std::vector<std::string> updateColumns;  // UPDATE OF; empty: of any column
  std::string oldName, newName;            // correlation names; empty when not given
  // resolved: the row sources behind these names, of kind Transition; null when not given
  std::unique_ptr<TableRef> oldRow, newRow;
  ExprPtr when;  // null: always
  std::vector<TriggerStep> steps;
};

using TriggerDefinitions = std::vector<std::shared_ptr<const TriggerDefinition>>;

struct Grantee {
  char type;  // U(ser), G(roup)
  std::string name;
};

// What can be granted on a table, in the order in which the catalog shows it.
inline constexpr std::string_view kTablePrivileges[] = {
    "CONTROL", "ALTER", "DELETE", "INDEX", "INSERT", "SELECT", "REFERENCES", "UPDATE"};

// GRANT and REVOKE of privileges on a table or view; of others nothing is kept.
struct GrantDefinition {
  bool revoke = false;
  bool all = false;
  bool grantable = false;               // WITH GRANT OPTION
  std::vector<std::string> privileges;  // of kTablePrivileges; resolved: filled for ALL
  std::vector<Grantee> grantees;
};

struct MarkerInfo {
  SqlType type;  // resolved
};

struct Statement {
  StatementKind kind = StatementKind::Select;
  std::string text;  // as given

  QueryPtr query;      // Select; Insert from a query or VALUES
  QualifiedName name;  // the object: table, index, type, procedure, savepoint, schema
  // resolved: Insert, Update, Delete, DropTable, AlterTable, ...; CreateAlias: what it stands for;
  // DeclareTable: the declared table that it replaces, or null
  const Table* table = nullptr;
  // Update, Delete: the table as a row source; its alias is the table's stored name. CreateTable,
  // DeclareTable, AlterTable: the row source of check constraints, without a table.
  std::unique_ptr<TableRef> target;
  std::vector<std::string> insertColumns;  // resolved: filled when left out
  std::vector<int> insertColumnIndexes;    // resolved: positions in the table
  std::vector<Assignment> assignments;     // Update
  ExprPtr where;                           // Update, Delete

  std::vector<ColumnDefinition> columns;  // CreateTable, DeclareTable, AlterTable ADD
  std::vector<KeyDefinition> keys;        // CreateTable, DeclareTable, AlterTable ADD
  std::string tableSpace;                 // IN name
  QualifiedName base;                     // DeclareTable: LIKE table; CreateAlias: FOR table
  const Table* pattern = nullptr;         // DeclareTable, resolved: the table after LIKE
  QualifiedName indexedTable;             // CreateIndex, CreateTrigger: ON table
  std::vector<std::pair<std::string, bool>> indexColumns;  // name, descending
  bool unique = false;                                     // CreateIndex
  bool replace = false;                                    // DeclareTable: WITH REPLACE
  bool keepRows = false;                                   // DeclareTable: ON COMMIT PRESERVE ROWS
  SqlType sourceType;                                      // CreateDistinctType
  bool withComparisons = false;
  ProcedureDefinition procedure;    // CreateProcedure
  FunctionDefinition function;      // CreateFunction
  bool specific = false;            // DROP SPECIFIC PROCEDURE, DROP SPECIFIC FUNCTION
  bool dropSignatureGiven = false;  // DropProcedure, DropFunction: name(types)
  std::vector<ParameterDefinition> dropSignature;
  std::vector<ExprPtr> callArguments;         // Call
  const Procedure* routine = nullptr;         // resolved: Call, DropProcedure
  const Function* droppedFunction = nullptr;  // resolved: DropFunction
  std::vector<std::string> path;              // SetFunctionPath

  // CreateTrigger, with `indexedTable` and `table` for ON table.
  std::shared_ptr<TriggerDefinition> trigger;
  const Trigger* droppedTrigger = nullptr;  // resolved: DropTrigger
  // resolved: Insert, Update: the BEFORE triggers of the table that set columns of the new row, in
  // the order of their creation. The engine sets them inside the statement.
  TriggerDefinitions beforeTriggers;
  // Grant, with `name` and, resolved, `table`; neither for privileges on other objects.
  GrantDefinition grant;
  // CreateView, with `query`: name (c1, c2). Resolved: filled when left out.
  std::vector<std::string> viewColumns;

  std::vector<MarkerInfo> markers;  // one per ?, resolved
  bool hasResult() const { return kind == StatementKind::Select; }
};

}  // namespace orv

// Preparing, describing, binding, running and fetching.
#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

#include "orv/sqlda.h"
#include "server/clients/cli/diagnostics.h"
#include "server/clients/hostvars/host_area.h"
#include "server/values/utf8_text.h"

using namespace orv::cli;

namespace {

using orv::Description;
using orv::OutputColumn;
using orv::PreparedStatement;
using orv::SqlType;
using orv::ValueArea;
using orv::ValueStorage;
using orv::ValueView;

std::string_view statementText(const SQLCHAR* text, SQLINTEGER length) {
  if (!text) throw CliError("HY009");
  if (length < 0 && length != SQL_NTS) throw CliError("HY090");
  const char* const bytes = reinterpret_cast<const char*>(text);
  return {bytes, length == SQL_NTS ? std::strlen(bytes) : static_cast<size_t>(length)};
}

void prepare(StatementHandle& handle, std::string_view native) {
  orv::SessionState& session = handle.connection.session();
  std::string storage;
  const std::string_view text = session.codePage().toUtf8(native, storage);
  if (handle.hasCursor()) throw CliError("24000");
  handle.executed = false;
  handle.prepared.reset();
  handle.preparedText = native;
  handle.prepared = std::make_unique<PreparedStatement>(session, text);
}

PreparedStatement& prepared(StatementHandle& handle) {
  if (!handle.prepared) throw CliError("HY010");
  return *handle.prepared;
}

template <class T>
T read(const Binding& binding) {
  T value;
  std::memcpy(&value, binding.value, sizeof value);
  return value;
}

// The bytes of a character parameter, by its indicator.
std::string_view boundText(const Binding& binding) {
  const char* const bytes = static_cast<const char*>(binding.value);
  const SQLINTEGER length = binding.indicator ? *binding.indicator : SQL_NTS;
  if (length == SQL_NTS) return {bytes, std::strlen(bytes)};
  if (length < 0) throw CliError("HY090");
  return {bytes, static_cast<size_t>(length)};
}

// Text for binary data is the data itself when it is stored. In a query it is what SQLFetch made of
// the data: hexadecimal digits, so that a value that was fetched finds its row again.
ValueView binaryParameter(std::string_view native, const SqlType& type, bool query,
                          const orv::CodePage& codePage, ValueStorage& storage) {
  if (!query) return ValueView::ofBlob(native);
  const std::string_view digits = codePage.toUtf8(native, storage.text);
  std::optional<std::string> bytes = orv::bytesOfHex(digits);
  if (!bytes) throw orv::SqlError(-420, {orv::shortened(digits), typeText(type)});
  storage.text = std::move(*bytes);
  return ValueView::ofBlob(storage.text);
}

ValueView parameterValue(const Binding& binding, const SqlType& type, bool query,
                         orv::SessionState& session, ValueStorage& storage) {
  if (binding.indicator && *binding.indicator == SQL_NULL_DATA) return ValueView::null();
  if (!binding.value) throw CliError("HY009");
  switch (binding.cType) {
    case SQL_C_LONG:
      return ValueView::of(static_cast<int64_t>(read<SQLINTEGER>(binding)));
    case SQL_C_CLOB_LOCATOR: {
      const ValueArea area{orv::kSqlClobLocator, 4, static_cast<char*>(binding.value)};
      return orv::loadFromArea(area, false, session, storage);
    }
    default:
      break;
  }
  const std::string_view native = boundText(binding);
  const orv::CodePage& codePage = session.codePage();
  if (orv::isBinary(type.kind)) return binaryParameter(native, type, query, codePage, storage);
  return ValueView::ofText(binding.cType == SQL_C_DBCHAR
                               ? codePage.doubleByteTextToUtf8(native, storage.text)
                               : codePage.toUtf8(native, storage.text));
}

void bindParameters(StatementHandle& handle, PreparedStatement& statement) {
  orv::SessionState& session = handle.connection.session();
  const size_t count = statement.markerCount();
  if (handle.storage.size() < count) handle.storage.resize(count);
  const bool call = statement.kind() == orv::StatementKind::Call;
  const bool query = statement.kind() == orv::StatementKind::Select;
  for (size_t i = 0; i < count; ++i) {
    const bool bound = i < handle.parameters.size() && handle.parameters[i].cType != 0;
    if (!bound) {
      if (call) continue;  // an output parameter needs none
      throw CliError("07002");
    }
    const SqlType& type = statement.compilation().statement->markers[i].type;
    statement.bind(static_cast<int>(i),
                   parameterValue(handle.parameters[i], type, query, session, handle.storage[i]));
  }
}

SQLRETURN run(StatementHandle& handle) {
  PreparedStatement& statement = prepared(handle);
  if (handle.hasCursor()) throw CliError("24000");
  handle.executed = false;
  statement.start();
  bindParameters(handle, statement);
  statement.run();
  handle.executed = true;
  if (!changesRows(statement.kind()) || statement.rowCount() > 0) return SQL_SUCCESS;
  addRecord(handle, orv::SqlError(100));
  return SQL_NO_DATA;
}

bool isInputType(SQLSMALLINT cType) {
  return cType == SQL_C_CHAR || cType == SQL_C_LONG || cType == SQL_C_CLOB_LOCATOR ||
         cType == SQL_C_DBCHAR;
}

bool isSqlType(SQLSMALLINT type) {
  constexpr SQLSMALLINT kTypes[] = {
      SQL_CHAR,        SQL_DECIMAL,    SQL_INTEGER,        SQL_SMALLINT,      SQL_REAL,
      SQL_DOUBLE,      SQL_VARCHAR,    SQL_TYPE_DATE,      SQL_TYPE_TIME,     SQL_TYPE_TIMESTAMP,
      SQL_LONGVARCHAR, SQL_BINARY,     SQL_VARBINARY,      SQL_LONGVARBINARY, SQL_BIGINT,
      SQL_GRAPHIC,     SQL_VARGRAPHIC, SQL_LONGVARGRAPHIC, SQL_BLOB,          SQL_CLOB,
      SQL_DBCLOB};
  return std::find(std::begin(kTypes), std::end(kTypes), type) != std::end(kTypes);
}

Binding& place(std::vector<Binding>& bindings, SQLUSMALLINT number) {
  if (number == 0) throw CliError("07009");
  if (bindings.size() < number) bindings.resize(number);
  return bindings[number - 1U];
}

const OutputColumn& resultColumn(StatementHandle& handle, SQLUSMALLINT number) {
  const std::vector<OutputColumn>& columns = prepared(handle).columns();
  if (columns.empty()) throw CliError("07005");
  if (number == 0 || number > columns.size()) throw CliError("07009");
  return columns[number - 1U];
}

SQLRETURN copyName(Handle& handle, std::string_view native, const orv::CodePage& codePage,
                   SQLCHAR* target, SQLSMALLINT capacity) {
  if (!target || capacity == 0) return SQL_SUCCESS;
  const size_t fitting = codePage.cut(native, static_cast<size_t>(capacity) - 1);
  std::memcpy(target, native.data(), fitting);
  target[fitting] = 0;
  if (fitting == native.size()) return SQL_SUCCESS;
  addRecord(handle, "01004");
  return SQL_SUCCESS_WITH_INFO;
}

void noteLength(const Binding& binding, size_t length) {
  if (!binding.indicator) return;
  constexpr size_t kLimit = std::numeric_limits<SQLINTEGER>::max();
  *binding.indicator = static_cast<SQLINTEGER>(std::min(length, kLimit));
}

// Text that is in the database code page. True when it was cut.
bool deliverText(const Binding& binding, std::string_view native, const orv::CodePage& codePage) {
  if (binding.capacity == 0) throw CliError("HY090");
  const size_t room = static_cast<size_t>(binding.capacity) - 1;
  const size_t length = native.size() <= room ? native.size() : codePage.cut(native, room);
  char* const data = static_cast<char*>(binding.value);
  std::memcpy(data, native.data(), length);
  data[length] = '\0';
  noteLength(binding, native.size());
  return length < native.size();
}

bool deliverAsText(StatementHandle& handle, const Binding& binding, const ValueView& value,
                   const SqlType& type, const orv::CodePage& codePage) {
  char digits[24];
  std::string_view text = value.text;
  if (value.kind == ValueView::Kind::Integer) {
    const auto [end, error] = std::to_chars(digits, digits + sizeof digits, value.integer);
    text = {digits, static_cast<size_t>(end - digits)};
  } else if (value.kind != ValueView::Kind::Text) {
    text = orv::valueText(value, type, handle.valueText);
  }
  if (!codePage.isUtf8()) text = codePage.fromUtf8(text, handle.nativeText);
  const bool cut = deliverText(binding, text, codePage);
  if (cut) orv::requireDescribedLength(value, text.size(), type);
  return cut;
}

// One column of the current row into its variable. True when it was cut.
bool deliver(StatementHandle& handle, const Binding& binding, const ValueView& value,
             const SqlType& type, orv::SessionState& session) {
  if (value.kind == ValueView::Kind::Null) {
    if (!binding.indicator) throw CliError("22002");
    *binding.indicator = SQL_NULL_DATA;
    return false;
  }
  const bool locator = binding.cType == SQL_C_CLOB_LOCATOR;
  if (!locator && binding.cType != SQL_C_LONG) {
    return deliverAsText(handle, binding, value, type, session.codePage());
  }
  const ValueArea area{locator ? orv::kSqlClobLocator : orv::kSqlInteger, 4,
                       static_cast<char*>(binding.value)};
  noteLength(binding, static_cast<size_t>(orv::storeInArea(area, value, type, session).length));
  return false;
}

SQLRETURN fetchRow(StatementHandle& handle) {
  if (!handle.hasCursor()) throw CliError("24000");
  PreparedStatement& statement = *handle.prepared;
  orv::SessionState& session = handle.connection.session();
  if (!statement.fetch()) return SQL_NO_DATA;
  SQLRETURN result = SQL_SUCCESS;
  const std::vector<OutputColumn>& columns = statement.columns();
  const size_t count = std::min(columns.size(), handle.columns.size());
  for (size_t i = 0; i < count; ++i) {
    if (handle.columns[i].cType == 0) continue;
    const auto position = static_cast<int>(i);
    const ValueView value = statement.column(position);
    try {
      if (!deliver(handle, handle.columns[i], value, columns[i].type, session)) continue;
    } catch (const orv::SqlError& error) {
      throw orv::atPlace(error, statement.placeOf(position));
    }
    addRecord(handle, "01004");
    result = SQL_SUCCESS_WITH_INFO;
  }
  return result;
}

}  // namespace

SQLRETURN SQLPrepare(SQLHSTMT number, SQLCHAR* text, SQLINTEGER length) {
  StatementHandle* const handle = statement(number);
  return call(handle, [&]() -> SQLRETURN {
    prepare(*handle, statementText(text, length));
    return SQL_SUCCESS;
  });
}

SQLRETURN SQLExecDirect(SQLHSTMT number, SQLCHAR* text, SQLINTEGER length) {
  StatementHandle* const handle = statement(number);
  return call(handle, [&] {
    const std::string_view wanted = statementText(text, length);
    // What was run before is kept when its text comes again.
    const bool kept = handle->prepared && handle->preparedText == wanted;
    if (!kept) prepare(*handle, wanted);
    return run(*handle);
  });
}

SQLRETURN SQLExecute(SQLHSTMT number) {
  StatementHandle* const handle = statement(number);
  return call(handle, [&] { return run(*handle); });
}

SQLRETURN SQLNumParams(SQLHSTMT number, SQLSMALLINT* count) {
  StatementHandle* const handle = statement(number);
  return call(handle, [&]() -> SQLRETURN {
    if (!count) throw CliError("HY009");
    *count = static_cast<SQLSMALLINT>(prepared(*handle).markerCount());
    return SQL_SUCCESS;
  });
}

SQLRETURN SQLDescribeParam(SQLHSTMT number, SQLUSMALLINT parameter, SQLSMALLINT* type,
                           SQLUINTEGER* size, SQLSMALLINT* digits, SQLSMALLINT* nullable) {
  StatementHandle* const handle = statement(number);
  return call(handle, [&]() -> SQLRETURN {
    const std::vector<Description>& markers = prepared(*handle).compilation().markers;
    if (parameter == 0 || parameter > markers.size()) throw CliError("07009");
    const Description& marker = markers[parameter - 1U];
    if (type) *type = marker.type;
    if (size) *size = marker.size;
    if (digits) *digits = marker.digits;
    if (nullable) *nullable = marker.nullable;
    return SQL_SUCCESS;
  });
}

SQLRETURN SQLBindParameter(SQLHSTMT number, SQLUSMALLINT parameter, SQLSMALLINT direction,
                           SQLSMALLINT cType, SQLSMALLINT sqlType, SQLUINTEGER, SQLSMALLINT,
                           SQLPOINTER value, SQLINTEGER capacity, SQLINTEGER* indicator) {
  StatementHandle* const handle = statement(number);
  return call(handle, [&]() -> SQLRETURN {
    if (direction != SQL_PARAM_INPUT) throw CliError("HY105");
    if (!isInputType(cType)) throw CliError("HY003");
    if (!isSqlType(sqlType)) throw CliError("HY004");
    if (capacity < 0) throw CliError("HY090");
    if (!value && !indicator) throw CliError("HY009");
    place(handle->parameters, parameter) = {cType, value, capacity, indicator};
    return SQL_SUCCESS;
  });
}

SQLRETURN SQLNumResultCols(SQLHSTMT number, SQLSMALLINT* count) {
  StatementHandle* const handle = statement(number);
  return call(handle, [&]() -> SQLRETURN {
    if (!count) throw CliError("HY009");
    *count = static_cast<SQLSMALLINT>(prepared(*handle).columns().size());
    return SQL_SUCCESS;
  });
}

SQLRETURN SQLDescribeCol(SQLHSTMT number, SQLUSMALLINT column, SQLCHAR* name,
                         SQLSMALLINT nameCapacity, SQLSMALLINT* nameLength, SQLSMALLINT* type,
                         SQLUINTEGER* size, SQLSMALLINT* digits, SQLSMALLINT* nullable) {
  StatementHandle* const handle = statement(number);
  return call(handle, [&] {
    if (nameCapacity < 0) throw CliError("HY090");
    const OutputColumn& described = resultColumn(*handle, column);
    const Description description = orv::describe(described.type);
    if (type) *type = description.type;
    if (size) *size = description.size;
    if (digits) *digits = description.digits;
    if (nullable) *nullable = description.nullable;
    const orv::CodePage& codePage = handle->connection.session().codePage();
    std::string storage;
    const std::string_view native = codePage.fromUtf8(described.name, storage);
    if (nameLength) *nameLength = static_cast<SQLSMALLINT>(native.size());
    return copyName(*handle, native, codePage, name, nameCapacity);
  });
}

SQLRETURN SQLBindCol(SQLHSTMT number, SQLUSMALLINT column, SQLSMALLINT cType, SQLPOINTER value,
                     SQLINTEGER capacity, SQLINTEGER* indicator) {
  StatementHandle* const handle = statement(number);
  return call(handle, [&]() -> SQLRETURN {
    if (!isInputType(cType)) throw CliError("HY003");
    if (capacity < 0) throw CliError("HY090");
    const bool known = handle->prepared && handle->prepared->hasResult();
    if (known && column > handle->prepared->columns().size()) throw CliError("07009");
    Binding& binding = place(handle->columns, column);
    binding = value ? Binding{cType, value, capacity, indicator} : Binding{};
    return SQL_SUCCESS;
  });
}

SQLRETURN SQLFetch(SQLHSTMT number) {
  StatementHandle* const handle = statement(number);
  return call(handle, [&] { return fetchRow(*handle); });
}

SQLRETURN SQLCloseCursor(SQLHSTMT number) {
  StatementHandle* const handle = statement(number);
  return call(handle, [&]() -> SQLRETURN {
    if (!handle->hasCursor()) throw CliError("24000");
    handle->prepared->close();
    return SQL_SUCCESS;
  });
}

SQLRETURN SQLRowCount(SQLHSTMT number, SQLINTEGER* count) {
  StatementHandle* const handle = statement(number);
  return call(handle, [&]() -> SQLRETURN {
    if (!count) throw CliError("HY009");
    if (!handle->executed) throw CliError("HY010");
    PreparedStatement& executed = prepared(*handle);
    *count = executed.hasResult() ? -1 : static_cast<SQLINTEGER>(executed.rowCount());
    return SQL_SUCCESS;
  });
}

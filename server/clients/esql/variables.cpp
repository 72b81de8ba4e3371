#include "server/clients/esql/variables.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "server/clients/hostvars/large_object_file.h"
#include "server/session/communication_area.h"
#include "server/values/sql_error.h"

namespace orv::esql {
namespace {

[[noreturn]] void malformed(const char* reason) {
  throw SqlError(-804, {reason});
}

bool isKnownType(int16_t type) {
  switch (type) {
    case kSqlDate:
    case kSqlTime:
    case kSqlTimestamp:
    case kSqlBlob:
    case kSqlClob:
    case kSqlDbclob:
    case kSqlVarchar:
    case kSqlChar:
    case kSqlLongVarchar:
    case kSqlCString:
    case kSqlVargraphic:
    case kSqlGraphic:
    case kSqlLongVargraphic:
    case kSqlDouble:
    case kSqlDecimal:
    case kSqlBigint:
    case kSqlInteger:
    case kSqlSmallint:
      return true;
    default:
      return isLocatorCode(type) || isFileCode(type);
  }
}

BoundVariable checked(ValueArea area, int16_t* indicator) {
  if (!isKnownType(area.type)) malformed("sqltype");
  if (area.capacity < 0) malformed("sqllen");
  if (!area.data && !(indicator && *indicator < 0)) malformed("sqldata");
  return {area, indicator};
}

bool hasSecondaryEntries(const sqlda* descriptor) {
  return descriptor->sqldaid[6] == '2' && descriptor->sqln >= descriptor->sqld * 2;
}

void copyName(const std::string& name, struct sqlname& target) {
  size_t length = std::min(name.size(), sizeof target.data);
  static const CodePage kUtf8(1208);
  length = kUtf8.cut(name, length);
  target.length = static_cast<int16_t>(length);
  std::memcpy(target.data, name.data(), length);
}

void describeSecondary(const SqlType& type, sqlvar_secondary& secondary) {
  std::memset(&secondary, 0, sizeof secondary);
  if (isLargeObject(type.kind)) secondary.sqllonglen = layoutSize(type);
  if (type.isDistinct()) {
    const std::string name = type.distinctSchema + "." + type.distinctName;
    const size_t length = std::min(name.size(), sizeof secondary.typename_data);
    secondary.typename_length = static_cast<int16_t>(length);
    std::memcpy(secondary.typename_data, name.data(), length);
  }
}

// A file that is too long for its column is refused without being read into memory.
void checkFile(const ValueArea& area, const SqlType& type, const CodePage& codePage) {
  const bool counted = type.length > 0 && (isBinary(type.kind) || isCharacter(type.kind));
  const bool comparable = area.type == kSqlBlobFile || codePage.isUtf8();
  if (!counted || !comparable || area.type == kSqlDbclobFile) return;
  SqlFileReference reference;
  std::memcpy(&reference, area.data, sizeof reference);
  if (!reachesBeyond(reference, type.length)) return;
  throw SqlError(-433, {std::string(reference.name, reference.name_length)});
}

}  // namespace

BoundVariables fromVariables(Variables variables) {
  BoundVariables bound;
  bound.reserve(variables.size());
  for (const HostVariable& variable : variables) {
    const ValueArea area{baseTypeCode(variable.type), variable.length,
                         static_cast<char*>(variable.data)};
    bound.push_back(checked(area, variable.indicator));
  }
  return bound;
}

BoundVariables fromDescriptor(const sqlda* descriptor) {
  if (!descriptor || descriptor->sqln < 0 || descriptor->sqld < 0 ||
      descriptor->sqld > descriptor->sqln) {
    malformed("sqlda");
  }
  BoundVariables bound;
  for (int i = 0; i < descriptor->sqld; ++i) {
    const sqlvar& entry = descriptor->sqlvar[i];
    ValueArea area{baseTypeCode(entry.sqltype), entry.sqllen, entry.sqldata};
    if (isLargeObjectCode(area.type)) {
      if (!hasSecondaryEntries(descriptor)) malformed("secondary entries");
      const sqlvar_secondary* secondary = secondaryEntry(descriptor, i);
      area.capacity = secondary->sqllonglen;
      area.lobLength = secondary->sqldatalen;
    }
    const bool nullable = (entry.sqltype & 1) != 0;
    bound.push_back(checked(area, nullable ? entry.sqlind : nullptr));
  }
  return bound;
}

bool isNullValue(const BoundVariable& variable) {
  return variable.indicator && *variable.indicator < 0;
}

void bindInput(PreparedStatement& statement, const BoundVariables& input, SessionState& session,
               std::vector<HostStorage>& storage) {
  if (input.size() != statement.markerCount()) throw SqlError(-313);
  storage.resize(input.size());
  for (size_t i = 0; i < input.size(); ++i) {
    const SqlType& type = statement.compilation().statement->markers[i].type;
    if (isFileCode(input[i].area.type) && !isNullValue(input[i])) {
      checkFile(input[i].area, type, session.codePage());
    }
    const ValueView value =
        isNullValue(input[i])
            ? ValueView::null()
            : loadHostValue(input[i].area, isBinary(type.kind), session, storage[i]);
    statement.bind(static_cast<int>(i), value);
  }
}

bool storeValue(const BoundVariable& variable, int number, const ValueView& value,
                const SqlType& type, SessionState& session) {
  if (value.kind == ValueView::Kind::Null) {
    if (!variable.indicator) throw SqlError(-305, {std::to_string(number)});
    *variable.indicator = -1;
    return false;
  }
  if (!variable.area.data) malformed("sqldata");
  const Stored stored = storeHostValue(variable.area, value, type, session);
  if (stored.cut) requireDescribedLength(value, static_cast<size_t>(stored.length), type);
  if (variable.indicator) {
    const int64_t full = stored.cut ? stored.length : 0;
    const int64_t limit = std::numeric_limits<int16_t>::max();
    *variable.indicator = static_cast<int16_t>(std::min(full, limit));
  }
  return stored.cut;
}

void noteCut(sqlca& area) {
  std::memcpy(area.sqlstate, "01004", sizeof area.sqlstate);
  area.sqlwarn[0] = 'W';
  area.sqlwarn[1] = 'W';
}

void storeRow(PreparedStatement& statement, const BoundVariables& output, SessionState& session,
              sqlca& area) {
  const std::vector<OutputColumn>& columns = statement.columns();
  if (output.size() > columns.size()) malformed("more variables than columns");
  if (output.size() < columns.size()) area.sqlwarn[0] = area.sqlwarn[3] = 'W';
  for (size_t i = 0; i < output.size(); ++i) {
    const auto position = static_cast<int>(i);
    const ValueView value = statement.column(position);
    try {
      if (storeValue(output[i], position + 1, value, columns[i].type, session)) noteCut(area);
    } catch (const SqlError& error) {
      throw atPlace(error, statement.placeOf(position));
    }
  }
}

int describeColumns(const std::vector<OutputColumn>& columns, sqlda* descriptor) {
  if (!descriptor || descriptor->sqln < 0) malformed("sqlda");
  const bool objects = std::any_of(columns.begin(), columns.end(), [](const OutputColumn& column) {
    return isLargeObject(column.type.kind);
  });
  const bool distinct = std::any_of(columns.begin(), columns.end(), [](const OutputColumn& column) {
    return column.type.isDistinct();
  });
  const size_t needed = objects || distinct ? columns.size() * 2 : columns.size();
  if (needed > static_cast<size_t>(std::numeric_limits<int16_t>::max())) throw SqlError(-101);
  descriptor->sqld = static_cast<int16_t>(columns.size());
  if (needed > static_cast<size_t>(descriptor->sqln)) {
    if (objects) return distinct ? 239 : 238;
    return distinct ? 237 : 236;
  }
  std::memcpy(descriptor->sqldaid, needed > columns.size() ? "SQLDA 2 " : "SQLDA   ", 8);
  descriptor->sqldabc = static_cast<int32_t>(sqldaSize(descriptor->sqln));
  for (size_t i = 0; i < columns.size(); ++i) {
    sqlvar& entry = descriptor->sqlvar[i];
    entry.sqltype = sqlTypeCode(columns[i].type);
    entry.sqllen = descriptorLength(columns[i].type);
    copyName(columns[i].name, entry.sqlname);
    if (needed > columns.size()) {
      describeSecondary(columns[i].type, *secondaryEntry(descriptor, static_cast<int>(i)));
    }
  }
  return 0;
}

}  // namespace orv::esql

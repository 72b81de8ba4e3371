// Descriptor areas: made, named, filled by a describe, given data areas, read, and freed. The data
// that an entry points at is text with a terminator wherever a value is read from it.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "orvxml/packages.h"
#include "orvxml/trace.h"
#include "src/compose/level_map.h"
#include "src/outcome/edge.h"
#include "src/outcome/text_cut.h"

namespace orvxml {

const orv::esql::Module kQrksqlda = {"QRKSQLDA", "QSD00001", {}};

namespace {

constexpr int kMaxEntries = INT16_MAX;

struct FreeDescriptor {
  void operator()(sqlda* da) const { qrk_free_da(nullptr, da); }
};
using Descriptor = std::unique_ptr<sqlda, FreeDescriptor>;

bool isNullable(const sqlvar& entry) {
  return (entry.sqltype & 1) != 0;
}

int16_t evenType(const sqlvar& entry) {
  return static_cast<int16_t>(entry.sqltype & ~1);
}

// Bytes of a large object's area, with the length that stands in front of the data.
size_t largeObjectSize(const sqlda* da, int index) {
  const sqlvar& entry = da->sqlvar[index];
  const bool hasSecondary = da->sqln >= 2 * da->sqld;
  const int64_t length =
      hasSecondary ? orv::secondaryEntry(da, index)->sqllonglen : int64_t{entry.sqllen};
  return sizeof(int32_t) + static_cast<size_t>(std::max<int64_t>(length, 0));
}

size_t areaSize(const sqlda* da, int index) {
  const sqlvar& entry = da->sqlvar[index];
  const size_t length = static_cast<size_t>(std::max<int16_t>(entry.sqllen, 0));
  switch (evenType(entry)) {
    case orv::kSqlBlob:
    case orv::kSqlClob:
    case orv::kSqlDbclob:
      return largeObjectSize(da, index);
    case orv::kSqlDecimal:
      return ((length & 0xFF) + 2) / 2;
    case orv::kSqlVargraphic:
    case orv::kSqlGraphic:
    case orv::kSqlLongVargraphic:
      return sizeof(int16_t) + 2 * length;  // the length counts double-byte characters
    default:
      return length;
  }
}

// Text types are fetched as terminated strings: the entry's length grows by the terminator.
void fetchAsString(sqlvar& entry) {
  switch (evenType(entry)) {
    case orv::kSqlDate:
    case orv::kSqlTime:
    case orv::kSqlTimestamp:
    case orv::kSqlVarchar:
    case orv::kSqlLongVarchar:
      entry.sqltype = orv::kSqlCString | 1;
      if (entry.sqllen < INT16_MAX) ++entry.sqllen;
      break;
    default:
      break;
  }
}

void freeAreas(sqlda* da, int entries) {
  for (int i = 0; i < entries; ++i) {
    sqlvar& entry = da->sqlvar[i];
    std::free(entry.sqldata);
    entry.sqldata = nullptr;
    if (!isNullable(entry)) continue;
    std::free(entry.sqlind);
    entry.sqlind = nullptr;
  }
}

bool allocateAreas(const sqlda* da, int index, sqlvar& entry) {
  entry.sqldata = static_cast<char*>(std::calloc(1, std::max<size_t>(areaSize(da, index), 1)));
  if (!entry.sqldata || !isNullable(entry)) return entry.sqldata != nullptr;
  entry.sqlind = static_cast<int16_t*>(std::calloc(1, sizeof(int16_t)));
  if (entry.sqlind) return true;
  std::free(entry.sqldata);
  entry.sqldata = nullptr;
  return false;
}

bool isDescribed(int32_t sqlcode) {
  return sqlcode == 0 || (sqlcode >= 236 && sqlcode <= 239);
}

}  // namespace

sqlda* newDescriptor(int entries) {
  sqlda* da = nullptr;
  if (entries >= 0 && entries <= kMaxEntries) {
    da = static_cast<sqlda*>(std::calloc(1, orv::sqldaSize(entries)));
  }
  if (!da) throw Failure(Msg::QRKG002E);
  std::memcpy(da->sqldaid, "SQLDA   ", sizeof da->sqldaid);
  da->sqldabc = static_cast<int32_t>(orv::sqldaSize(entries));
  da->sqln = static_cast<int16_t>(entries);
  return da;
}

int qrk_init_da(QrkStruct* ctx, sqlda** da, int entries) {
  *da = nullptr;
  const int rc = statusAtEdge({ctx}, [&] { *da = newDescriptor(entries); });
  QRK_TRACE(ctx, "Exit, return rc=%d", rc);
  return rc;
}

void qrk_free_da(QrkStruct* ctx, sqlda* da) {
  if (da) {
    freeAreas(da, da->sqld);
    std::free(da);
  }
  QRK_TRACE(ctx, "Completed");
}

void setEntryName(QrkStruct* ctx, sqlvar& entry, const char* name) {
  std::string_view text = name;
  if (text.size() > sizeof entry.sqlname.data) {
    text = text.substr(0, sizeof entry.sqlname.data);
    text = text.substr(0, wholeCharacters(ctx, text));
  }
  entry.sqlname.length = static_cast<int16_t>(text.size());
  text.copy(entry.sqlname.data, text.size());
}

int getSQLDADataByIndex(QrkStruct* /*ctx*/, const sqlda* da, int index, char** data, int* length) {
  *data = nullptr;
  *length = 0;
  if (!da || index < 0 || index >= da->sqld) return -1;
  const sqlvar& entry = da->sqlvar[index];
  const int indicated = entry.sqlind ? *entry.sqlind : 0;
  if (indicated < 1 || !entry.sqldata) return 0;
  // A value that was cut has an indicator beyond its data.
  *length = static_cast<int>(strnlen(entry.sqldata, static_cast<size_t>(indicated)));
  *data = entry.sqldata;
  return 0;
}

int getValueByIndex(QrkStruct* ctx, const sqlda* da, int index, char** value, int* errCode,
                    char* msg) {
  *value = nullptr;
  char* data = nullptr;
  int length = 0;
  if (getSQLDADataByIndex(ctx, da, index, &data, &length)) return -1;
  if (!data) return 0;
  return statusAtEdge({ctx, msg, errCode}, [&] {
    *value = static_cast<char*>(std::malloc(static_cast<size_t>(length) + 1));
    if (!*value) throw Failure(Msg::QRKG002E);
    std::memcpy(*value, data, static_cast<size_t>(length));
    (*value)[length] = 0;
  });
}

int getValueByColName(QrkStruct* ctx, const sqlda* da, const char* columnName, char** value,
                      int* errCode, char* msg) {
  *value = nullptr;
  const std::string_view wanted = columnName ? columnName : "";
  for (int i = 0; da && i < da->sqld; ++i) {
    const struct sqlname& name = da->sqlvar[i].sqlname;
    if (name.length < 1) continue;
    if (!wanted.starts_with(std::string_view(name.data, static_cast<size_t>(name.length)))) {
      continue;
    }
    return getValueByIndex(ctx, da, i, value, errCode, msg);
  }
  return statusAtEdge({ctx, msg, errCode}, [] { throw Failure(Msg::QRKQ012E); });
}

int qrkSetupSQLDA(QrkStruct* ctx, const char* stmtText, sqlda** da, int* errCode, char* msg) {
  *da = nullptr;
  return statusAtEdge({ctx, msg, errCode}, [&] {
    sqlda probe{};
    probe.sqln = 1;
    probe.sqldabc = static_cast<int32_t>(orv::sqldaSize(1));
    std::memcpy(probe.sqldaid, "SQLDA   ", sizeof probe.sqldaid);

    sqlca area{};
    orv::esql::Statement statement(kQrksqlda);
    statement.prepare(stmtText, area);
    if (area.sqlcode == 0) statement.describe(&probe, area);
    if (!isDescribed(area.sqlcode)) throw Failure::ofServer(area, Msg::QRKQ001E);
    if (probe.sqld < 1) throw Failure(Msg::QRKQ001E);

    const bool needsSecondary = area.sqlcode >= 237;
    Descriptor described(newDescriptor(needsSecondary ? 2 * probe.sqld : probe.sqld));
    statement.describe(described.get(), area);
    if (area.sqlcode < 0) throw Failure::ofServer(area, Msg::QRKQ001E);
    *da = described.release();
  });
}

int qrkAllocHostVars(QrkStruct* ctx, sqlda* da) {
  for (int i = 0; i < da->sqld; ++i) {
    sqlvar& entry = da->sqlvar[i];
    QRK_TRACE(ctx, "SQL_TYPE is %d", entry.sqltype);
    fetchAsString(entry);
    if (allocateAreas(da, i, entry)) continue;
    freeAreas(da, i);
    return -1;
  }
  QRK_TRACE(ctx, "Exit");
  return 0;
}

}  // namespace orvxml

// Access to the parameters of a stored procedure: addresses and lengths in, the message out.
#include <cstdlib>
#include <cstring>
#include <optional>
#include <span>

#include "orvxml/trace.h"
#include "src/call/procedure_frame.h"
#include "src/outcome/text_cut.h"

namespace orvxml {
namespace {

constexpr size_t kShownWhole = 99;  // bytes of a content that the trace shows as it is
constexpr size_t kShownStart = 75;
constexpr size_t kShownEnd = 22;

using Bytes = std::span<char>;

bool isVarying(int16_t type) {
  return type == orv::kSqlVarchar || type == orv::kSqlLongVarchar;
}
bool isLargeObject(int16_t type) {
  return type == orv::kSqlBlob || type == orv::kSqlClob || type == orv::kSqlDbclob;
}

bool isAbsent(const sqlvar* var) {
  return !var || isNull(*var);
}

// The bytes behind a length of type Length; none when the length is negative.
template <class Length>
std::optional<Bytes> prefixed(char* data) {
  Length length;
  std::memcpy(&length, data, sizeof length);
  if (length < 0) return std::nullopt;
  return Bytes(data + sizeof length, static_cast<size_t>(length));
}

// A large object of parameter `index`: its length is in the secondary entry or before the bytes.
std::optional<Bytes> largeObject(QrkStruct* ctx, const sqlda* da, int index) {
  char* data = da->sqlvar[index].sqldata;
  const bool hasSecondary = da->sqld + index < da->sqln;
  const int32_t* length = hasSecondary ? orv::secondaryEntry(da, index)->sqldatalen : nullptr;
  if (!length) {
    QRK_TRACE(ctx, "lenptr = NULL");
    return prefixed<int32_t>(data);
  }
  if (*length < 0) return std::nullopt;
  return Bytes(data, static_cast<size_t>(*length));
}

void traceContent(QrkStruct* ctx, Bytes value) {
  if (!tracing(ctx)) return;
  const int whole = static_cast<int>(value.size());
  if (value.size() <= kShownWhole) {
    QRK_TRACE(ctx, "length:%d content:'%.*s'", whole, whole, value.data());
  } else {
    QRK_TRACE(ctx, "length:%d content:'%.*s...%.*s'", whole, static_cast<int>(kShownStart),
              value.data(), static_cast<int>(kShownEnd), value.data() + value.size() - kShownEnd);
  }
}

Failure wrongType(QrkStruct* ctx, const sqlvar& var) {
  QRK_TRACE(ctx, "wrong parameter type, not string:%d", var.sqltype);
  return Failure(Msg::QRKA074E);
}

// No value: its length was negative.
DescriptorText taken(QrkStruct* ctx, std::optional<Bytes> value) {
  if (!value) throw Failure(Msg::QRKG004E);
  traceContent(ctx, *value);
  return {value->data(), static_cast<int>(value->size())};
}

Bytes fixedText(const sqlvar& var) {
  return Bytes(var.sqldata, var.sqllen > 0 ? static_cast<size_t>(var.sqllen) : 0);
}

// Up to the terminator, which stands within the declared length where there is one.
Bytes terminatedText(const sqlvar& var) {
  const size_t length = var.sqllen > 0 ? strnlen(var.sqldata, static_cast<size_t>(var.sqllen))
                                       : std::strlen(var.sqldata);
  return Bytes(var.sqldata, length);
}

bool isInteger(const sqlvar& var) {
  return baseType(var) == orv::kSqlInteger || baseType(var) == orv::kSqlSmallint;
}

// Of one entry alone, whose large object has its length before the bytes.
DescriptorText entryText(QrkStruct* ctx, sqlvar* var) {
  if (isAbsent(var)) throw Failure(Msg::QRKA019E);
  const int16_t type = baseType(*var);
  if (type == orv::kSqlBlob || type == orv::kSqlClob) {
    return taken(ctx, prefixed<int32_t>(var->sqldata));
  }
  if (isVarying(type)) return taken(ctx, prefixed<int16_t>(var->sqldata));
  if (type == orv::kSqlChar) return taken(ctx, fixedText(*var));
  if (type == orv::kSqlCString) return taken(ctx, terminatedText(*var));
  throw wrongType(ctx, *var);
}

void store(const DescriptorText& text, char** data, int* length) {
  *data = text.data;
  *length = text.length;
}

}  // namespace

DescriptorText takeBytes(QrkStruct* ctx, sqlda* da, int index) {
  const bool present = da && index >= 0 && index < da->sqld;
  sqlvar* var = present ? &da->sqlvar[index] : nullptr;
  if (isAbsent(var)) throw Failure(Msg::QRKA019E);
  const int16_t type = baseType(*var);
  if (isLargeObject(type)) return taken(ctx, largeObject(ctx, da, index));
  if (isVarying(type)) return taken(ctx, prefixed<int16_t>(var->sqldata));
  if (type == orv::kSqlChar || type == orv::kSqlCString) return taken(ctx, fixedText(*var));
  throw wrongType(ctx, *var);
}

void requireIntegerOutput(QrkStruct* ctx, const sqlvar* var) {
  if (var && isInteger(*var)) return;
  QRK_TRACE(ctx, "wrong parameter type, not integer:%d", var ? var->sqltype : 0);
  throw Failure(Msg::QRKA075E);
}

void requireInteger(QrkStruct* ctx, const sqlvar* var) {
  if (!var || (var->sqlind && *var->sqlind < 0)) throw Failure(Msg::QRKA019E);
  requireIntegerOutput(ctx, var);
}

int qrkGetStProcParam(QrkStruct* ctx, sqlda* da, short index, char** data, int* length, int* rc,
                      char* msg) {
  return statusAtEdge({ctx, msg, rc}, [&] { store(takeBytes(ctx, da, index), data, length); });
}

int qrkGetStProcParameter(QrkStruct* ctx, sqlvar* var, char** data, int* length, int* rc,
                          char* msg) {
  return statusAtEdge({ctx, msg, rc}, [&] { store(entryText(ctx, var), data, length); });
}

int qrkCheckIntParameter(QrkStruct* ctx, sqlvar* var, int* rc, char* msg) {
  return statusAtEdge({ctx, msg, rc}, [&] { requireInteger(ctx, var); });
}

int qrkCheckOutputIntParameter(QrkStruct* ctx, sqlvar* var, int* rc, char* msg) {
  return statusAtEdge({ctx, msg, rc}, [&] { requireIntegerOutput(ctx, var); });
}

char* qrkDupParameter(QrkStruct* ctx, const char* data, int length, int* rc, char* msg) {
  *rc = 0;
  const size_t size = length > 0 ? static_cast<size_t>(length) : 0;
  auto* copy = static_cast<char*>(std::malloc(size + 1));
  if (!copy) {
    fail(Report{ctx, msg, rc}, Msg::QRKG002E);
    return nullptr;
  }
  if (size > 0) std::memcpy(copy, data, size);
  copy[size] = 0;
  return copy;
}

void qrkSetOutputMessage(QrkStruct* ctx, sqlvar* var, const char* msg) {
  if (!var || !var->sqldata || var->sqllen < 0) return;
  // The declared length of a decimal is none in bytes.
  if (baseType(*var) == orv::kSqlDecimal) return;
  const bool varying = isVarying(baseType(*var));
  if (!varying && var->sqllen == 0) return;
  const auto declared = static_cast<size_t>(var->sqllen);
  const size_t room = varying ? declared : declared - 1;
  size_t length = std::strlen(msg);
  if (length > room) {
    length = wholeCharacters(ctx, {msg, room});
    QRK_TRACE(ctx, "output message truncated, output parameter buffer size:%d not enough.",
              var->sqllen);
  }
  char* text = var->sqldata;
  if (varying) {
    const auto prefix = static_cast<int16_t>(length);
    std::memcpy(text, &prefix, sizeof prefix);
    text += sizeof prefix;
  }
  std::memcpy(text, msg, length);
  if (!varying) text[length] = 0;
  if (var->sqlind) *var->sqlind = 0;
}

}  // namespace orvxml

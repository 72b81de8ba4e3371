#include "src/compose/call_parameters.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "orvxml/trace.h"
#include "src/compose/composition.h"

namespace orvxml {
namespace {

bool holdsDocument(const sqlvar& entry) {
  return baseType(entry) == orv::kSqlClob || baseType(entry) == orv::kSqlBlob;
}

}  // namespace

// ---- A descriptor area.
bool DescriptorParameters::isNull(int position) const {
  return orvxml::isNull(area_->sqlvar[position]);
}

int DescriptorParameters::bytes(Call& call, int position, ParameterBytes& value) {
  char* data = nullptr;
  int code = 0;
  if (qrkGetStProcParam(&call.ctx, area_, static_cast<short>(position), &data, &value.length, &code,
                        call.msg) != 0) {
    return code;
  }
  value.data = data;
  return 0;
}

int DescriptorParameters::integer(Call& call, int position, int32_t& value) {
  sqlvar& entry = area_->sqlvar[position];
  int code = 0;
  if (qrkCheckIntParameter(&call.ctx, &entry, &code, call.msg) != 0) return code;
  if (!entry.sqldata) return fail(call, Msg::QRKA019E);
  if (baseType(entry) == orv::kSqlSmallint) {
    int16_t small = 0;
    std::memcpy(&small, entry.sqldata, sizeof small);
    value = small;
  } else {
    std::memcpy(&value, entry.sqldata, sizeof value);
  }
  return 0;
}

int DescriptorParameters::checkIntegerOutput(Call& call, int position) {
  sqlvar& entry = area_->sqlvar[position];
  int code = 0;
  if (qrkCheckOutputIntParameter(&call.ctx, &entry, &code, call.msg) != 0) return code;
  return entry.sqldata ? 0 : fail(call, Msg::QRKG004E);
}

// The length goes where the secondary entry says, else into the word in front of the data.
int DescriptorParameters::documentOutput(Call& call, int position, DocumentArea& area) {
  const sqlvar& entry = area_->sqlvar[position];
  if (!holdsDocument(entry)) {
    QRK_TRACE(&call.ctx, "wrong parameter type, not string:%d", entry.sqltype);
    return fail(call, Msg::QRKA074E);
  }
  if (!entry.sqldata) return fail(call, Msg::QRKG004E);
  int64_t declared = kResultDocumentSize;
  area.data = entry.sqldata + sizeof(int32_t);
  area.length = entry.sqldata;
  if (area_->sqld + position < area_->sqln) {
    const sqlvar_secondary* const secondary = orv::secondaryEntry(area_, position);
    declared = secondary->sqllonglen;
    if (secondary->sqldatalen) {
      area.data = entry.sqldata;
      area.length = reinterpret_cast<char*>(secondary->sqldatalen);
    }
  }
  area.capacity =
      static_cast<int32_t>(std::clamp<int64_t>(declared, 0, std::numeric_limits<int32_t>::max()));
  return 0;
}

void DescriptorParameters::setInteger(int position, int32_t value) {
  storeInteger(area_->sqlvar[position], value);
}

// ---- Single pointers.
bool ListParameters::isNull(int position) const {
  const ListParameter& parameter = at(position);
  if (parameter.indicator && *parameter.indicator < 0) return true;
  return !parameter.object && !parameter.text && !parameter.number;
}

int ListParameters::bytes(Call&, int position, ParameterBytes& value) {
  const ListParameter& parameter = at(position);
  if (parameter.object) {
    value = {parameter.object->data, parameter.object->length};
  } else {
    value = {parameter.text, static_cast<int>(std::strlen(parameter.text))};
  }
  return 0;
}

int ListParameters::integer(Call&, int position, int32_t& value) {
  value = isNull(position) ? 0 : *at(position).number;
  return 0;
}

int ListParameters::documentOutput(Call& call, int position, DocumentArea& area) {
  clob* const object = at(position).object;
  if (!object) return fail(call, Msg::QRKG004E);
  area.data = object->data;
  area.capacity = kResultDocumentSize;
  area.length = reinterpret_cast<char*>(&object->length);
  return 0;
}

void ListParameters::setInteger(int position, int32_t value) {
  if (int* const result = at(position).result) *result = value;
}

}  // namespace orvxml

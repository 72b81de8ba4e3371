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

ParameterBytes DescriptorParameters::bytes(QrkStruct* ctx, int position) {
  const DescriptorText taken = takeBytes(ctx, area_, position);
  return {taken.data, taken.length};
}

int32_t DescriptorParameters::integer(QrkStruct* ctx, int position) {
  const sqlvar& entry = area_->sqlvar[position];
  requireInteger(ctx, &entry);
  if (!entry.sqldata) throw Failure(Msg::QRKA019E);
  if (baseType(entry) == orv::kSqlSmallint) {
    int16_t small = 0;
    std::memcpy(&small, entry.sqldata, sizeof small);
    return small;
  }
  int32_t value = 0;
  std::memcpy(&value, entry.sqldata, sizeof value);
  return value;
}

void DescriptorParameters::checkIntegerOutput(QrkStruct* ctx, int position) {
  const sqlvar& entry = area_->sqlvar[position];
  requireIntegerOutput(ctx, &entry);
  if (!entry.sqldata) throw Failure(Msg::QRKG004E);
}

// The length goes where the secondary entry says, else into the word in front of the data.
DocumentArea DescriptorParameters::documentOutput(QrkStruct* ctx, int position) {
  const sqlvar& entry = area_->sqlvar[position];
  if (!holdsDocument(entry)) {
    QRK_TRACE(ctx, "wrong parameter type, not string:%d", entry.sqltype);
    throw Failure(Msg::QRKA074E);
  }
  if (!entry.sqldata) throw Failure(Msg::QRKG004E);
  int64_t declared = kResultDocumentSize;
  DocumentArea area{entry.sqldata + sizeof(int32_t), 0, entry.sqldata};
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
  return area;
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

ParameterBytes ListParameters::bytes(QrkStruct*, int position) {
  const ListParameter& parameter = at(position);
  if (parameter.object) return {parameter.object->data, parameter.object->length};
  return {parameter.text, static_cast<int>(std::strlen(parameter.text))};
}

int32_t ListParameters::integer(QrkStruct*, int position) {
  return isNull(position) ? 0 : *at(position).number;
}

DocumentArea ListParameters::documentOutput(QrkStruct*, int position) {
  clob* const object = at(position).object;
  if (!object) throw Failure(Msg::QRKG004E);
  return {object->data, kResultDocumentSize, reinterpret_cast<char*>(&object->length)};
}

void ListParameters::setInteger(int position, int32_t value) {
  if (int* const result = at(position).result) *result = value;
}

}  // namespace orvxml

#include "server/routines/parameter_area.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "server/values/sql_error.h"

namespace orv {
namespace {

using Mode = ParameterDefinition::Mode;

constexpr int64_t kGuardSize = 32;
constexpr char kGuardByte = static_cast<char>(0xB5);
constexpr int64_t kAlignment = 16;
constexpr int16_t kNotReturned = -128;  // what procedures set for their inputs

int64_t aligned(int64_t offset) {
  return (offset + kAlignment - 1) / kAlignment * kAlignment;
}

bool isLob(const ParameterDefinition& parameter) {
  return isLargeObject(parameter.type.kind) && !parameter.type.locator;
}

int16_t typeCode(const SqlType& type) {
  if (!type.locator) return baseTypeCode(sqlTypeCode(type));
  if (type.kind == TypeKind::Blob) return kSqlBlobLocator;
  return type.kind == TypeKind::DbClob ? kSqlDbclobLocator : kSqlClobLocator;
}

}  // namespace

ParameterArea::ParameterArea(SessionState& session, const Procedure& procedure,
                             const std::vector<ValueView>& inputs)
    : session_(session), procedure_(procedure) {
  layOut(inputs);
  for (size_t i = 0; i < parameters_.size(); ++i) storeInput(parameters_[i], converted_[i]);
  describe();
}

// Large inputs take the room of their value, not of their declaration: nothing is written there.
void ParameterArea::layOut(const std::vector<ValueView>& inputs) {
  const size_t count = procedure_.parameters.size();
  converted_.resize(count);
  storage_.resize(count);
  parameters_.reserve(count);
  int64_t end = 0;
  for (size_t i = 0; i < count; ++i) {
    const ParameterDefinition& definition = procedure_.parameters[i];
    const SqlType& type = definition.type;
    if (definition.mode != Mode::Out) {
      converted_[i] = convertValue(inputs.at(i), type, session_.textLength(),
                                   ConversionMode::Assignment, storage_[i]);
    }
    int64_t size = type.locator ? static_cast<int64_t>(sizeof(int32_t)) : layoutSize(type);
    if (isLob(definition) && definition.mode == Mode::In) {
      // Four bytes hold a character of any code page, whatever it takes in UTF-8.
      size = std::min(size, static_cast<int64_t>(converted_[i].text.size()) * 4);
    }
    const int64_t offset = aligned(end + kGuardSize);
    const int64_t capacity = isLob(definition) ? size : descriptorLength(type);
    parameters_.push_back({&definition, {typeCode(type), capacity, nullptr}, offset, size});
    end = offset + size;
  }
  memory_.reset(static_cast<char*>(std::calloc(1, static_cast<size_t>(end + kGuardSize))));
  if (!memory_) throw std::bad_alloc();
  for (Parameter& parameter : parameters_) {
    char* const data = memory_.get() + parameter.offset;
    parameter.area.data = data;
    if (isLob(*parameter.definition)) parameter.area.lobLength = &parameter.lobLength;
    std::memset(data - kGuardSize, kGuardByte, kGuardSize);
    std::memset(data + parameter.size, kGuardByte, kGuardSize);
  }
}

void ParameterArea::storeInput(Parameter& parameter, const ValueView& value) {
  if (value.kind == ValueView::Kind::Null) {
    parameter.indicator = -1;
    return;
  }
  const SqlType& type = parameter.definition->type;
  if (storeInArea(parameter.area, value, type, session_).cut) {
    throw SqlError(-302, {parameter.definition->name});
  }
}

void ParameterArea::describe() {
  const int count = static_cast<int>(parameters_.size());
  const bool doubled = std::any_of(parameters_.begin(), parameters_.end(),
                                   [](const Parameter& p) { return isLob(*p.definition); });
  const int entries = std::max(1, doubled ? count * 2 : count);
  const size_t size = sqldaSize(entries);
  descriptor_ = std::make_unique<std::max_align_t[]>(size / sizeof(std::max_align_t) + 1);
  sqlda* area = descriptor();
  std::memcpy(area->sqldaid, doubled ? "SQLDA 2 " : "SQLDA   ", sizeof area->sqldaid);
  area->sqldabc = static_cast<int32_t>(size);
  area->sqln = static_cast<int16_t>(entries);
  area->sqld = static_cast<int16_t>(count);
  for (int i = 0; i < count; ++i) {
    Parameter& parameter = parameters_[static_cast<size_t>(i)];
    const ParameterDefinition& definition = *parameter.definition;
    sqlvar& entry = area->sqlvar[i];
    entry.sqltype = static_cast<int16_t>(parameter.area.type + (definition.type.nullable ? 1 : 0));
    entry.sqllen = definition.type.locator ? int16_t{4} : descriptorLength(definition.type);
    entry.sqldata = parameter.area.data;
    entry.sqlind = &parameter.indicator;
    const size_t named = std::min(definition.name.size(), sizeof entry.sqlname.data);
    entry.sqlname.length = static_cast<int16_t>(named);
    std::memcpy(entry.sqlname.data, definition.name.data(), named);
    if (doubled) describeSecondary(i);
  }
}

void ParameterArea::describeSecondary(int index) {
  Parameter& parameter = parameters_[static_cast<size_t>(index)];
  if (!isLob(*parameter.definition)) return;
  sqlvar_secondary* secondary = secondaryEntry(descriptor(), index);
  secondary->sqllonglen = layoutSize(parameter.definition->type);
  secondary->sqldatalen = &parameter.lobLength;
}

void ParameterArea::refuse(const Parameter& parameter) const {
  throw SqlError(
      -450, "39501",
      {procedure_.schema + "." + procedure_.name, procedure_.specific, parameter.definition->name});
}

void ParameterArea::checkGuards() const {
  const auto whole = [](const char* guard) {
    return std::all_of(guard, guard + kGuardSize, [](char c) { return c == kGuardByte; });
  };
  for (const Parameter& parameter : parameters_) {
    const char* const data = parameter.area.data;
    if (!whole(data - kGuardSize) || !whole(data + parameter.size)) refuse(parameter);
  }
}

std::vector<OwnedValue> ParameterArea::outputs() {
  checkGuards();
  std::vector<OwnedValue> values;
  values.reserve(parameters_.size());
  for (const Parameter& parameter : parameters_) {
    const bool input = parameter.definition->mode == Mode::In;
    values.push_back(input ? OwnedValue() : output(parameter));
  }
  return values;
}

OwnedValue ParameterArea::output(const Parameter& parameter) {
  if (parameter.indicator == -1 || parameter.indicator == kNotReturned) return {};
  if (parameter.indicator != 0) refuse(parameter);
  const SqlType& type = parameter.definition->type;
  ValueStorage host;
  ValueView value;
  try {
    value = loadFromArea(parameter.area, isBinary(type.kind), session_, host);
  } catch (const SqlError& error) {
    if (error.sqlcode() == -311 || error.sqlcode() == -302) refuse(parameter);
    throw;
  }
  std::string storage;
  return OwnedValue(
      convertValue(value, type, session_.textLength(), ConversionMode::Assignment, storage));
}

}  // namespace orv

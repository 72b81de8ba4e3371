#include "server/clients/esql/large_object_query.h"

#include <cstring>

#include "server/values/sql_error.h"

namespace orv::esql {
namespace {

int64_t integerInput(const BoundVariable& variable, SessionState& session) {
  HostStorage storage;
  const ValueView value = loadHostValue(variable.area, false, session, storage);
  if (value.kind != ValueView::Kind::Integer) throw SqlError(-303);
  return value.integer;
}

LocatorKind kindOf(TypeKind kind) {
  if (kind == TypeKind::Blob) return LocatorKind::Blob;
  return kind == TypeKind::DbClob ? LocatorKind::DbClob : LocatorKind::Clob;
}

int32_t locatorNumber(const BoundVariable& variable) {
  int32_t number;
  std::memcpy(&number, variable.area.data, sizeof number);
  return number;
}

}  // namespace

std::optional<LargeObjectAnswer> LargeObjectAnswer::find(const Compilation& statement,
                                                         const BoundVariables& input,
                                                         SessionState& session) {
  const LargeObjectForm form = statement.largeObjectForm;
  if (form == LargeObjectForm::None || input.empty() || !isLocatorCode(input[0].area.type)) {
    return std::nullopt;
  }
  if (input.size() != statement.markers.size()) throw SqlError(-313);
  LargeObjectAnswer answer;
  for (const BoundVariable& variable : input) {
    if (isNullValue(variable)) return answer;
  }
  LocatorValue& value = session.locators().find(locatorNumber(input[0]));
  if (value.kind() != kindOf(statement.statement->markers[0].type.kind)) throw SqlError(-303);
  answer.kind_ = value.kind();
  answer.bytes_ = value.native(session.codePage());
  answer.lengthOnly_ = form == LargeObjectForm::Length;
  answer.count_ = answer.bytes_->size();
  if (form == LargeObjectForm::Substring) {
    const int64_t start = integerInput(input[1], session);
    const int64_t count = integerInput(input[2], session);
    const auto size = static_cast<int64_t>(answer.bytes_->size());
    if (start < 1 || count < 0 || start - 1 + count > size) throw SqlError(-138);
    answer.start_ = static_cast<size_t>(start - 1);
    answer.count_ = static_cast<size_t>(count);
  }
  return answer;
}

bool LargeObjectAnswer::store(const BoundVariables& output, SessionState& session) const {
  if (output.size() != 1) throw SqlError(-313);
  const BoundVariable& variable = output[0];
  if (!bytes_) return storeValue(variable, 1, ValueView::null(), {}, session);
  const int64_t width = kind_ == LocatorKind::DbClob ? 2 : 1;
  if (lengthOnly_) {
    const ValueView length = ValueView::of(static_cast<int64_t>(count_) / width);
    return storeValue(variable, 1, length, makeType(TypeKind::Integer), session);
  }
  if (!variable.area.data) throw SqlError(-804, {"sqldata"});
  const std::string_view piece = std::string_view(*bytes_).substr(start_, count_);
  if (variable.indicator) *variable.indicator = 0;
  if (isLocatorCode(variable.area.type)) {
    LocatorValue copy(kind_);
    copy.append(piece, session.codePage());
    const int32_t locator = session.locators().add(std::move(copy));
    std::memcpy(variable.area.data, &locator, sizeof locator);
    return false;
  }
  return storeNativeText(variable.area, piece, session).cut;
}

}  // namespace orv::esql

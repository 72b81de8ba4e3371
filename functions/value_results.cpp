#include "functions/value_results.h"

#include <cstring>

#include "functions/text_conversion.h"
#include "orvxml/function_locators.h"

namespace orvxml::functions {

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kWhiteSpace = " \t\r\n";
  const size_t first = text.find_first_not_of(kWhiteSpace);
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

bool ClobValue::store(FunctionCall& call, std::string_view text, Field* result) {
  call.check(qrk_buf2locator(call.begin(), text.data(), static_cast<int32_t>(text.size()), result,
                             call.sqlState(), call.message()));
  return true;
}

bool DbClobValue::store(FunctionCall& call, std::string_view text, Field* result) {
  const std::u16string units = toUnicode(call, call.begin()->codePages->dbConverter, text);
  if (units.size() > kMaxUnits) call.fail(Msg::QRKC013E);
  copy(units, result);
  return true;
}

void DbClobValue::copy(std::u16string_view units, Field* result) {
  result->length = static_cast<uint32_t>(units.size());
  std::memcpy(result->data, units.data(), units.size() * sizeof(char16_t));
}

}  // namespace orvxml::functions

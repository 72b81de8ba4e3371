#include "src/admin/admin_parameters.h"

#include <cstring>

namespace orvxml {

int takeText(Call& call, sqlda* da, int position, std::string& text) {
  char* data = nullptr;
  int length = 0;
  int code = 0;
  if (qrkGetStProcParam(&call.ctx, da, static_cast<short>(position), &data, &length, &code,
                        call.msg) != 0) {
    return code;
  }
  const auto size = static_cast<size_t>(length);
  text.assign(data, strnlen(data, size));
  return hasTextAfterNul(data, size) ? fail(call, Msg::QRKQ054E, text) : 0;
}

int takeOptionalText(Call& call, sqlda* da, int position, std::string& text) {
  text.clear();
  return isNull(da->sqlvar[position]) ? 0 : takeText(call, da, position, text);
}

}  // namespace orvxml

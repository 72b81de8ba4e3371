#include "src/admin/admin_parameters.h"

#include <cstring>

namespace orvxml {

std::string takeText(Call& call, sqlda* da, int position) {
  const DescriptorText bytes = takeBytes(&call.ctx, da, position);
  const auto size = static_cast<size_t>(bytes.length);
  std::string text(bytes.data, strnlen(bytes.data, size));
  if (hasTextAfterNul(bytes.data, size)) throw Failure(Msg::QRKQ054E, text);
  return text;
}

std::string takeOptionalText(Call& call, sqlda* da, int position) {
  return isNull(da->sqlvar[position]) ? std::string() : takeText(call, da, position);
}

}  // namespace orvxml

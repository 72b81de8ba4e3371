#include "src/decompose/document_names.h"

#include "orvxml/code_pages.h"

namespace orvxml {

std::u16string joinAttributeName(std::u16string_view name) {
  std::u16string joined = u"qrkjoin_";
  joined += name;
  return joined;
}

const NameInfo& DocumentNames::find(const XMLCh* name) {
  const auto [entry, isNew] = infos_.try_emplace(name);
  NameInfo& info = entry->second;
  if (!isNew) return info;
  const std::u16string_view units = name;
  info.length = units.size();
  // No mapped name is one that does not convert.
  if (!toDatabase(ctx_, units, info.text)) return info;
  for (int i = 0; i < rel_->num_of_tables; ++i) {
    const tab* table = rel_->tab[i];
    if (isInTab(ctx_, table, info.text.c_str())) info.inTables |= tableBit(i);
    if (info.text == table->top_element) info.topElementOf |= tableBit(i);
  }
  return info;
}

}  // namespace orvxml

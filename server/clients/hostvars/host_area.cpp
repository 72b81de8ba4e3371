#include "server/clients/hostvars/host_area.h"

#include <cstring>

#include "orv/sqlda.h"
#include "server/values/sql_error.h"
#include "server/values/utf8_text.h"

namespace orv {
namespace {

SqlFileReference referenceIn(const ValueArea& area) {
  SqlFileReference reference;
  std::memcpy(&reference, area.data, sizeof reference);
  return reference;
}

Stored storeFile(const ValueArea& area, std::string_view bytes) {
  SqlFileReference reference = referenceIn(area);
  writeLargeObjectFile(reference, bytes);
  std::memcpy(area.data, &reference, sizeof reference);
  return {static_cast<int64_t>(bytes.size())};
}

}  // namespace

bool isFileCode(int16_t type) {
  return type == kSqlClobFile || type == kSqlBlobFile || type == kSqlDbclobFile;
}

ValueView loadHostValue(const ValueArea& area, bool binary, SessionState& session,
                        HostStorage& storage) {
  if (!isFileCode(area.type)) return loadFromArea(area, binary, session, storage);
  storage.file = readLargeObjectFile(referenceIn(area));
  const std::string_view bytes = storage.file.view();
  const CodePage& codePage = session.codePage();
  if (area.type == kSqlDbclobFile) {
    return ValueView::ofText(codePage.graphicToUtf8(bytes, storage.text));
  }
  if (binary || area.type == kSqlBlobFile) return ValueView::ofBlob(bytes);
  return ValueView::ofText(codePage.toUtf8(bytes, storage.text));
}

Stored storeHostValue(const ValueArea& area, const ValueView& value, const SqlType& type,
                      SessionState& session) {
  if (!isFileCode(area.type)) return storeInArea(area, value, type, session);
  const bool binary = value.kind == ValueView::Kind::Blob;
  std::string storage;
  std::string native;
  const std::string_view utf8 = binary ? value.text : valueText(value, type, storage);
  const CodePage& codePage = session.codePage();
  if (area.type == kSqlDbclobFile) return storeFile(area, codePage.graphicFromUtf8(utf8, native));
  return storeFile(area, binary ? utf8 : codePage.fromUtf8(utf8, native));
}

Stored storeNativeText(const ValueArea& area, std::string_view native, SessionState& session) {
  const bool file = area.type == kSqlClobFile || area.type == kSqlBlobFile;
  return file ? storeFile(area, native) : storeNativeInArea(area, native, session);
}

void requireDescribedLength(const ValueView& value, size_t length, const SqlType& type) {
  const bool counted = isCharacter(type.kind) && !isLargeObject(type.kind);
  // Bytes may have come as two digits each.
  const size_t full = value.kind == ValueView::Kind::Blob ? value.text.size() : length;
  if (counted && static_cast<int64_t>(full) > type.length) {
    throw SqlError(-433, {shortened(value.text)});
  }
}

}  // namespace orv

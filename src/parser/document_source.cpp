#include "src/parser/document_source.h"

#include <cstring>
#include <string>

#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/util/XMLException.hpp>

#include "orvxml/buffer.h"
#include "orvxml/code_pages.h"
#include "src/outcome/failure.h"

namespace orvxml {
namespace {

constexpr size_t kFileNameLimit = 1024;  // UTF-16 units

DocumentSource openFile(QrkStruct* ctx, const char* name) {
  uint32_t size = 0;
  std::u16string wide;
  if (qrk_getFileSize(ctx, name, &size) != 0 || !isfile(ctx, name) || !toUtf16(ctx, name, wide) ||
      wide.size() > kFileNameLimit) {
    throw Failure(Msg::QRKC001E);
  }
  return {std::make_unique<xercesc::LocalFileInputSource>(wide.c_str()), size};
}

}  // namespace

DocumentSource openDocument(QrkStruct* ctx, const char* document, bool isText) {
  if (!document) throw Failure(Msg::QRKG004E);
  if (isText) {
    const size_t size = std::strlen(document);
    return {memorySource({document, size}, u"IdForDocBuffer"), size};
  }
  try {
    return openFile(ctx, document);
  } catch (const xercesc::XMLException&) {
    // The name of a file that the parser cannot make a path of.
    throw Failure(Msg::QRKC001E);
  }
}

void chooseEncoding(QrkStruct* ctx, bool inDbEncoding, DocumentSource& source) {
  const std::u16string name = inDbEncoding ? databaseEncoding(ctx) : std::u16string();
  source.input = name.empty() ? inDeclaredEncoding(std::move(source.input))
                              : inEncoding(ctx, std::move(source.input), name);
}

}  // namespace orvxml

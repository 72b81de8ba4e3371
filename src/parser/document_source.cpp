#include "src/parser/document_source.h"

#include <cstring>
#include <new>
#include <string>

#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/XMLException.hpp>

#include "orvxml/buffer.h"
#include "orvxml/code_pages.h"

namespace orvxml {
namespace {

constexpr size_t kFileNameLimit = 1024;  // UTF-16 units

bool openFile(const Report& report, const char* name, DocumentSource& source) {
  uint32_t size = 0;
  std::u16string wide;
  if (qrk_getFileSize(report.ctx, name, &size) != 0 || !isfile(report.ctx, name) ||
      !toUtf16(report.ctx, name, wide) || wide.size() > kFileNameLimit) {
    fail(report, Msg::QRKC001E);
    return false;
  }
  source.input = std::make_unique<xercesc::LocalFileInputSource>(wide.c_str());
  source.bytes = size;
  return true;
}

void openText(const char* text, DocumentSource& source) {
  source.bytes = std::strlen(text);
  source.input = memorySource({text, source.bytes}, u"IdForDocBuffer");
}

}  // namespace

bool outOfMemory(const Report& report) {
  fail(report, Msg::QRKG002E);
  return false;
}

bool openDocument(const Report& report, const char* document, bool isText, DocumentSource& source) {
  if (!document) {
    fail(report, Msg::QRKG004E);
    return false;
  }
  try {
    if (!isText) return openFile(report, document, source);
    openText(document, source);
    return true;
  } catch (const std::bad_alloc&) {
    return outOfMemory(report);
  } catch (const xercesc::OutOfMemoryException&) {
    return outOfMemory(report);
  } catch (const xercesc::XMLException&) {
    // The name of a file that the parser cannot make a path of.
    fail(report, Msg::QRKC001E);
    return false;
  }
}

int chooseEncoding(const Report& report, bool inDbEncoding, DocumentSource& source) {
  std::u16string name;
  if (inDbEncoding) {
    if (int rc = databaseEncoding(report, name)) return rc;
  }
  source.input = name.empty() ? inDeclaredEncoding(std::move(source.input))
                              : inEncoding(report.ctx, std::move(source.input), name);
  return 0;
}

}  // namespace orvxml

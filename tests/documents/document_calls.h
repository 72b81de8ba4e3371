// Calls of the library on documents, as the server's functions make them.
#pragma once

#include <libxml/xmlmemory.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

#include "tests/documents/path_rules.h"
#include "tests/xmlcolumn/column_calls.h"

namespace orvxml::test {

constexpr int kRoom = 1 << 28;

enum class Source { File = 0, Memory = 1 };
enum class Encoding { Declared = 0, OfDatabase = 1 };

using unittest::Extracted;

inline Extracted extract(unittest::CallContext& call, std::string document, std::string path,
                         Form form = Form::Text, Source source = Source::Memory,
                         Encoding encoding = Encoding::Declared) {
  return unittest::extractValues(&call.ctx, std::move(document), std::move(path),
                                 {.inMemory = static_cast<int>(source),
                                  .useDbEncoding = static_cast<int>(encoding),
                                  .format = form == Form::Markup,
                                  .maxBytes = kRoom});
}

struct Updated {
  int rc = -1;
  std::string message;
  std::string document;
};

inline Updated update(unittest::CallContext& call, std::string document, std::string path,
                      std::string value) {
  Updated got;
  char* result = nullptr;
  char state[kSqlStateSize] = "";
  char msg[kMessageSize] = "";
  got.rc = qrkUpdateFromBuf(&call.ctx, document.data(), path.data(), value.data(), &result, kRoom,
                            state, msg);
  got.message = msg;
  const std::unique_ptr<char, decltype(&std::free)> owned(result, &std::free);
  if (result) got.document = result;
  return got;
}

}  // namespace orvxml::test

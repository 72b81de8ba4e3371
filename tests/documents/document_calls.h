// Calls of the library on documents, as the server's functions make them.
#pragma once

#include <libxml/xmlmemory.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "orvxml/extraction.h"
#include "orvxml/update.h"
#include "tests/documents/path_rules.h"
#include "tests/foundation/call_context.h"

namespace orvxml::test {

constexpr int kRoom = 1 << 28;

enum class Source { File = 0, Memory = 1 };
enum class Encoding { Declared = 0, OfDatabase = 1 };

struct Extracted {
  int rc = -1;
  std::string sqlState;
  std::string message;
  std::vector<std::string> values;
};

inline Extracted extract(unittest::CallContext& call, std::string document, std::string path,
                         Form form = Form::Text, Source source = Source::Memory,
                         Encoding encoding = Encoding::Declared) {
  Extracted got;
  QrkExtractResult result{};
  char state[kSqlStateSize] = "";
  char msg[kMessageSize] = "";
  got.rc =
      extractAll(&call.ctx, document.data(), static_cast<int>(encoding), static_cast<int>(source),
                 form == Form::Markup, path.data(), &result, kRoom, state, msg);
  got.sqlState = state;
  got.message = msg;
  if (got.rc) return got;
  for (char** value = result.values; *value; ++value) got.values.emplace_back(*value);
  qrkFreeArray(&call.ctx, &result);
  return got;
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

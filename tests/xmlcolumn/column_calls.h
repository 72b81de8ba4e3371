// Calls of extraction and update on documents in memory or in files, with all that they report.
#pragma once

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <string>
#include <vector>

#include "orvxml/extraction.h"
#include "orvxml/update.h"
#include "tests/support/call_context.h"

namespace orvxml::unittest {

struct CallOutcome {
  int rc = 0;
  std::string state;
  std::string message;
};

// What a call hands over besides the document and the path.
struct CallOptions {
  int inMemory = 1;
  int useDbEncoding = 0;
  int format = kExtractText;
  int maxBytes = INT_MAX;
};

constexpr CallOptions kPlain;
constexpr CallOptions kFile{.inMemory = 0};
constexpr CallOptions room(int maxBytes) {
  return {.maxBytes = maxBytes};
}

// "rc state message".
inline std::string outcomeOf(const CallOutcome& call) {
  return std::to_string(call.rc) + ' ' + call.state + ' ' + call.message;
}

struct Extracted : CallOutcome {
  std::vector<std::string> values;
};

inline Extracted extractValues(QrkStruct* ctx, std::string document, std::string path,
                               const CallOptions& options = {}) {
  Extracted extracted;
  char msg[kMessageSize] = "old";
  char state[kSqlStateSize] = "old";
  QrkExtractResult result{};
  extracted.rc = extractAll(ctx, document.data(), options.useDbEncoding, options.inMemory,
                            options.format, path.data(), &result, options.maxBytes, state, msg);
  extracted.state = state;
  extracted.message = msg;
  EXPECT_EQ(result.cursor, result.values);
  EXPECT_EQ(std::string(result.sqlstate), state);
  for (char** value = result.values; value && *value; ++value) extracted.values.push_back(*value);
  EXPECT_EQ(result.values != nullptr, extracted.rc == 0);
  qrkFreeArray(ctx, &result);
  EXPECT_EQ(result.values, nullptr);
  return extracted;
}

// A value is "NULL" when there is none.
inline Extracted extractValue(QrkStruct* ctx, std::string document, std::string path,
                              const CallOptions& options = {}) {
  Extracted extracted;
  char msg[kMessageSize] = "old";
  char state[kSqlStateSize] = "old";
  char unset = 0;
  char* value = &unset;
  extracted.rc = extractOne(ctx, document.data(), options.useDbEncoding, options.inMemory,
                            options.format, path.data(), &value, options.maxBytes, state, msg);
  extracted.state = state;
  extracted.message = msg;
  extracted.values.push_back(value ? value : "NULL");
  std::free(value);
  return extracted;
}

// The document is "NULL" when there is none.
struct Updated : CallOutcome {
  std::string document;
};

inline Updated updateDocument(QrkStruct* ctx, std::string document, std::u16string path,
                              std::u16string value, const CallOptions& options = {}) {
  Updated updated;
  char msg[kMessageSize] = "old";
  char state[kSqlStateSize] = "old";
  char unset = 0;
  char* result = &unset;
  updated.rc = qrkUpdate(ctx, document.data(), options.inMemory, options.useDbEncoding, path.data(),
                         value.data(), &result, options.maxBytes, state, msg);
  updated.state = state;
  updated.message = msg;
  updated.document = result ? result : "NULL";
  std::free(result);
  return updated;
}

}  // namespace orvxml::unittest

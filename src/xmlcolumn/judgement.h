// What a document is by a DTD or a schema, with the reason, of which the functions of
// orvxml/validation.h give no more than a code and a message.
#pragma once

#include <optional>
#include <string>

#include "orvxml/validation.h"
#include "src/outcome/failure.h"

namespace orvxml {

struct JudgedDocument {
  const char* text;  // or the name of a file
  bool isText;
  bool inDbEncoding;
};

struct JudgingDtd {
  const char* text;  // or the name of a file, or null
  bool isText;
  bool inDbEncoding;
  const char* id;

  std::string name() const {
    const char* const file = isText ? id : text;
    return file ? file : "";
  }
};

struct Judgement {
  QrkVerdict verdict = kNotJudged;
  std::optional<Failure> failure = {};  // why it is not kValid
};

// They throw nothing that a verdict can be given for.
Judgement judgeByDtd(QrkStruct* ctx, const JudgedDocument& document, const JudgingDtd& dtd);
Judgement judgeBySchema(QrkStruct* ctx, const JudgedDocument& document, const char16_t* location);
// Why no document can be judged by the schema; nothing when some can.
std::optional<Failure> faultOfSchema(QrkStruct* ctx, const std::u16string& location);

}  // namespace orvxml

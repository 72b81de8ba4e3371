// What a DAD says in front of its mapping: the DTD or schema of its documents and whether they are
// to be validated.
#pragma once

#include <string>

#include "src/parser/parser.h"

namespace orvxml {

struct DadSettings {
  std::u16string dtdid;  // without surrounding white space; empty when there is none
  std::u16string schemaLocation;
  bool hasDtdid = false;  // the element stands in the DAD, whatever its content
  bool hasSchema = false;
  bool hasValidation = false;
  bool validate = false;
};

// What a kind of DAD takes: the longest texts in characters, where a longer one counts as missing
// or wrong, and whether elements of other names are refused.
struct DadSettingLimits {
  size_t schemaLocation;
  size_t validation;
  size_t dtdid = std::u16string::npos;
  bool othersRefused = true;
};
inline constexpr DadSettingLimits kNoSettingLimits{std::u16string::npos, std::u16string::npos};

// Reads the elements below the DAD's root up to the first one that is wrong; comments, processing
// instructions and text between them mean nothing. Throws QRKQ057E, QRKQ058E, QRKQ000E (a schema
// without location), QRKA010E, QRKA056E, QRKQ040E.
DadSettings readDadSettings(QrkStruct* ctx, const DOM_Document& dad,
                            const DadSettingLimits& limits);

}  // namespace orvxml

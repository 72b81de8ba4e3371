// What a DAD says in front of its mapping: the DTD or schema of its documents and whether they are
// to be validated.
#pragma once

#include <string>

#include "orvxml/parser.h"

namespace orvxml {

struct DadSettings {
  std::u16string dtdid;  // without surrounding white space; empty when there is none
  std::u16string schemaLocation;
  bool hasDtdid = false;  // the element stands in the DAD, whatever its content
  bool hasSchema = false;
  bool validate = false;
};

// The longest texts that are taken, in characters; a longer one counts as missing or wrong.
struct DadSettingLimits {
  size_t schemaLocation;
  size_t validation;
};
inline constexpr DadSettingLimits kNoSettingLimits{std::u16string::npos, std::u16string::npos};

// Reads the children of the DAD's root element up to the first one that is wrong. 0, or the code of
// the message: QRKQ057E, QRKQ058E, QRKA056E, QRKQ040E.
int readDadSettings(QrkStruct* ctx, const DOM_Document& dad, const DadSettingLimits& limits,
                    DadSettings& settings, char* msg);

}  // namespace orvxml

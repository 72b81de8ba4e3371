// What a DAD says in front of its mapping: the DTD or schema of its documents and whether they are
// to be validated.
#pragma once

#include <string>

#include "orvxml/parser.h"

namespace orvxml {

struct DadHeader {
  std::u16string dtdid;  // without surrounding white space; empty when there is none
  std::u16string schemaLocation;
  bool hasDtdid = false;  // the element stands in the DAD, whatever its content
  bool hasSchema = false;
  bool validate = false;
};

// Reads the children of the DAD's root element. 0, or -1 with the message of what is wrong.
int readDadHeader(QrkStruct* ctx, const DOM_Document& dad, DadHeader& header, char* msg);

}  // namespace orvxml

// How the bytes that the parser reads become characters. In encodings that the parser knows only by
// way of a converter it would take bytes that mean nothing for U+FFFD, in silence: those encodings
// are converted here, and such bytes end the parse.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <xercesc/sax/InputSource.hpp>

#include "orvxml/context.h"

namespace orvxml {

using InputPtr = std::unique_ptr<xercesc::InputSource>;

// Bytes that must live as long as the source.
InputPtr memorySource(std::string_view bytes, const char16_t* systemId);

// The name of the encoding of the database code page; empty in a context without code pages.
// QRKG008E for a code page that has none.
std::u16string databaseEncoding(QrkStruct* ctx);

// The input, to be read in the encoding that its XML declaration names.
InputPtr inDeclaredEncoding(InputPtr input);
// The input, to be read in the encoding `name`, whatever it declares. The name of the database's
// encoding, which may have several variants, means the very code page.
InputPtr inEncoding(QrkStruct* ctx, InputPtr input, const std::u16string& name);

}  // namespace orvxml

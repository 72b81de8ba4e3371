// Encodings of what the command reads: documents and mappings arrive in the encoding that they
// declare, SQL in UTF-8, and the server takes text in UTF-8 or in the database's code page.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "orvxml/code_pages.h"

namespace orvxml::command {

using orvxml::kUtf8CodePage;

// The character of UTF-8 text at `at`, which moves behind it; -1 for an ill-formed sequence.
int32_t nextCharacter(std::string_view utf8, size_t& at);

bool isUtf8(std::string_view text);

// The value of `encoding` in an XML declaration of ASCII characters, where it stands in `text`;
// empty when there is none or it is no name, which is for the parser to tell.
std::string_view declaredEncoding(std::string_view text);

// An XML document as UTF-8, without a byte order mark. The encoding is that of the byte order mark,
// else that of the XML declaration, else UTF-8. The declaration itself stays as it is: the parser
// is told the encoding. Throws Failure, in front of it `name` and the line, when the encoding is
// unknown, when bytes do not belong to it, or when the text holds U+0000.
std::string documentAsUtf8(const std::string& name, std::string content);

// A document in UTF-8 with blanks in place of an XML declaration, which may name another encoding;
// all that follows keeps its place.
std::string withoutDeclaration(std::string_view text);

// UTF-8 text, without a byte order mark; as above.
std::string plainTextAsUtf8(const std::string& name, std::string content);

// UTF-8 text in a database's code page; Failure at the first character that has no place in it.
std::string toCodePage(const std::string& name, const std::string& utf8, int codePage);

// An XML document in UTF-8 in the encoding that its XML declaration names; without one as it is. A
// character that has no place there becomes a character reference. Failure, in front of it `name`,
// for an unknown encoding.
std::string inDeclaredEncoding(const std::string& name, const std::string& utf8);

// Well-formed UTF-8 as UTF-16.
std::u16string utf16Of(std::string_view utf8);
// Well-formed UTF-16 as UTF-8.
std::string utf8Of(std::u16string_view text);

// The server's text as UTF-8; what cannot be converted is replaced.
std::string fromCodePage(std::string text, int codePage);

}  // namespace orvxml::command

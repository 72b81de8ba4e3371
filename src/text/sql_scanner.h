// The lexer for SQL identifiers in DADs, parameters and overrides, and the writer of delimited
// identifiers. It splits, folds and length-checks names as the server does.
#pragma once

#include <bit>
#include <cstdint>
#include <string>
#include <string_view>

#include "orvxml/context.h"
#include "orvxml/sql_literal.h"

namespace orvxml {

enum QrkTokenType : int32_t {
  Type_EOF = 1,
  Type_DelimitedId = 2,
  Type_Identifier = 3,
  Type_String = 4,
  Type_Integer = 5,
  Type_Decimal = 6,
  Type_Float = 7,
  Type_Delimiter = 8,
  Type_Operator = 9,
  Type_TooLong = -1,
  Type_Unterminated = -2,
  Type_BadChar = -3,
  Type_BadNumber = -4,
};

// Results of the identifier parsers; 0 is success.
enum : int {
  kTrailingText = -109,
  kNotAnIdentifier = -113,
  kNameTooLong = -114,
};

inline constexpr int kNamePartSize = 256;  // bytes of a token's text, terminator included
inline constexpr int kSchemaSize = 31;     // bytes, terminator included
inline constexpr int kTableSize = 129;
inline constexpr int kColumnSize = 129;

struct QrkSqlToken {
  int32_t type;
  const char16_t* startptr;
  const char16_t* endptr;    // last character of the token
  char text[kNamePartSize];  // the name, for identifier tokens; else empty
};

extern const char16_t K_UC_SQL_SELFDELIMITINGTOKENS[];
extern const char16_t K_UC_SQL_STRINGPREFIXCHARS[];
extern const char16_t K_UC_SQL_WORD_AND[];

void qrkGetSqlToken(QrkStruct* ctx, const char16_t** cursor, QrkSqlToken* token);
// On entry `token` holds the first token; on return the first one after the name. `parts` has
// `maxParts` slots of 256 bytes.
int qrkParseSqlQualifiedId(QrkStruct* ctx, const char16_t** cursor, QrkSqlToken* token,
                           int maxParts, int* count, char (*parts)[kNamePartSize]);
int qrkParseWQualTbl(QrkStruct* ctx, const char16_t* text, char* schema, int schemaSize,
                     char* table, int tableSize);
int qrkParseQualTbl(QrkStruct* ctx, const char* text, char* schema, int schemaSize, char* table,
                    int tableSize);
int qrkParseWCol(QrkStruct* ctx, const char16_t* text, char* column, int columnSize);
int qrkParseCol(QrkStruct* ctx, const char* text, char* column, int columnSize);
int cmpQualTblName(const char* schemaA, const char* schemaB, const char* tableA,
                   const char* tableB);
// Of the interface; names are compared in the database code page here.
int wcmpQualTblName(const char16_t* schemaA, const char16_t* schemaB, const char16_t* tableA,
                    const char16_t* tableB);
// Normalises white space outside quotes in place. QRKG001E for a null query.
void qrkCleanQueryUcs(char16_t* query);

// Marks of a statement under construction, tested once at its end.
inline char* const kWriteError = std::bit_cast<char*>(~uintptr_t{0});
// Appends `name` as a delimited identifier; sets the error mark or (write position = end) the
// overflow mark; does nothing on a marked position.
void qrkAddOutputSqlId(QrkStruct* ctx, char** cursor, const char* end, const char* name);
void safetyadd(char*& cursor, const char* end, const char* text, int n);

}  // namespace orvxml

// Names in SQL text: split into their parts, compared, and written as delimited identifiers.
#include <cstring>
#include <string>
#include <string_view>

#include "orvxml/code_pages.h"
#include "orvxml/utilities.h"
#include "src/text/sql_scanner.h"

namespace orvxml {
namespace {

constexpr int kMaxNameText = 164;       // characters of a name in SQL syntax
constexpr int kMaxOutputName = 266;     // characters of a name to be written
constexpr size_t kMaxQuotedName = 521;  // characters with its quotes

bool isIdentifier(const QrkSqlToken& token) {
  return token.type == Type_DelimitedId || token.type == Type_Identifier;
}

bool isPeriod(const QrkSqlToken& token) {
  return token.type == Type_Delimiter && *token.startptr == '.';
}

// Copies a name part into its field of `size` bytes.
int storePart(const char* part, char* field, int size) {
  const size_t length = std::strlen(part);
  if (size <= 0 || length >= static_cast<size_t>(size)) return kNameTooLong;
  std::memcpy(field, part, length + 1);
  return 0;
}

void clear(char* field, int size) {
  if (size > 0) *field = 0;
}

// A name in SQL syntax, in the database code page, as UTF-16.
class NameText {
 public:
  NameText(QrkStruct* ctx, const char* text) {
    const int length = QRK_mbstowcsFunction(ctx, text_, text ? text : "", kMaxNameText);
    fits_ = length >= 0;
    text_[fits_ ? length : 0] = 0;
  }
  bool fits() const { return fits_; }
  const char16_t* get() const { return text_; }

 private:
  char16_t text_[kMaxNameText + 1];
  bool fits_;
};

int compareAbsent(const void* a, const void* b) {
  return (a == nullptr) == (b == nullptr) ? 0 : -1;
}

int compareNames(const char* a, const char* b) {
  return a && b ? std::strcmp(a, b) : compareAbsent(a, b);
}

int compareNames(const char16_t* a, const char16_t* b) {
  return a && b ? QRK_wcscmp(a, b) : compareAbsent(a, b);
}

void markOverflow(char** cursor, const char* end) {
  *cursor = const_cast<char*>(end);
}

}  // namespace

int qrkParseSqlQualifiedId(QrkStruct* ctx, const char16_t** cursor, QrkSqlToken* token,
                           int maxParts, int* count, char (*parts)[kNamePartSize]) {
  for (int i = 0; i < maxParts; ++i) parts[i][0] = 0;
  *count = 0;
  while (*count < maxParts && isIdentifier(*token)) {
    std::strcpy(parts[(*count)++], token->text);
    qrkGetSqlToken(ctx, cursor, token);
    if (*count == maxParts || !isPeriod(*token)) return 0;
    qrkGetSqlToken(ctx, cursor, token);
  }
  return kNotAnIdentifier;
}

int qrkParseWQualTbl(QrkStruct* ctx, const char16_t* text, char* schema, int schemaSize,
                     char* table, int tableSize) {
  clear(schema, schemaSize);
  clear(table, tableSize);
  const char16_t* cursor = text ? text : u"";
  QrkSqlToken token;
  char parts[2][kNamePartSize];
  int count = 0;
  qrkGetSqlToken(ctx, &cursor, &token);
  if (const int rc = qrkParseSqlQualifiedId(ctx, &cursor, &token, 2, &count, parts)) return rc;
  if (token.type != Type_EOF) return kTrailingText;
  if (count == 2) {
    if (const int rc = storePart(parts[0], schema, schemaSize)) return rc;
  }
  return storePart(parts[count - 1], table, tableSize);
}

int qrkParseQualTbl(QrkStruct* ctx, const char* text, char* schema, int schemaSize, char* table,
                    int tableSize) {
  const NameText name(ctx, text);
  if (name.fits()) return qrkParseWQualTbl(ctx, name.get(), schema, schemaSize, table, tableSize);
  clear(schema, schemaSize);
  clear(table, tableSize);
  return kNameTooLong;
}

int qrkParseWCol(QrkStruct* ctx, const char16_t* text, char* column, int columnSize) {
  clear(column, columnSize);
  const char16_t* cursor = text ? text : u"";
  QrkSqlToken token;
  qrkGetSqlToken(ctx, &cursor, &token);
  if (!isIdentifier(token)) return kNotAnIdentifier;
  if (const int rc = storePart(token.text, column, columnSize)) return rc;
  qrkGetSqlToken(ctx, &cursor, &token);
  if (token.type == Type_EOF) return 0;
  clear(column, columnSize);
  return kTrailingText;
}

int qrkParseCol(QrkStruct* ctx, const char* text, char* column, int columnSize) {
  const NameText name(ctx, text);
  if (name.fits()) return qrkParseWCol(ctx, name.get(), column, columnSize);
  clear(column, columnSize);
  return kNameTooLong;
}

int cmpQualTblName(const char* schemaA, const char* schemaB, const char* tableA,
                   const char* tableB) {
  const int schemas = compareNames(schemaA, schemaB);
  return schemas != 0 ? schemas : compareNames(tableA, tableB);
}

int wcmpQualTblName(const char16_t* schemaA, const char16_t* schemaB, const char16_t* tableA,
                    const char16_t* tableB) {
  const int schemas = compareNames(schemaA, schemaB);
  return schemas != 0 ? schemas : compareNames(tableA, tableB);
}

void qrkAddOutputSqlId(QrkStruct* ctx, char** cursor, const char* end, const char* name) {
  if (*cursor == kWriteError || *cursor == end) return;
  **cursor = 0;
  std::u16string text;
  std::string bytes;
  if (!toUtf16(ctx, name ? name : "", text)) {
    *cursor = kWriteError;
    return;
  }
  if (text.size() >= static_cast<size_t>(kMaxOutputName)) return markOverflow(cursor, end);
  text = quotedBy(u'"', std::u16string_view(text));
  if (text.size() > kMaxQuotedName) return markOverflow(cursor, end);
  if (!toDatabase(ctx, text, bytes)) {
    *cursor = kWriteError;
    return;
  }
  safetyadd(*cursor, end, bytes.data(), static_cast<int>(bytes.size()));
}

void safetyadd(char*& cursor, const char* end, const char* text, int n) {
  if (cursor == kWriteError) return;
  if (n < 0 || n >= end - cursor) {
    cursor = const_cast<char*>(end);
    return;
  }
  std::memcpy(cursor, text, static_cast<size_t>(n));
  cursor += n;
  *cursor = 0;
}

}  // namespace orvxml

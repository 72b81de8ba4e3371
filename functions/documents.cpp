#include "functions/documents.h"

#include <sys/stat.h>
#include <unistd.h>

#include "functions/text_conversion.h"
#include "orvxml/function_locators.h"

namespace orvxml::functions {
namespace {

int32_t locatorLength(FunctionCall& call, const sqludf_locator* locator) {
  int32_t length = 0;
  const int rc = sqludf_length(locator, &length);
  if (rc != 0 || length < 0) call.fail(Msg::QRKC004E, rc);
  return length;
}

// The library reads a text up to its terminator: what lies behind one would be lost unseen.
void requireNoNul(FunctionCall& call, const char* text, size_t length) {
  if (hasTextAfterNul(text, length)) call.fail(Msg::QRKD000E);
}

}  // namespace

void requirePlainFile(FunctionCall& call, const char* name) {
  struct stat status;
  if (::stat(name, &status) == 0 && !S_ISREG(status.st_mode)) call.fail(Msg::QRKC000E);
}

FileDocument::FileDocument(FunctionCall& call, const Field* name) : name_(name) {
  requirePlainFile(call, name);
}

ClobDocument::ClobDocument(FunctionCall& call, const Field* locator) {
  QrkStruct* ctx = call.begin();
  const auto length = static_cast<size_t>(locatorLength(call, locator));
  call.check(qrkGetDataFromClob(ctx, locator, HeapTextResult(data_), &inMemory_, call.sqlState(),
                                call.message()));
  if (inMemory_) requireNoNul(call, data_.get(), length);
}

ClobDocument::~ClobDocument() {
  if (!inMemory_ && data_) ::unlink(data_.get());
}

std::u16string dbClobText(FunctionCall& call, const sqludf_locator* locator) {
  const int32_t length = locatorLength(call, locator);
  std::u16string text(static_cast<size_t>(length) / sizeof(char16_t), u'\0');
  auto* bytes = reinterpret_cast<unsigned char*>(text.data());
  const auto wanted = static_cast<int32_t>(text.size() * sizeof(char16_t));
  int32_t taken = 0;
  while (taken < wanted) {
    int32_t count = 0;
    const int rc = sqludf_substr(locator, taken + 1, wanted - taken, bytes + taken, &count);
    if (rc != 0 || count <= 0) call.fail(Msg::QRKC004E, rc);
    taken += count;
  }
  return text;
}

DbClobDocument::DbClobDocument(FunctionCall& call, const Field* locator)
    : text_(fromUnicode(call, call.begin()->codePages->dbConverter, dbClobText(call, locator))) {
  requireNoNul(call, text_.data(), text_.size());
}

}  // namespace orvxml::functions

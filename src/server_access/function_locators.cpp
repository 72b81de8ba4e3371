// Locators and document files on the side of user-defined functions. A locator or a file that is
// made here is complete or gone.
#include "orvxml/function_locators.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "orvxml/buffer.h"
#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "orvxml/utilities.h"
#include "src/files/file_handle.h"
#include "src/files/new_file.h"
#include "src/files/temporary_files.h"
#include "src/outcome/problem.h"
#include "src/server_access/locators.h"
#include "src/text/document_recoder.h"
#include "src/text/piece_reader.h"

namespace orvxml {
namespace {

constexpr size_t kDeclarationGrowth = 90;  // units: a mark and an encoding of any converter's name

using Block = std::unique_ptr<char, FreeMemory>;

Block allocate(size_t bytes) {
  return Block(static_cast<char*>(std::malloc(bytes)));
}

Problem locatorProblem(int rc) {
  return {Msg::QRKC004E, rc};
}

Problem lengthOf(const sqludf_locator* locator, int32_t& length) {
  const int rc = sqludf_length(locator, &length);
  return rc == 0 && length >= 0 ? Problem{} : locatorProblem(rc);
}

// All `count` bytes from position `start` (from 1), or it is a failure.
Problem readPiece(QrkStruct* ctx, const sqludf_locator* locator, int32_t start, int32_t count,
                  char* buffer) {
  int32_t returned = 0;
  const int rc =
      sqludf_substr(locator, start, count, reinterpret_cast<unsigned char*>(buffer), &returned);
  if (rc == 0 && returned == count) return {};
  QRK_TRACE(ctx, "call sqludf_substr() rc = %ld", static_cast<long>(rc));
  return locatorProblem(rc);
}

Problem appendPiece(sqludf_locator locator, std::string_view piece) {
  const auto length = static_cast<int32_t>(piece.size());
  int32_t appended = 0;
  const int rc = sqludf_append(&locator, reinterpret_cast<const unsigned char*>(piece.data()),
                               length, &appended);
  return rc == 0 && appended == length ? Problem{} : locatorProblem(rc);
}

// `take(offset, count)` for one piece after the other.
template <class Take>
Problem forEachPiece(QrkStruct* ctx, int32_t length, Take&& take) {
  for (int32_t offset = 0; offset < length;) {
    const int32_t count = std::min(length - offset, kFunctionPiece);
    QRK_TRACE(ctx, "readCount:%d", count);
    if (const Problem problem = take(offset, count)) return problem;
    QRK_TRACE(ctx, "count:%d", count);
    offset += count;
  }
  return {};
}

Problem intoBuffer(QrkStruct* ctx, const sqludf_locator* locator, char* buffer, int32_t length) {
  buffer[0] = 0;
  const Problem problem = forEachPiece(ctx, length, [&](int32_t offset, int32_t count) {
    return readPiece(ctx, locator, offset + 1, count, buffer + offset);
  });
  buffer[problem ? 0 : length] = 0;
  return problem;
}

Problem intoFile(QrkStruct* ctx, const sqludf_locator* locator, int32_t length, NewFile& file) {
  char piece[kFunctionPiece];
  std::optional<size_t> shortWrite;
  const Problem problem = forEachPiece(ctx, length, [&](int32_t offset, int32_t count) -> Problem {
    if (const Problem unread = readPiece(ctx, locator, offset + 1, count, piece)) return unread;
    const size_t written = file.write(piece, static_cast<size_t>(count));
    if (written == static_cast<size_t>(count)) return {};
    shortWrite = written;
    return {Msg::QRKC003E};
  });
  if (shortWrite) QRK_TRACE(ctx, "writeCount = %ld", static_cast<long>(*shortWrite));
  if (problem) return problem;
  return file.finish() ? Problem{} : Problem{Msg::QRKC003E};
}

// The whole CLOB, terminated, in a block with at least the room that `roomFor` its length asks for.
template <class RoomFor>
Problem readWhole(QrkStruct* ctx, const sqludf_locator* locator, RoomFor&& roomFor, Block& text,
                  int32_t& length) {
  if (const Problem problem = lengthOf(locator, length)) return problem;
  const auto least = static_cast<size_t>(length) + 1;
  text = allocate(std::max(least, static_cast<size_t>(roomFor(length))));
  if (!text) return {Msg::QRKG002E};
  if (const Problem problem = readPiece(ctx, locator, 1, length, text.get())) return problem;
  text.get()[length] = 0;
  return {};
}

// Bytes that a text of `length` bytes and `more` units takes in the application code page, within
// what a conversion can be told.
int32_t applicationRoom(const QrkCodePages& pages, int32_t length, size_t more, int8_t least) {
  const int8_t perUnit = std::max(ucnv_getMaxCharSize(pages.appConverter), least);
  const size_t room = static_cast<size_t>(perUnit) * (static_cast<size_t>(length) + 1 + more);
  return static_cast<int32_t>(std::min<size_t>(room, INT32_MAX));
}

bool isConverted(const QrkStruct* ctx) {
  return ctx->codePages->appCodePage != ctx->codePages->dbCodePage;
}

// A new CLOB locator, which is freed again unless somebody takes it.
class NewLocator {
 public:
  NewLocator() = default;
  ~NewLocator() {
    if (made_) sqludf_free_locator(made_);
  }
  NewLocator(const NewLocator&) = delete;
  NewLocator& operator=(const NewLocator&) = delete;
  int create() { return sqludf_create_locator(orv::kSqlClob, &made_); }
  sqludf_locator value() const { return *made_; }
  sqludf_locator take() { return *std::exchange(made_, nullptr); }

 private:
  sqludf_locator* made_ = nullptr;
};

// Every piece of the file, converted where the code pages differ, to the end of the locator.
Problem appendFile(QrkStruct* ctx, FILE* file, uint32_t size, sqludf_locator locator) {
  PieceReader reader(file);
  uint32_t consumed = 0;
  std::optional<DocumentRecoder> recoder;
  if (isConverted(ctx)) recoder.emplace(ctx);
  const auto append = [&](std::string_view piece) { return appendPiece(locator, piece); };
  while (consumed < size) {
    const std::string_view piece = reader.next();
    if (piece.empty() || piece.size() > size - consumed) return {Msg::QRKC002E};
    QRK_TRACE(ctx, "read line %d", static_cast<int>(piece.size()));
    const bool isFirst = consumed == 0;
    consumed += static_cast<uint32_t>(piece.size());
    const Problem problem = recoder ? recoder->recode(piece, consumed == size, append)
                                    : append(isFirst ? withoutMark(ctx->codePages, piece) : piece);
    if (problem) return problem;
  }
  // The file must be what its size told.
  return reader.next().empty() && !reader.hasFailed() ? Problem{} : Problem{Msg::QRKC002E};
}

Problem checkLength(QrkStruct* ctx, sqludf_locator locator) {
  int32_t length = 0;
  const int rc = sqludf_length(&locator, &length);
  QRK_TRACE(ctx, "call sqludf_length(), rc =%d lobLen=%d", rc, length);
  return rc == 0 ? Problem{} : locatorProblem(rc);
}

Problem fileIntoLocator(QrkStruct* ctx, const char* fileName, sqludf_locator* result) {
  uint32_t size = 0;
  if (qrk_getFileSize(ctx, fileName, &size) != 0 || !isfile(ctx, fileName)) {
    return {Msg::QRKC001E};
  }
  if (size > kMaxDocumentFile) return {Msg::QRKC006E};
  NewLocator locator;
  const int rc = locator.create();
  QRK_TRACE(ctx, "call saludf_create_locator(), rc =%d", rc);
  if (rc != 0) return locatorProblem(rc);
  const FileHandle file(xml_fopen(ctx, fileName, "rb"));
  if (!file) return {Msg::QRKC000E};
  if (const Problem problem = appendFile(ctx, file.get(), size, locator.value())) return problem;
  if (const Problem problem = checkLength(ctx, locator.value())) return problem;
  *result = locator.take();
  return {};
}

Problem bufferIntoLocator(const char* data, int32_t length, sqludf_locator* result) {
  NewLocator locator;
  if (const int rc = locator.create()) return locatorProblem(rc);
  if (data) {
    if (length < 0) return locatorProblem(-1);
    const std::string_view text(data, static_cast<size_t>(length));
    if (const Problem problem = appendPiece(locator.value(), text)) return problem;
  }
  *result = locator.take();
  return {};
}

Problem clobInMemory(QrkStruct* ctx, const sqludf_locator* locator, int32_t length, char** data) {
  Block buffer = allocate(static_cast<size_t>(length) + 1);
  if (!buffer) return {Msg::QRKG002E};
  QRK_TRACE(ctx, "calling qrklocator2buf");
  if (const Problem problem = intoBuffer(ctx, locator, buffer.get(), length)) return problem;
  QRK_TRACE(ctx, "Clob has been saved into buffer");
  *data = buffer.release();
  return {};
}

Problem clobInFile(QrkStruct* ctx, const sqludf_locator* locator, int32_t length, char** data) {
  bool nameless = false;
  const TemporaryFile made = createTemporaryFile(ctx, "wb+", nameless);
  if (!made.stream) return {nameless ? Msg::QRKG002E : Msg::QRKC000E};
  Block name(made.name);
  QRK_TRACE(ctx, "tmpfileFileName generated = %s", name.get());
  NewFile file(ctx);
  file.adopt(name.get(), made.stream);
  if (const Problem problem = intoFile(ctx, locator, length, file)) return problem;
  QRK_TRACE(ctx, "Clob has been saved into file %s", name.get());
  *data = name.release();
  return {};
}

int toFile(QrkStruct* ctx, const char* text, int32_t length, const char* fileName, char* sqlState,
           char* msg) {
  const int rc = qrk_buf2file(ctx, text, length, fileName, sqlState, msg);
  QRK_TRACE(ctx, "call qrk_buf2file() return rc=%d", rc);
  return rc;
}

}  // namespace

int qrk_locator2buf(QrkStruct* ctx, const sqludf_locator* locator, char* buffer, int32_t length,
                    char* sqlState, char* msg) {
  int32_t held = 0;
  Problem problem = lengthOf(locator, held);
  if (!problem && length < 0) problem = locatorProblem(-1);
  if (!problem) problem = intoBuffer(ctx, locator, buffer, length);
  return reported({.ctx = ctx, .msg = msg, .sqlState = sqlState}, problem);
}

int qrk_locator2file(QrkStruct* ctx, const sqludf_locator* locator, const char* fileName,
                     char* sqlState, int* msgIndex) {
  int32_t length = 0;
  Problem problem = lengthOf(locator, length);
  NewFile file(ctx);
  if (!problem && !file.create(fileName)) problem = {Msg::QRKC000E};
  if (!problem) problem = intoFile(ctx, locator, length, file);
  return indexed(ctx, problem, sqlState, msgIndex);
}

int qrk_conv_locator2file(QrkStruct* ctx, const sqludf_locator* locator, const char* fileName,
                          char* sqlState, char* msg) {
  const Report report{.ctx = ctx, .msg = msg, .sqlState = sqlState};
  return guarded(report, [&] {
    const bool converted = isConverted(ctx);
    const auto room = [&](int32_t length) {
      return converted ? applicationRoom(*ctx->codePages, length, 0, 2) : 0;
    };
    Block text;
    int32_t length = 0;
    if (const Problem problem = readWhole(ctx, locator, room, text, length)) {
      return reported(report, problem);
    }
    if (converted) {
      length =
          convertBufferORVToApp(ctx, text.get(), length, text.get(), room(length), msg, sqlState);
      if (length < 0) return -1;
    }
    return toFile(ctx, text.get(), length, fileName, sqlState, msg);
  });
}

namespace {

int declaredToFile(const Report& report, const sqludf_locator* locator, const char* fileName) {
  QrkStruct* const ctx = report.ctx;
  Block text;
  int32_t length = 0;
  const auto noMore = [](int32_t) { return 0; };
  if (const Problem problem = readWhole(ctx, locator, noMore, text, length)) {
    return reported(report, problem);
  }
  QRK_TRACE(ctx, "len =%d, orig buf %s", length, text.get());
  const int32_t room = applicationRoom(*ctx->codePages, length, kDeclarationGrowth, 3);
  const Block result = allocate(static_cast<size_t>(room));
  if (!result) return failed(report, Msg::QRKG002E);
  length = qrkConvBufferORVToAppEncoding(ctx, text.get(), length, result.get(), room, report.msg,
                                         report.sqlState);
  if (length < 0) return -1;
  return toFile(ctx, result.get(), length, fileName, report.sqlState, report.msg);
}

}  // namespace

int qrk_conv_locator2file_encoding(QrkStruct* ctx, const sqludf_locator* locator,
                                   const char* fileName, char* sqlState, char* msg) {
  const Report report{.ctx = ctx, .msg = msg, .sqlState = sqlState};
  return guarded(report, [&] { return declaredToFile(report, locator, fileName); });
}

int qrk_file2locator(QrkStruct* ctx, const char* fileName, sqludf_locator* locator, char* sqlState,
                     int* msgIndex) {
  *locator = 0;
  const Problem problem = attempt([&] { return fileIntoLocator(ctx, fileName, locator); });
  return indexed(ctx, problem, sqlState, msgIndex);
}

int qrkFileIntoLocator(QrkStruct* ctx, const char* fileName, sqludf_locator* locator,
                       char* sqlState, char* msg) {
  *locator = 0;
  return reported({.ctx = ctx, .msg = msg, .sqlState = sqlState},
                  attempt([&] { return fileIntoLocator(ctx, fileName, locator); }));
}

int qrk_buf2locator(QrkStruct* ctx, const char* data, int32_t length, sqludf_locator* locator,
                    char* sqlState, char* msg) {
  *locator = 0;
  return reported({.ctx = ctx, .msg = msg, .sqlState = sqlState},
                  bufferIntoLocator(data, length, locator));
}

int qrkGetDataFromClob(QrkStruct* ctx, const sqludf_locator* locator, char** data, int* inMemory,
                       char* sqlState, char* msg) {
  *data = nullptr;
  *inMemory = 1;
  int32_t length = 0;
  Problem problem = lengthOf(locator, length);
  QRK_TRACE(ctx, "call sqludf_length() return rc=%d, clob length=%ld", problem.detail,
            static_cast<long>(length));
  if (!problem) {
    *inMemory = length <= ctx->fileThreshold ? 1 : 0;
    problem = *inMemory ? clobInMemory(ctx, locator, length, data)
                        : clobInFile(ctx, locator, length, data);
  }
  return reported({.ctx = ctx, .msg = msg, .sqlState = sqlState}, problem);
}

}  // namespace orvxml

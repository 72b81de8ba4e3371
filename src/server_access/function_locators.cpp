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
#include "src/outcome/edge.h"
#include "src/server_access/locators.h"
#include "src/text/converters.h"
#include "src/text/document_recoder.h"
#include "src/text/piece_reader.h"

namespace orvxml {
namespace {

constexpr size_t kDeclarationGrowth = 90;  // units: a mark and an encoding of any converter's name

using Block = std::unique_ptr<char, FreeMemory>;

Block allocate(size_t bytes) {
  Block block(static_cast<char*>(std::malloc(bytes)));
  if (!block) throw Failure(Msg::QRKG002E);
  return block;
}

Failure locatorFailure(int rc) {
  return Failure(Msg::QRKC004E, rc);
}

int32_t lengthOf(const sqludf_locator* locator) {
  int32_t length = 0;
  const int rc = sqludf_length(locator, &length);
  if (rc != 0 || length < 0) throw locatorFailure(rc);
  return length;
}

// All `count` bytes from position `start` (from 1), or it is a failure.
void readPiece(QrkStruct* ctx, const sqludf_locator* locator, int32_t start, int32_t count,
               char* buffer) {
  int32_t returned = 0;
  const int rc =
      sqludf_substr(locator, start, count, reinterpret_cast<unsigned char*>(buffer), &returned);
  if (rc == 0 && returned == count) return;
  QRK_TRACE(ctx, "call sqludf_substr() rc = %ld", static_cast<long>(rc));
  throw locatorFailure(rc);
}

void appendPiece(sqludf_locator locator, std::string_view piece) {
  const auto length = static_cast<int32_t>(piece.size());
  int32_t appended = 0;
  const int rc = sqludf_append(&locator, reinterpret_cast<const unsigned char*>(piece.data()),
                               length, &appended);
  if (rc != 0 || appended != length) throw locatorFailure(rc);
}

// `take(offset, count)` for one piece after the other.
template <class Take>
void forEachPiece(QrkStruct* ctx, int32_t length, Take&& take) {
  for (int32_t offset = 0; offset < length;) {
    const int32_t count = std::min(length - offset, kFunctionPiece);
    QRK_TRACE(ctx, "readCount:%d", count);
    take(offset, count);
    QRK_TRACE(ctx, "count:%d", count);
    offset += count;
  }
}

// After a failure the buffer holds the empty text.
void intoBuffer(QrkStruct* ctx, const sqludf_locator* locator, char* buffer, int32_t length) {
  buffer[0] = 0;
  try {
    forEachPiece(ctx, length, [&](int32_t offset, int32_t count) {
      readPiece(ctx, locator, offset + 1, count, buffer + offset);
    });
  } catch (const Failure&) {
    buffer[0] = 0;
    throw;
  }
  buffer[length] = 0;
}

void writePiece(QrkStruct* ctx, std::string_view piece, NewFile& file) {
  const size_t written = file.write(piece.data(), piece.size());
  if (written == piece.size()) return;
  QRK_TRACE(ctx, "writeCount = %ld", static_cast<long>(written));
  throw Failure(Msg::QRKC003E);
}

void intoFile(QrkStruct* ctx, const sqludf_locator* locator, int32_t length, NewFile& file) {
  char piece[kFunctionPiece];
  forEachPiece(ctx, length, [&](int32_t offset, int32_t count) {
    readPiece(ctx, locator, offset + 1, count, piece);
    writePiece(ctx, {piece, static_cast<size_t>(count)}, file);
  });
  if (!file.finish()) throw Failure(Msg::QRKC003E);
}

struct WholeText {
  Block text;
  int32_t length = 0;
};

// The whole CLOB, terminated, in a block with at least the room that `roomFor` its length asks for.
template <class RoomFor>
WholeText readWhole(QrkStruct* ctx, const sqludf_locator* locator, RoomFor&& roomFor) {
  const int32_t length = lengthOf(locator);
  const auto least = static_cast<size_t>(length) + 1;
  Block text = allocate(std::max(least, static_cast<size_t>(roomFor(length))));
  readPiece(ctx, locator, 1, length, text.get());
  text.get()[length] = 0;
  return {std::move(text), length};
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
void appendFile(QrkStruct* ctx, FILE* file, uint32_t size, sqludf_locator locator) {
  PieceReader reader(file);
  uint32_t consumed = 0;
  std::optional<DocumentRecoder> recoder;
  if (isConverted(ctx)) recoder.emplace(ctx);
  const auto append = [&](std::string_view piece) { appendPiece(locator, piece); };
  while (consumed < size) {
    const std::string_view piece = reader.next();
    if (piece.empty() || piece.size() > size - consumed) throw Failure(Msg::QRKC002E);
    QRK_TRACE(ctx, "read line %d", static_cast<int>(piece.size()));
    const bool isFirst = consumed == 0;
    consumed += static_cast<uint32_t>(piece.size());
    if (recoder) {
      recoder->recode(piece, consumed == size, append);
    } else {
      append(isFirst ? withoutMark(ctx->codePages, piece) : piece);
    }
  }
  // The file must be what its size told.
  if (!reader.next().empty() || reader.hasFailed()) throw Failure(Msg::QRKC002E);
}

void checkLength(QrkStruct* ctx, sqludf_locator locator) {
  int32_t length = 0;
  const int rc = sqludf_length(&locator, &length);
  QRK_TRACE(ctx, "call sqludf_length(), rc =%d lobLen=%d", rc, length);
  if (rc != 0) throw locatorFailure(rc);
}

sqludf_locator fileIntoLocator(QrkStruct* ctx, const char* fileName) {
  uint32_t size = 0;
  if (qrk_getFileSize(ctx, fileName, &size) != 0 || !isfile(ctx, fileName)) {
    throw Failure(Msg::QRKC001E);
  }
  if (size > kMaxDocumentFile) throw Failure(Msg::QRKC006E);
  NewLocator locator;
  const int rc = locator.create();
  QRK_TRACE(ctx, "call saludf_create_locator(), rc =%d", rc);
  if (rc != 0) throw locatorFailure(rc);
  const FileHandle file(xml_fopen(ctx, fileName, "rb"));
  if (!file) throw Failure(Msg::QRKC000E);
  appendFile(ctx, file.get(), size, locator.value());
  checkLength(ctx, locator.value());
  return locator.take();
}

sqludf_locator bufferIntoLocator(const char* data, int32_t length) {
  NewLocator locator;
  if (const int rc = locator.create()) throw locatorFailure(rc);
  if (data) {
    if (length < 0) throw locatorFailure(-1);
    appendPiece(locator.value(), {data, static_cast<size_t>(length)});
  }
  return locator.take();
}

char* clobInMemory(QrkStruct* ctx, const sqludf_locator* locator, int32_t length) {
  Block buffer = allocate(static_cast<size_t>(length) + 1);
  QRK_TRACE(ctx, "calling qrklocator2buf");
  intoBuffer(ctx, locator, buffer.get(), length);
  QRK_TRACE(ctx, "Clob has been saved into buffer");
  return buffer.release();
}

char* clobInFile(QrkStruct* ctx, const sqludf_locator* locator, int32_t length) {
  bool nameless = false;
  const TemporaryFile made = createTemporaryFile(ctx, "wb+", nameless);
  if (!made.stream) throw Failure(nameless ? Msg::QRKG002E : Msg::QRKC000E);
  Block name(made.name);
  QRK_TRACE(ctx, "tmpfileFileName generated = %s", name.get());
  NewFile file(ctx);
  file.adopt(name.get(), made.stream);
  intoFile(ctx, locator, length, file);
  QRK_TRACE(ctx, "Clob has been saved into file %s", name.get());
  return name.release();
}

void toFile(QrkStruct* ctx, std::string_view text, const char* fileName) {
  try {
    writeNewFile(ctx, fileName, text);
  } catch (const Failure&) {
    QRK_TRACE(ctx, "call qrk_buf2file() return rc=%d", -1);
    throw;
  }
  QRK_TRACE(ctx, "call qrk_buf2file() return rc=%d", 0);
}

void convertedToFile(QrkStruct* ctx, const sqludf_locator* locator, const char* fileName) {
  const auto room = [&](int32_t length) {
    return isConverted(ctx) ? applicationRoom(*ctx->codePages, length, 0, 2) : 0;
  };
  const WholeText whole = readWhole(ctx, locator, room);
  int32_t length = whole.length;
  if (isConverted(ctx)) {
    const std::string_view text(whole.text.get(), static_cast<size_t>(length));
    length = toApplication(ctx, text, whole.text.get(), room(length));
  }
  toFile(ctx, {whole.text.get(), static_cast<size_t>(length)}, fileName);
}

void declaredToFile(QrkStruct* ctx, const sqludf_locator* locator, const char* fileName) {
  const WholeText whole = readWhole(ctx, locator, [](int32_t) { return 0; });
  QRK_TRACE(ctx, "len =%d, orig buf %s", whole.length, whole.text.get());
  const int32_t room = applicationRoom(*ctx->codePages, whole.length, kDeclarationGrowth, 3);
  const Block result = allocate(static_cast<size_t>(room));
  const std::string_view text(whole.text.get(), static_cast<size_t>(whole.length));
  const int length = toApplicationEncoding(ctx, text, result.get(), room);
  toFile(ctx, {result.get(), static_cast<size_t>(length)}, fileName);
}

// Where the signature gives the message's index in place of its text.
template <class Work>
int indexAtEdge(QrkStruct* ctx, char* sqlState, int* msgIndex, Work&& work) {
  return statusAtEdge({.ctx = ctx, .sqlState = sqlState}, [&] {
    try {
      work();
    } catch (const Failure& failure) {
      *msgIndex = static_cast<int>(failure.message());
      throw;
    } catch (const std::bad_alloc&) {
      *msgIndex = static_cast<int>(Msg::QRKG002E);
      throw;
    }
  });
}

}  // namespace

int qrk_locator2buf(QrkStruct* ctx, const sqludf_locator* locator, char* buffer, int32_t length,
                    char* sqlState, char* msg) {
  return statusAtEdge({.ctx = ctx, .msg = msg, .sqlState = sqlState}, [&] {
    lengthOf(locator);
    if (length < 0) throw locatorFailure(-1);
    intoBuffer(ctx, locator, buffer, length);
  });
}

int qrk_locator2file(QrkStruct* ctx, const sqludf_locator* locator, const char* fileName,
                     char* sqlState, int* msgIndex) {
  return indexAtEdge(ctx, sqlState, msgIndex, [&] {
    const int32_t length = lengthOf(locator);
    NewFile file(ctx);
    if (!file.create(fileName)) throw Failure(Msg::QRKC000E);
    intoFile(ctx, locator, length, file);
  });
}

int qrk_conv_locator2file(QrkStruct* ctx, const sqludf_locator* locator, const char* fileName,
                          char* sqlState, char* msg) {
  return statusAtEdge({.ctx = ctx, .msg = msg, .sqlState = sqlState},
                      [&] { convertedToFile(ctx, locator, fileName); });
}

int qrk_conv_locator2file_encoding(QrkStruct* ctx, const sqludf_locator* locator,
                                   const char* fileName, char* sqlState, char* msg) {
  return statusAtEdge({.ctx = ctx, .msg = msg, .sqlState = sqlState},
                      [&] { declaredToFile(ctx, locator, fileName); });
}

int qrk_file2locator(QrkStruct* ctx, const char* fileName, sqludf_locator* locator, char* sqlState,
                     int* msgIndex) {
  *locator = 0;
  return indexAtEdge(ctx, sqlState, msgIndex, [&] { *locator = fileIntoLocator(ctx, fileName); });
}

int qrkFileIntoLocator(QrkStruct* ctx, const char* fileName, sqludf_locator* locator,
                       char* sqlState, char* msg) {
  *locator = 0;
  return statusAtEdge({.ctx = ctx, .msg = msg, .sqlState = sqlState},
                      [&] { *locator = fileIntoLocator(ctx, fileName); });
}

int qrk_buf2locator(QrkStruct* ctx, const char* data, int32_t length, sqludf_locator* locator,
                    char* sqlState, char* msg) {
  *locator = 0;
  return statusAtEdge({.ctx = ctx, .msg = msg, .sqlState = sqlState},
                      [&] { *locator = bufferIntoLocator(data, length); });
}

int qrkGetDataFromClob(QrkStruct* ctx, const sqludf_locator* locator, char** data, int* inMemory,
                       char* sqlState, char* msg) {
  *data = nullptr;
  *inMemory = 1;
  int32_t length = 0;
  const int rc = sqludf_length(locator, &length);
  QRK_TRACE(ctx, "call sqludf_length() return rc=%d, clob length=%ld", rc,
            static_cast<long>(length));
  return statusAtEdge({.ctx = ctx, .msg = msg, .sqlState = sqlState}, [&] {
    if (rc != 0 || length < 0) throw locatorFailure(rc);
    *inMemory = length <= ctx->fileThreshold ? 1 : 0;
    *data = *inMemory ? clobInMemory(ctx, locator, length) : clobInFile(ctx, locator, length);
  });
}

}  // namespace orvxml

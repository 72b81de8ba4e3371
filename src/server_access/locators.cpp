// Locators and document files on the stored-procedure side: the server evaluates lengths,
// substrings and file exports of a locator, and reads documents from files itself.
#include "src/server_access/locators.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "orvxml/trace.h"
#include "src/files/file_handle.h"
#include "src/outcome/failure.h"
#include "src/server_access/server_statements.h"

namespace orvxml {
namespace {

constexpr int16_t kNullableClob = orv::kSqlClob + 1;

using orv::esql::clobFileVariable;
using orv::esql::clobLocatorVariable;
using orv::esql::HostVariable;
using orv::esql::integerVariable;

// One nullable CLOB that is fetched straight into a buffer of the caller's: a descriptor entry and
// its secondary entry.
class ClobDescriptor {
 public:
  ClobDescriptor(char* data, int32_t capacity) {
    sqlda* const area = descriptor();
    std::memcpy(area->sqldaid, "SQLDA 2 ", sizeof area->sqldaid);
    area->sqldabc = sizeof storage_;
    area->sqln = 2;
    area->sqld = 1;
    area->sqlvar[0].sqltype = kNullableClob;
    area->sqlvar[0].sqldata = data;
    area->sqlvar[0].sqlind = &indicator_;
    sqlvar_secondary* const secondary = orv::secondaryEntry(area, 0);
    secondary->sqllonglen = capacity;
    secondary->sqldatalen = &length_;
  }
  sqlda* descriptor() { return reinterpret_cast<sqlda*>(storage_); }
  int32_t length() const { return indicator_ < 0 ? 0 : length_; }

 private:
  alignas(sqlda) char storage_[offsetof(sqlda, sqlvar) + 2 * sizeof(sqlvar)] = {};
  int32_t length_ = 0;
  int16_t indicator_ = 0;
};

// A step of reading a piece of a locator failed.
Failure pieceFailure(QrkStruct* ctx, const sqlca& area, const char* step,
                     SourcePlace where = SourcePlace::here()) {
  QRK_TRACE(ctx, "%s", step);
  return Failure::ofServerInternal(area, nullptr, where);
}

}  // namespace

void qrkGetDataFromLocator(QrkStruct* ctx, int32_t locator, QrkOutbuf* buf) {
  const int32_t length = qrkGetLocatorLength(ctx, locator);
  QRK_TRACE(ctx, "Document Length = %d", length);
  try {
    qrkBufAcquire(ctx, buf, static_cast<uint32_t>(length),
                  static_cast<uint32_t>(ctx->fileThreshold), QRK_LOC_MEMORY, true);
  } catch (const Failure&) {
    QRK_TRACE(ctx, "Error in bufAcquire");
    throw;
  }
  if (buf->loctype == QRK_LOC_MEMORY) {
    qrkLocatorToBuf(ctx, locator, length, buf->data, 1);
  } else {
    // The server writes the file: nothing of ours may be left to write.
    std::fclose(buf->fp);
    buf->fp = nullptr;
    qrkLocatorToFile(ctx, locator, buf->data);
  }
  buf->size = static_cast<uint32_t>(length);
}

int32_t qrkGetLocatorLength(QrkStruct* ctx, int32_t locator) {
  int32_t length = 0;
  const sqlca area = runSection(section::kLocatorLength, {clobLocatorVariable(&locator)},
                                {integerVariable(&length)});
  if (area.sqlcode == 0 && length >= 0) return length;
  QRK_TRACE(ctx, "Locator length error");
  throw Failure::ofServerInternal(area);
}

void qrkLocatorToBuf(QrkStruct* ctx, int32_t locator, int32_t length, char* buffer, int32_t start) {
  buffer[0] = 0;
  if (length == 0) return;
  if (length < 0 || start < 1) throw Failure::internal();
  sqlca area{};
  orv::esql::Cursor cursor(kQrksuwo, section::kLocatorPiece);
  const HostVariable input[] = {clobLocatorVariable(&locator), integerVariable(&start),
                                integerVariable(&length)};
  cursor.open(input, area);
  if (area.sqlcode < 0) throw pieceFailure(ctx, area, "Cursor open error");
  ClobDescriptor piece(buffer, length);
  cursor.fetch(piece.descriptor(), area);
  if (area.sqlcode != 0 || piece.length() != length) {
    throw pieceFailure(ctx, area, "Fetch error");
  }
  cursor.close(area);
  if (area.sqlcode < 0) throw pieceFailure(ctx, area, "Cursor close error");
  buffer[length] = 0;
  QRK_TRACE(ctx, "Document Retrieval Success");
}

void qrkLocatorToFile(QrkStruct* ctx, int32_t locator, const char* fileName) {
  orv::SqlFileReference file = referToFile(fileName, orv::kFileOverwrite, 0);
  const sqlca area = runSection(section::kLocatorValue, {clobLocatorVariable(&locator)},
                                {clobFileVariable(&file)});
  if (area.sqlcode == 0) return;
  QRK_TRACE(ctx, "Locator to File write error");
  throw Failure::ofServerInternal(area);
}

void qrkGetChunkFromLocator(QrkStruct* ctx, int32_t locator, int32_t start, int32_t total,
                            char* buffer) {
  const int32_t rest = start > total ? 0 : total - start + 1;
  qrkLocatorToBuf(ctx, locator, std::min(rest, kLocatorChunk), buffer, start);
}

void qrkInsertDocFromFile(QrkStruct* ctx, const char* insertStmt, const char* fileName,
                          int32_t size, std::optional<int32_t> validResult,
                          const char* resultTable) {
  orv::SqlFileReference file = referToFile(fileName, orv::kFileRead, static_cast<uint32_t>(size));
  sqlca area{};
  orv::esql::Statement statement(kQrksuwo);
  statement.prepare(insertStmt, area);
  if (area.sqlcode < 0) {
    QRK_TRACE(ctx, "PREPARE insert_stmt failed. '%s'", insertStmt);
    throw Failure::ofServerInternal(area);
  }
  int32_t valid = validResult.value_or(0);
  const HostVariable input[] = {clobFileVariable(&file), integerVariable(&valid)};
  statement.execute(orv::esql::Variables(input, validResult ? 2 : 1), area);
  if (isValueTooLong(area)) throw Failure(Msg::QRKQ017E, resultTable);
  if (area.sqlcode == 0) return;
  QRK_TRACE(ctx, "insert_stmt failed sqlcode %d. insert_stmt='%s'", area.sqlcode, insertStmt);
  throw Failure::ofServerInternal(area);
}

uint32_t qrk_file2lob(QrkStruct* ctx, const char* fileName, char* lobData, uint32_t lobCapacity) {
  uint32_t size = 0;
  if (qrk_getFileSize(ctx, fileName, &size) != 0 || !isfile(ctx, fileName)) {
    throw Failure(Msg::QRKC001E);
  }
  if (size > kMaxDocumentFile) throw Failure(Msg::QRKC006E);
  if (size > lobCapacity) throw Failure(Msg::QRKC013E);
  const FileHandle file(xml_fopen(ctx, fileName, "r"));
  if (!file) throw Failure(Msg::QRKC000E);
  const auto read = static_cast<uint32_t>(std::fread(lobData, 1, lobCapacity, file.get()));
  // The file may have grown since its size was taken.
  const bool isLonger = read == lobCapacity && std::fgetc(file.get()) != EOF;
  if (std::ferror(file.get())) throw Failure(Msg::QRKC002E);
  if (isLonger) throw Failure(Msg::QRKC013E);
  QRK_TRACE(ctx, "actuall length read from file: %d", static_cast<int>(read));
  return read;
}

void daix_to_dpc(QrkStruct*, char* path) {
  std::replace(path, path + std::strlen(path), '/', '\\');
}

int qrkIsWorkstation() {
  return 1;
}

}  // namespace orvxml

// Locators and document files on the stored-procedure side: the server evaluates lengths,
// substrings and file exports of a locator, and reads documents from files itself.
#include "src/server_access/locators.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "orvxml/trace.h"
#include "src/files/file_handle.h"
#include "src/outcome/problem.h"
#include "src/server_access/server_statements.h"

namespace orvxml {
namespace {

constexpr const char* kModule = kServerStatementsModule;
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
int failPiece(const Report& report, const sqlca& area, const char* step, int line) {
  QRK_TRACE(report.ctx, "%s", step);
  failDbInternal(report, area, kModule, line);
  return -1;
}

int contentIntoBuffer(QrkStruct* ctx, int32_t locator, uint32_t length, QrkOutbuf* buf, char* msg) {
  int code = 0;
  if (buf->loctype == QRK_LOC_MEMORY) {
    if (qrkLocatorToBuf(ctx, locator, static_cast<int32_t>(length), buf->data, &code, msg, 1)) {
      return code;
    }
  } else {
    // The server writes the file: nothing of ours may be left to write.
    std::fclose(buf->fp);
    buf->fp = nullptr;
    if (qrkLocatorToFile(ctx, locator, buf->data, &code, msg)) return code;
  }
  buf->size = length;
  return 0;
}

// The whole stream into `data`; the bytes read into `length`.
Problem readFile(FILE* file, char* data, uint32_t capacity, uint32_t& length) {
  const auto read = static_cast<uint32_t>(std::fread(data, 1, capacity, file));
  // The file may have grown since its size was taken.
  const bool isLonger = read == capacity && std::fgetc(file) != EOF;
  if (std::ferror(file)) return {Msg::QRKC002E};
  if (isLonger) return {Msg::QRKC013E};
  length = read;
  return {};
}

Problem fileIntoLob(QrkStruct* ctx, const char* fileName, char* data, uint32_t capacity,
                    uint32_t& length) {
  uint32_t size = 0;
  if (qrk_getFileSize(ctx, fileName, &size) != 0 || !isfile(ctx, fileName)) {
    return {Msg::QRKC001E};
  }
  if (size > kMaxDocumentFile) return {Msg::QRKC006E};
  if (size > capacity) return {Msg::QRKC013E};
  const FileHandle file(xml_fopen(ctx, fileName, "r"));
  if (!file) return {Msg::QRKC000E};
  if (const Problem problem = readFile(file.get(), data, capacity, length)) return problem;
  QRK_TRACE(ctx, "actuall length read from file: %d", static_cast<int>(length));
  return {};
}

}  // namespace

int qrkGetDataFromLocator(QrkStruct* ctx, int32_t locator, QrkOutbuf* buf, char* msg) {
  int code = 0;
  int32_t length = 0;
  if (qrkGetLocatorLength(ctx, locator, &length, &code, msg)) return code;
  QRK_TRACE(ctx, "Document Length = %d", length);
  const auto size = static_cast<uint32_t>(length);
  if (qrkBufAcquire(ctx, buf, size, static_cast<uint32_t>(ctx->fileThreshold), QRK_LOC_MEMORY,
                    &code, msg, 1)) {
    QRK_TRACE(ctx, "Error in bufAcquire");
    return code;
  }
  return contentIntoBuffer(ctx, locator, size, buf, msg);
}

int qrkGetDadFileFromLocator(QrkStruct* ctx, int32_t locator, QrkOutbuf* buf, char* msg) {
  return qrkGetDataFromLocator(ctx, locator, buf, msg) ? -1 : 0;
}

int qrkGetLocatorLength(QrkStruct* ctx, int32_t locator, int32_t* length, int* errCode, char* msg) {
  *length = 0;
  const sqlca area = runSection(section::kLocatorLength, {clobLocatorVariable(&locator)},
                                {integerVariable(length)});
  if (area.sqlcode == 0 && *length >= 0) return 0;
  QRK_TRACE(ctx, "Locator length error");
  failDbInternal(Report{ctx, msg, errCode}, area, kModule, __LINE__);
  return -1;
}

int qrkLocatorToBuf(QrkStruct* ctx, int32_t locator, int32_t length, char* buffer, int* errCode,
                    char* msg, int32_t start) {
  const Report report{ctx, msg, errCode};
  buffer[0] = 0;
  if (length == 0) return 0;
  if (length < 0 || start < 1) {
    failInternal(report, kModule, __LINE__);
    return -1;
  }
  sqlca area{};
  orv::esql::Cursor cursor(kQrksuwo, section::kLocatorPiece);
  const HostVariable input[] = {clobLocatorVariable(&locator), integerVariable(&start),
                                integerVariable(&length)};
  cursor.open(input, area);
  if (area.sqlcode < 0) return failPiece(report, area, "Cursor open error", __LINE__);
  ClobDescriptor piece(buffer, length);
  cursor.fetch(piece.descriptor(), area);
  if (area.sqlcode != 0 || piece.length() != length) {
    return failPiece(report, area, "Fetch error", __LINE__);
  }
  cursor.close(area);
  if (area.sqlcode < 0) return failPiece(report, area, "Cursor close error", __LINE__);
  buffer[length] = 0;
  QRK_TRACE(ctx, "Document Retrieval Success");
  return 0;
}

int qrkLocatorToFile(QrkStruct* ctx, int32_t locator, const char* fileName, int* errCode,
                     char* msg) {
  const Report report{ctx, msg, errCode};
  orv::SqlFileReference file;
  if (referToFile(report, fileName, orv::kFileOverwrite, 0, &file)) return -1;
  const sqlca area = runSection(section::kLocatorValue, {clobLocatorVariable(&locator)},
                                {clobFileVariable(&file)});
  if (area.sqlcode == 0) return 0;
  QRK_TRACE(ctx, "Locator to File write error");
  failDbInternal(report, area, kModule, __LINE__);
  return -1;
}

int qrkGetChunkFromLocator(QrkStruct* ctx, int32_t locator, int32_t start, int32_t total,
                           char* buffer, int* errCode, char* msg) {
  const int32_t rest = start > total ? 0 : total - start + 1;
  return qrkLocatorToBuf(ctx, locator, std::min(rest, kLocatorChunk), buffer, errCode, msg, start);
}

int qrkInsertDocFromFile(QrkStruct* ctx, const char* insertStmt, const char* fileName, int32_t size,
                         int32_t validResult, int validate, const char* resultTable, int* errCode,
                         char* msg) {
  const Report report{ctx, msg, errCode};
  orv::SqlFileReference file;
  if (int rc = referToFile(report, fileName, orv::kFileRead, static_cast<uint32_t>(size), &file)) {
    return rc;
  }
  sqlca area{};
  orv::esql::Statement statement(kQrksuwo);
  statement.prepare(insertStmt, area);
  if (area.sqlcode < 0) {
    QRK_TRACE(ctx, "PREPARE insert_stmt failed. '%s'", insertStmt);
    return failDbInternal(report, area, kModule, __LINE__);
  }
  const HostVariable input[] = {clobFileVariable(&file), integerVariable(&validResult)};
  statement.execute(orv::esql::Variables(input, validate == 1 ? 2 : 1), area);
  if (isValueTooLong(area)) return fail(report, Msg::QRKQ017E, resultTable);
  if (area.sqlcode == 0) return 0;
  QRK_TRACE(ctx, "insert_stmt failed sqlcode %d. insert_stmt='%s'", area.sqlcode, insertStmt);
  return failDbInternal(report, area, kModule, __LINE__);
}

int qrk_file2lob(QrkStruct* ctx, const char* fileName, char* lobData, uint32_t lobCapacity,
                 uint32_t* lobLength, char* sqlState, int* msgIndex) {
  *lobLength = 0;
  const Problem problem = fileIntoLob(ctx, fileName, lobData, lobCapacity, *lobLength);
  return indexed(ctx, problem, sqlState, msgIndex);
}

void daix_to_dpc(QrkStruct*, char* path) {
  std::replace(path, path + std::strlen(path), '/', '\\');
}

int qrkIsWorkstation() {
  return 1;
}

}  // namespace orvxml

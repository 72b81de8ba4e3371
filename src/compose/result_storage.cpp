// Where composed documents end: a row of the result table or the caller's CLOB, validated when the
// mapping asks for it.
#include "src/compose/result_storage.h"

#include <cstring>
#include <limits>

#include "orvxml/catalog_queries.h"
#include "orvxml/locators.h"
#include "orvxml/packages.h"
#include "orvxml/sql_scanner.h"
#include "orvxml/trace.h"
#include "orvxml/validation.h"
#include "src/compose/sql_statement.h"

namespace orvxml {

const orv::esql::Module kQrkcomp = {"QRKCOMP", "QCP00001", {}};

namespace {

constexpr char kModule[] = "qrkcomp";
constexpr uint32_t kMaxTextParameter = std::numeric_limits<int16_t>::max();  // with terminator
constexpr std::string_view kValueTooLong = "22001";
constexpr std::string_view kOutOfMemory = "38X10";
constexpr std::string_view kUnreadable = "38X00";

// ---- Validation.
int validateByDtd(const Report& report, char* document, int32_t loctype, const char* dtdid,
                  char* sqlState) {
  QrkStruct* const ctx = report.ctx;
  OutBuffer dtd(ctx);
  bool isUnknown = false;
  const int rc = qrkGetDtdFileFromDtdId(ctx, dtd.get(), dtdid, report.msg, &isUnknown);
  if (rc < 0 && !isUnknown) {
    failInternal(report, kModule, __LINE__);
    return 0;
  }
  char* const text = rc == 0 ? qrkBufGetContent(ctx, dtd.get()) : nullptr;
  const int valid = qrkValidate(ctx, document, loctype, 1, text, 1, const_cast<char*>(dtdid),
                                sqlState, report.msg, dtd->loctype);
  QRK_TRACE(ctx, "return rc:%d", valid);
  return valid;
}

int validateBySchema(const Report& report, char* document, int32_t loctype, const void* location,
                     char* sqlState) {
  auto* const schema = static_cast<char16_t*>(const_cast<void*>(location));
  return qrkValidateSchema(report.ctx, document, loctype, 1, schema, sqlState, report.msg);
}

// The result is for the caller, the validator's words about an invalid document are not. 0, or -1
// when the document could not be judged.
int judge(const Report& report, const Delivery& to, QrkOutbuf* document, int32_t& valid) {
  char words[kMessageSize] = "";
  int code = 0;
  valid = qrkValidateXML(report.ctx, document, to.validSource, &code, words, to.hdbc);
  if (code >= 0) return 0;
  std::strcpy(report.msg, words);
  *report.errCode = code;
  return -1;
}

// ---- The CLOB output.
int fileToClob(const Report& report, const Delivery& to, const char* path) {
  QRK_TRACE(report.ctx, "Getting XML doc from file = %s.", path);
  char sqlState[kSqlStateSize] = "00000";
  uint32_t length = 0;
  int message = 0;
  const int rc = qrk_file2lob(report.ctx, path, to.clobOut, static_cast<uint32_t>(to.clobCapacity),
                              &length, sqlState, &message);
  return rc == 0 ? 0 : failed(report, static_cast<Msg>(message));
}

int fillClob(const Report& report, const Delivery& to, QrkOutbuf* document) {
  const char* const content = qrkBufGetContent(report.ctx, document);
  if (!content) return failed(report, Msg::QRKQ002E);
  const uint32_t size = qrkBufGetSize(report.ctx, document);
  if (size > to.sizeLimit()) {
    return failed(report, Msg::QRKG017E, "resultDoc", buildStamp(), kModule, __LINE__);
  }
  if (document->loctype == QRK_LOC_MEMORY) {
    std::memcpy(to.clobOut, content, size);
  } else if (fileToClob(report, to, content)) {
    return -1;
  }
  int32_t valid = -1;
  if (to.validate && size > 0 && judge(report, to, document, valid)) return -1;
  *to.clobLen = static_cast<int32_t>(size);
  *to.valid = valid;
  return 0;
}

// ---- The result table.
int insertMemory(const Report& report, const Delivery& to, ResultWriter& writer,
                 QrkOutbuf* document, int32_t valid) {
  if (document->size >= kMaxTextParameter) {
    return failed(report, Msg::QRKG001E, "sqllen is negative", kModule, __LINE__);
  }
  sqlca area{};
  writer.insert(to, document->data, static_cast<int32_t>(document->size), valid, area);
  if (std::string_view(area.sqlstate, sizeof area.sqlstate) == kValueTooLong) {
    return failed(report, Msg::QRKQ017E, to.resultTable);
  }
  if (area.sqlcode == 0) return 0;
  QRK_TRACE(report.ctx, "insert_stmt failed. insert_stmt='%s'", writer.insertText(to).c_str());
  failDbInternal(report, area, kModule, __LINE__);
  return -1;
}

// The messages of its failures are those of qrkInsertDocFromFile.
int insertFile(const Report& report, const Delivery& to, ResultWriter& writer, QrkOutbuf* document,
               int32_t valid) {
  const int rc =
      qrkInsertDocFromFile(report.ctx, writer.insertText(to).c_str(), document->data,
                           static_cast<int32_t>(document->size), valid, to.validate ? 1 : 0,
                           to.resultTable, report.errCode, report.msg);
  if (rc == 0) return 0;
  QRK_TRACE(report.ctx, "qrkInsertDocFromFile (%s) failed w/ rc=%d", document->data, rc);
  return -1;
}

int insertDocument(const Report& report, const Delivery& to, ResultWriter& writer,
                   QrkOutbuf* document) {
  if (!qrkBufGetContent(report.ctx, document)) return failed(report, Msg::QRKQ002E);
  int32_t valid = -1;
  if (to.validate && judge(report, to, document, valid)) return -1;
  QRK_TRACE(report.ctx, "insert_stmt = %s", writer.insertText(to).c_str());
  const bool inMemory = document->loctype == QRK_LOC_MEMORY;
  return (inMemory ? insertMemory : insertFile)(report, to, writer, document, valid);
}

int release(const Report& report, QrkOutbuf* document, int rc) {
  const int released = qrkBufRelease(report.ctx, document);
  if (released == 0) return rc;
  QRK_TRACE(report.ctx, "Cannot remove file '%s', rc=%d", document->data ? document->data : "",
            released);
  failInternal(report, kModule, __LINE__);
  return -1;
}

const char* textOrEmpty(const char* text) {
  return text ? text : "";
}

}  // namespace

const std::string& ResultWriter::insertText(const Delivery& to) {
  if (!text_.empty()) return text_;
  const std::string column = delimitedName(textOrEmpty(to.resultColumn));
  text_ = std::string("INSERT INTO ") + to.resultTable + " (" + column;
  text_ += to.validate ? ", " + delimitedName(textOrEmpty(to.validColumn)) + ") VALUES (?, ?)"
                       : ") VALUES (?)";
  return text_;
}

void ResultWriter::insert(const Delivery& to, char* document, int32_t length, int32_t valid,
                          sqlca& area) {
  if (!statement_) {
    statement_.emplace(kQrkcomp);
    statement_->prepare(insertText(to), area);
    if (area.sqlcode < 0) return statement_.reset();
  }
  const orv::esql::HostVariable input[] = {orv::esql::stringVariable(document, length + 1),
                                           orv::esql::integerVariable(&valid)};
  statement_->execute(orv::esql::Variables(input, to.validate ? 2 : 1), area);
}

int firstResultColumn(QrkStruct* ctx, const Delivery& to, char* column, int* errCode, char* msg) {
  const Report report{ctx, msg, errCode};
  CliStatement query(report, kModule);
  if (int rc = query.allocate(to.hdbc)) return rc;
  SQLRETURN rc = query.prepare(std::string("SELECT * FROM ") + to.resultTable);
  SQLSMALLINT length = 0, type = 0, digits = 0, nullable = 0;
  SQLUINTEGER size = 0;
  if (rc >= 0) {
    rc = SQLDescribeCol(query.handle(), 1, reinterpret_cast<SQLCHAR*>(column), kColumnSize, &length,
                        &type, &size, &digits, &nullable);
  }
  return rc < 0 ? failed(report, Msg::QRKA016E, to.resultTabname) : 0;
}

int qrkValidateXML(QrkStruct* ctx, QrkOutbuf* docBuf, const ValidationSource* source, int* errCode,
                   char* msg, SQLHDBC) {
  const Report report{ctx, msg, errCode};
  char* const document = qrkBufGetContent(ctx, docBuf);
  if (!document) {
    fail(report, Msg::QRKQ002E);
    return 0;
  }
  char sqlState[kSqlStateSize] = "00000";
  const int valid =
      source->kind == kValidateBySchema
          ? validateBySchema(report, document, docBuf->loctype, source->text, sqlState)
          : validateByDtd(report, document, docBuf->loctype, static_cast<const char*>(source->text),
                          sqlState);
  // No judgement on the document.
  if (sqlState == kOutOfMemory) fail(report, Msg::QRKG002E);
  if (sqlState == kUnreadable) fail(report, Msg::QRKC000E);
  return valid;
}

int qrkInsertResult(QrkStruct* ctx, QrkOutbuf* buf, const Delivery& to, int* errCode, char* msg) {
  const Report report{ctx, msg, errCode};
  ResultWriter single;
  const int rc = insertDocument(report, to, to.writer ? *to.writer : single, buf);
  return release(report, buf, rc);
}

int deliverDocument(QrkStruct* ctx, const Delivery& to, QrkOutbuf* document, int* errCode,
                    char* msg) {
  if (to.toTable()) return qrkInsertResult(ctx, document, to, errCode, msg);
  const Report report{ctx, msg, errCode};
  return release(report, document, fillClob(report, to, document));
}

}  // namespace orvxml

// Where composed documents end: a row of the result table or the caller's CLOB, validated when the
// mapping asks for it.
#include "src/compose/result_storage.h"

#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>

#include "orvxml/code_pages.h"
#include "orvxml/packages.h"
#include "orvxml/trace.h"
#include "orvxml/validation.h"
#include "src/compose/modules.h"
#include "src/compose/sql_statement.h"
#include "src/dad/mapping_notices.h"
#include "src/files/file_handle.h"
#include "src/outcome/failure.h"
#include "src/server_access/catalog_queries.h"
#include "src/server_access/locators.h"
#include "src/server_access/server_statements.h"
#include "src/text/piecewise_decoder.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

const orv::esql::Module kQrkcomp = {"QRKCOMP", "QCP00001", {}};

namespace {

constexpr uint32_t kMaxTextParameter = std::numeric_limits<int16_t>::max();  // with terminator
constexpr size_t kHandoverPart = 131072;  // bytes of a file that are handed on at once
constexpr Msg kUnjudged[] = {Msg::QRKC001E, Msg::QRKC000E, Msg::QRKG002E};

// ---- Validation.
int judgeByDtd(const Report& report, char* document, int32_t loctype, const char* dtdid) {
  QrkStruct* const ctx = report.ctx;
  OutBuffer dtd(ctx);
  bool isUnknown = false;
  const int rc = qrkGetDtdFileFromDtdId(ctx, dtd.get(), dtdid, report.msg, &isUnknown);
  if (rc < 0 && !isUnknown) {
    failInternal(report, kComposeModule, __LINE__);
    return kNotJudged;
  }
  char* const text = rc == 0 ? qrkBufGetContent(ctx, dtd.get()) : nullptr;
  const int verdict = qrkJudge(ctx, document, loctype, 1, text, 1, const_cast<char*>(dtdid),
                               report.sqlState, report.msg, dtd->loctype);
  QRK_TRACE(ctx, "return rc:%d", verdict);
  return verdict;
}

int judgeBySchema(const Report& report, char* document, int32_t loctype, const void* location) {
  auto* const schema = static_cast<char16_t*>(const_cast<void*>(location));
  return qrkJudgeBySchema(report.ctx, document, loctype, 1, schema, report.sqlState, report.msg);
}

// What keeps a document from being judged is a failure, with the code of its own message.
void reportUnjudged(const Report& report, std::string_view sqlState) {
  for (const Msg message : kUnjudged) {
    if (sqlState == sqlStateOf(message)) {
      fail(report, message);
      return;
    }
  }
  failInternal(report, kComposeModule, __LINE__);
}

// A document cannot be valid by what is wrong in itself: the result says no more than that.
void warnOfFaultyFile(const Report& report, const std::string& file) {
  if (!noticeListener()) return;
  std::string_view words = report.msg;
  words = words.substr(0, words.find_last_not_of(" \n") + 1);
  Notice notice;
  notice.rule = "validation-file-faulty";
  notice.text = "no document is valid by a faulty schema or DTD: " +
                shownText(report.ctx, words, kMessageSize);
  notice.file = file;
  noticeListener()->notice(notice);
}

// The result is for the caller, the validator's words about an invalid document are not. 0, or -1
// when the document could not be judged.
int judge(const Report& report, const Delivery& to, QrkOutbuf* document, int32_t& valid) {
  char words[kMessageSize] = "";
  int code = 0;
  valid = qrkValidateXML(report.ctx, document, to.validSource, &code, words, to.hdbc);
  if (code >= 0) return 0;
  std::memcpy(report.msg, words, sizeof words);
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
    return failed(report, Msg::QRKG017E, "resultDoc", buildStamp(), kComposeModule, __LINE__);
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

// ---- A receiver.
// Hands a document on in parts, in UTF-8. The functions return 0 or -1 with the failure reported.
class Handover {
 public:
  Handover(const Report& report, DocumentReceiver& receiver)
      : report_(report), receiver_(receiver), isUtf8_(isUtf8Database(report.ctx)) {}

  int begin(std::string_view header) {
    if (isUtf8_) return taken(receiver_.beginDocument(header));
    std::u16string units;
    std::string utf8;
    if (!toUtf16(report_.ctx, header, units) || !toDatabase(nullptr, units, utf8)) {
      return failed(report_, Msg::QRKQ002E);
    }
    return taken(receiver_.beginDocument(utf8));
  }

  int add(std::string_view part, bool isLast) {
    if (isUtf8_) return taken(receiver_.text(part));
    if (!decoder_) decoder_.emplace(report_.ctx);
    const int rc = decoder_->decode(part, isLast, [&](std::u16string_view units) {
      std::string utf8;
      return toDatabase(nullptr, units, utf8) ? taken(receiver_.text(utf8)) : -1;
    });
    if (rc == PiecewiseDecoder::kNotText) {
      return failed(report_, Msg::QRKQ055E, decoder_->errorName());
    }
    return rc;
  }

  int addFile(const char* path, size_t start) {
    const FileHandle file(std::fopen(path, "rb"));
    if (!file || std::fseek(file.get(), static_cast<long>(start), SEEK_SET) != 0) {
      return failed(report_, Msg::QRKC002E);
    }
    const auto part = std::make_unique_for_overwrite<char[]>(kHandoverPart);
    for (;;) {
      const size_t size = std::fread(part.get(), 1, kHandoverPart, file.get());
      if (std::ferror(file.get())) return failed(report_, Msg::QRKC002E);
      const bool isLast = size < kHandoverPart;
      if (add({part.get(), size}, isLast)) return -1;
      if (isLast) return 0;
    }
  }

  int end(int32_t valid) { return taken(receiver_.endDocument(valid)); }

 private:
  int taken(bool isTaken) { return isTaken ? 0 : failed(report_, Msg::QRKC003E); }

  const Report& report_;
  DocumentReceiver& receiver_;
  const bool isUtf8_;
  std::optional<PiecewiseDecoder> decoder_;
};

int handOver(const Report& report, const Delivery& to, QrkOutbuf* document,
             std::string_view header) {
  const char* const content = qrkBufGetContent(report.ctx, document);
  if (!content) return failed(report, Msg::QRKQ002E);
  int32_t valid = -1;
  if (to.validate && judge(report, to, document, valid)) return -1;
  Handover handover(report, *to.receiver);
  if (handover.begin(header)) return -1;
  const int rc = document->loctype == QRK_LOC_MEMORY
                     ? handover.add(std::string_view(content).substr(header.size()), true)
                     : handover.addFile(content, header.size());
  return rc ? rc : handover.end(valid);
}

// ---- The result table.
int insertMemory(const Report& report, const Delivery& to, ResultWriter& writer,
                 QrkOutbuf* document, int32_t valid) {
  if (document->size >= kMaxTextParameter) {
    return failed(report, Msg::QRKG001E, "sqllen is negative", kComposeModule, __LINE__);
  }
  sqlca area{};
  writer.insert(to, document->data, static_cast<int32_t>(document->size), valid, area);
  if (isValueTooLong(area)) return failed(report, Msg::QRKQ017E, to.resultTable);
  if (area.sqlcode == 0) return 0;
  QRK_TRACE(report.ctx, "insert_stmt failed. insert_stmt='%s'", writer.insertText(to).c_str());
  failDbInternal(report, area, kComposeModule, __LINE__);
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
  failInternal(report, kComposeModule, __LINE__);
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
  CliStatement query(report, kComposeModule);
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
  char sqlState[kSqlStateSize] = "00000";
  const Report report{ctx, msg, errCode, sqlState};
  char* const document = qrkBufGetContent(ctx, docBuf);
  if (!document) {
    fail(report, Msg::QRKQ002E);
    return 0;
  }
  PlaceKeeper keeper;
  const int verdict =
      source->kind == kValidateBySchema
          ? judgeBySchema(report, document, docBuf->loctype, source->text)
          : judgeByDtd(report, document, docBuf->loctype, static_cast<const char*>(source->text));
  keeper.end();
  if (verdict != kNotJudged) return verdict;
  if (*errCode >= 0 && std::string_view(sqlState) == kParserState) {
    warnOfFaultyFile(report, keeper.place().file);
    return 0;
  }
  if (*errCode >= 0) reportUnjudged(report, sqlState);
  keeper.passOn();
  return 0;
}

int qrkInsertResult(QrkStruct* ctx, QrkOutbuf* buf, const Delivery& to, int* errCode, char* msg) {
  const Report report{ctx, msg, errCode};
  ResultWriter single;
  const int rc = insertDocument(report, to, to.writer ? *to.writer : single, buf);
  return release(report, buf, rc);
}

int deliverDocument(QrkStruct* ctx, const Delivery& to, QrkOutbuf* document,
                    std::string_view header, int* errCode, char* msg) {
  if (to.toTable()) return qrkInsertResult(ctx, document, to, errCode, msg);
  const Report report{ctx, msg, errCode};
  const int rc =
      to.receiver ? handOver(report, to, document, header) : fillClob(report, to, document);
  return release(report, document, rc);
}

int leaveOutDocument(const Delivery& to, int* errCode, char* msg) {
  if (!to.receiver || *errCode != codeOf(Msg::QRKQ055E) || !to.receiver->leaveOut(msg)) return -1;
  *errCode = 0;
  *msg = '\0';
  return 0;
}

}  // namespace orvxml

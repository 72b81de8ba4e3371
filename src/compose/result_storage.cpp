#include "src/compose/result_storage.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>

#include "orvxml/code_pages.h"
#include "orvxml/packages.h"
#include "orvxml/trace.h"
#include "src/compose/sql_statement.h"
#include "src/files/file_handle.h"
#include "src/outcome/all_steps.h"
#include "src/outcome/edge.h"
#include "src/server_access/catalog_queries.h"
#include "src/server_access/locators.h"
#include "src/server_access/server_statements.h"
#include "src/text/piecewise_decoder.h"
#include "src/text/sql_scanner.h"
#include "src/xmlcolumn/judgement.h"

namespace orvxml {

const orv::esql::Module kQrkcomp = {"QRKCOMP", "QCP00001", {}};

namespace {

constexpr uint32_t kMaxTextParameter = std::numeric_limits<int16_t>::max();  // with terminator
constexpr size_t kHandoverPart = 131072;  // bytes of a file that are handed on at once
constexpr Msg kUnjudged[] = {Msg::QRKC001E, Msg::QRKC000E, Msg::QRKG002E};

char* contentOf(QrkStruct* ctx, QrkOutbuf* document) {
  char* const content = qrkBufGetContent(ctx, document);
  if (!content) throw Failure(Msg::QRKQ002E);
  return content;
}

// ---- Validation.
// Whether the DTD is registered, which then is in `dtd`.
bool hasDtd(QrkStruct* ctx, QrkOutbuf* dtd, const char* dtdid) {
  try {
    return qrkGetDtdFileFromDtdId(ctx, dtd, dtdid);
  } catch (const Failure&) {
    throw Failure::internal();
  }
}

Judgement judgeByDtdId(QrkStruct* ctx, const JudgedDocument& document, const char* dtdid) {
  OutBuffer dtd(ctx);
  const bool isKnown = hasDtd(ctx, dtd.get(), dtdid);
  const char* const text = isKnown ? qrkBufGetContent(ctx, dtd.get()) : nullptr;
  Judgement found = judgeByDtd(ctx, document, {text, dtd->loctype == QRK_LOC_MEMORY, true, dtdid});
  QRK_TRACE(ctx, "return rc:%d", found.verdict);
  return found;
}

// What keeps a document from being judged is a failure, with the code of its own message.
Failure unjudged(const Failure& reason) {
  for (const Msg message : kUnjudged) {
    if (reason.sqlState() == sqlStateOf(message)) return Failure(message);
  }
  return Failure::internal();
}

// A document cannot be valid by what is wrong in itself: the result says no more than that.
void warnOfFaultyFile(QrkStruct* ctx, const Failure& failure) {
  if (!noticeListener()) return;
  std::string words = messageOf(ctx, failure);
  words.erase(words.find_last_not_of(" \n") + 1);
  Notice notice;
  notice.rule = "validation-file-faulty";
  notice.text =
      "no document is valid by a faulty schema or DTD: " + shownText(ctx, words, kMessageSize);
  notice.file = failure.place().file;
  notice.line = failure.place().line;
  notice.column = failure.place().column;
  noticeListener()->notice(notice);
}

// ---- A receiver.
// Hands a document on in parts, in UTF-8.
class Handover {
 public:
  Handover(QrkStruct* ctx, DocumentReceiver& receiver)
      : ctx_(ctx), receiver_(receiver), isUtf8_(isUtf8Database(ctx)) {}

  void begin(std::string_view header) {
    if (isUtf8_) return require(receiver_.beginDocument(header));
    std::u16string units;
    std::string utf8;
    if (!toUtf16(ctx_, header, units) || !toDatabase(nullptr, units, utf8)) {
      throw Failure(Msg::QRKQ002E);
    }
    require(receiver_.beginDocument(utf8));
  }

  void add(std::string_view part, bool isLast) {
    if (isUtf8_) return require(receiver_.text(part));
    if (!decoder_) decoder_.emplace(ctx_);
    const auto use = [&](std::u16string_view units) {
      std::string utf8;
      if (!toDatabase(nullptr, units, utf8)) throw Failure::internal();
      require(receiver_.text(utf8));
    };
    if (!decoder_->decode(part, isLast, use)) {
      throw Failure(Msg::QRKQ055E, decoder_->errorName());
    }
  }

  void addFile(const char* path, size_t start) {
    const FileHandle file(std::fopen(path, "rb"));
    if (!file || std::fseek(file.get(), static_cast<long>(start), SEEK_SET) != 0) {
      throw Failure(Msg::QRKC002E);
    }
    const auto part = std::make_unique_for_overwrite<char[]>(kHandoverPart);
    for (bool isLast = false; !isLast;) {
      const size_t size = std::fread(part.get(), 1, kHandoverPart, file.get());
      if (std::ferror(file.get())) throw Failure(Msg::QRKC002E);
      isLast = size < kHandoverPart;
      add({part.get(), size}, isLast);
    }
  }

  void end(int32_t valid) { require(receiver_.endDocument(valid)); }

 private:
  static void require(bool isTaken) {
    if (!isTaken) throw Failure(Msg::QRKC003E);
  }

  QrkStruct* const ctx_;
  DocumentReceiver& receiver_;
  const bool isUtf8_;
  std::optional<PiecewiseDecoder> decoder_;
};

void release(QrkStruct* ctx, QrkOutbuf* document) {
  const int released = qrkBufRelease(ctx, document);
  if (released == 0) return;
  QRK_TRACE(ctx, "Cannot remove file '%s', rc=%d", document->data ? document->data : "", released);
  throw Failure::internal();
}

}  // namespace

// ---- The result table.
ResultWriter::ResultWriter(const ResultTable& table, bool withValidation)
    : withValidation_(withValidation),
      text_("INSERT INTO " + table.written + " (" + delimitedName(table.column)) {
  text_ +=
      withValidation ? ", " + delimitedName(table.validColumn) + ") VALUES (?, ?)" : ") VALUES (?)";
}

void ResultWriter::insert(char* document, int32_t length, int32_t valid, sqlca& area) {
  if (!statement_) {
    statement_.emplace(kQrkcomp);
    statement_->prepare(text_, area);
    if (area.sqlcode < 0) return statement_.reset();
  }
  const orv::esql::HostVariable input[] = {orv::esql::stringVariable(document, length + 1),
                                           orv::esql::integerVariable(&valid)};
  statement_->execute(orv::esql::Variables(input, withValidation_ ? 2 : 1), area);
}

void Delivery::insertMemory(QrkOutbuf* document, int32_t valid) {
  if (document->size >= kMaxTextParameter) {
    throw Failure(Msg::QRKG001E, "sqllen is negative", "result_storage", __LINE__);
  }
  sqlca area{};
  writer_->insert(document->data, static_cast<int32_t>(document->size), valid, area);
  if (isValueTooLong(area)) throw Failure(Msg::QRKQ017E, table_->written);
  if (area.sqlcode == 0) return;
  QRK_TRACE(ctx_, "insert_stmt failed. insert_stmt='%s'", writer_->text().c_str());
  throw Failure::ofServerInternal(area);
}

void Delivery::insertFile(QrkOutbuf* document, int32_t valid) {
  qrkInsertDocFromFile(ctx_, writer_->text().c_str(), document->data,
                       static_cast<int32_t>(document->size),
                       validSource_ ? std::optional(valid) : std::nullopt, table_->written.c_str());
}

void Delivery::qrkInsertResult(QrkOutbuf* document) {
  contentOf(ctx_, document);
  const int32_t valid = judged(document);
  QRK_TRACE(ctx_, "insert_stmt = %s", writer_->text().c_str());
  if (document->loctype == QRK_LOC_MEMORY) {
    insertMemory(document, valid);
  } else {
    insertFile(document, valid);
  }
}

// ---- The CLOB.
void Delivery::fillClob(QrkOutbuf* document) {
  const char* const content = contentOf(ctx_, document);
  const uint32_t size = qrkBufGetSize(ctx_, document);
  if (size > sizeLimit()) throw Failure::ofLimit("resultDoc");
  if (document->loctype == QRK_LOC_MEMORY) {
    std::memcpy(request_.clob, content, size);
  } else {
    QRK_TRACE(ctx_, "Getting XML doc from file = %s.", content);
    qrk_file2lob(ctx_, content, request_.clob, sizeLimit());
  }
  const int32_t valid = size > 0 ? judged(document) : -1;
  clobLength_ = static_cast<int32_t>(size);
  valid_ = valid;
}

// ---- A receiver.
void Delivery::handOver(QrkOutbuf* document, std::string_view header) {
  const char* const content = contentOf(ctx_, document);
  const int32_t valid = judged(document);
  Handover handover(ctx_, *request_.receiver);
  handover.begin(header);
  if (document->loctype == QRK_LOC_MEMORY) {
    handover.add(std::string_view(content).substr(header.size()), true);
  } else {
    handover.addFile(content, header.size());
  }
  handover.end(valid);
}

bool Delivery::leavesOut(const Failure& failure) const {
  if (!request_.receiver || failure.code() != codeOf(Msg::QRKQ055E)) return false;
  char message[kMessageSize] = "";
  reportFailure({ctx_, message}, failure);
  return request_.receiver->leaveOut(message);
}

// ---- All of them.
Delivery::Delivery(QrkStruct* ctx, const CompositionRequest& request, const ResultTable* table,
                   const ValidationSource* validSource)
    : ctx_(ctx), request_(request), table_(table), validSource_(validSource) {
  if (table) writer_.emplace(*table, validSource != nullptr);
}

uint32_t Delivery::sizeLimit() const {
  const bool isBounded = !table_ && !request_.receiver;
  return isBounded ? static_cast<uint32_t>(std::max(request_.clobCapacity, 0)) : kNoSizeLimit;
}

bool Delivery::isRefusedRow(const Failure& failure) {
  return failure.code() == codeOf(Msg::QRKQ017E) || failure.code() == codeOf(Msg::QRKG001E);
}

int32_t Delivery::judged(QrkOutbuf* document) const {
  return validSource_ ? qrkValidateXML(ctx_, document, *validSource_) : -1;
}

void Delivery::store(QrkOutbuf* document, std::string_view header) {
  const auto put = [&] {
    if (table_) {
      qrkInsertResult(document);
    } else if (request_.receiver) {
      handOver(document, header);
    } else {
      fillClob(document);
    }
  };
  AllSteps().run(put).run([&] { release(ctx_, document); }).end();
}

// The result is for the caller, the validator's words about an invalid document are not.
int32_t qrkValidateXML(QrkStruct* ctx, QrkOutbuf* document, const ValidationSource& source) {
  const JudgedDocument judged{contentOf(ctx, document), document->loctype != QRK_LOC_FILE, true};
  const Judgement found =
      source.kind == kValidateBySchema
          ? judgeBySchema(ctx, judged, static_cast<const char16_t*>(source.text))
          : judgeByDtdId(ctx, judged, static_cast<const char*>(source.text));
  if (found.verdict != kNotJudged) return found.verdict;
  if (found.failure->sqlState() == kParserState) {
    warnOfFaultyFile(ctx, *found.failure);
    return kInvalid;
  }
  const FailurePlace& place = found.failure->place();
  throw unjudged(*found.failure).inFile(place.file, place.lacks);
}

std::string firstResultColumn(QrkStruct* ctx, SQLHDBC hdbc, const ResultTable& table) {
  CliStatement query(ctx);
  query.allocate(hdbc);
  SQLRETURN rc = query.prepare("SELECT * FROM " + table.written);
  SQLCHAR column[kColumnSize] = "";
  SQLSMALLINT length = 0, type = 0, digits = 0, nullable = 0;
  SQLUINTEGER size = 0;
  if (rc >= 0) {
    rc = SQLDescribeCol(query.handle(), 1, column, kColumnSize, &length, &type, &size, &digits,
                        &nullable);
  }
  if (rc < 0) throw Failure(Msg::QRKA016E, table.name);
  return reinterpret_cast<const char*>(column);
}

void acquireDocument(QrkStruct* ctx, OutBuffer& buffer) {
  qrkBufAcquire(ctx, buffer.get(), kDocumentInitialSize, kDocumentMemoryLimit, QRK_LOC_MEMORY,
                false);
}

}  // namespace orvxml

// Where composed documents end: a row of the result table, the caller's CLOB or a receiver,
// validated when the mapping asks for it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "orv/esql.h"
#include "src/compose/composition.h"
#include "src/dad/mapping_notices.h"

namespace orvxml {

// ---- What validates the composed documents.
enum ValidationKind : uint16_t { kValidateByDtd = 0, kValidateBySchema = 1 };
struct ValidationSource {
  uint16_t kind;
  const void* text;  // kValidateByDtd: the DTD id, char, empty when the DAD has none;
                     // kValidateBySchema: the schema's location, char16_t
};

// The INSERT of one call's documents: prepared with the first document, kept for the others.
class ResultWriter {
 public:
  ResultWriter(const ResultTable& table, bool withValidation);

  // The statement's text: the document is its first parameter, the validation result, when there
  // is one, its second.
  const std::string& text() const { return text_; }
  // Runs the statement for a document in memory of `length` bytes, which fit its parameter.
  void insert(char* document, int32_t length, int32_t valid, sqlca& area);

 private:
  const bool withValidation_;
  std::string text_;
  std::optional<orv::esql::Statement> statement_;  // once it is prepared
};

// Delivers the documents of one call.
class Delivery {
 public:
  // `table`: the request's, with its columns chosen; null: it has none. `validSource`: null when
  // nothing is validated. What they point to lives longer.
  Delivery(QrkStruct* ctx, const CompositionRequest& request, const ResultTable* table,
           const ValidationSource* validSource);

  const ResultTable* table() const { return table_; }
  // Whether a document is wanted when `documents` are there.
  bool wantsDocument(int32_t documents) const {
    return table_ || (request_.receiver && !request_.firstOnly) || documents == 0;
  }
  // The objects of unwanted documents are counted, their documents not even composed.
  bool countsOnly() const { return request_.receiver != nullptr; }
  // Bytes that a document may have; the result table itself tells what it does not take.
  uint32_t sizeLimit() const;

  // Stores the complete document, which begins with `header`. The buffer is released on every path.
  // A document that exceeds the CLOB gives QRKG017E. `rows()`: how messages name the rows of one
  // that the result table refuses.
  template <class Rows>
  void deliver(QrkOutbuf* document, std::string_view header, Rows&& rows) {
    try {
      store(document, header);
    } catch (Failure& failure) {
      if (!isRefusedRow(failure)) throw;
      throw at(nullptr, std::move(failure), rows());
    }
  }
  // Whether composition goes on without the document that failed. The receiver says so, who is told
  // of the failure and its place.
  bool leavesOut(const Failure& failure) const;

  // Of the document in the CLOB.
  int32_t clobLength() const { return clobLength_; }
  int32_t valid() const { return valid_; }

 private:
  static bool isRefusedRow(const Failure& failure);
  void store(QrkOutbuf* document, std::string_view header);
  void qrkInsertResult(QrkOutbuf* document);
  void insertMemory(QrkOutbuf* document, int32_t valid);
  void insertFile(QrkOutbuf* document, int32_t valid);
  void fillClob(QrkOutbuf* document);
  void handOver(QrkOutbuf* document, std::string_view header);
  // The validation result of a document, -1 without validation.
  int32_t judged(QrkOutbuf* document) const;

  QrkStruct* const ctx_;
  const CompositionRequest& request_;
  const ResultTable* const table_;
  const ValidationSource* const validSource_;
  std::optional<ResultWriter> writer_;
  int32_t clobLength_ = 0;
  int32_t valid_ = -1;
};

// The validation result (1 valid, 0 not) of a composed document.
int32_t qrkValidateXML(QrkStruct* ctx, QrkOutbuf* document, const ValidationSource& source);

// The name of the first column of a result table that the catalog does not list; QRKA016E when
// there is no such table.
std::string firstResultColumn(QrkStruct* ctx, SQLHDBC hdbc, const ResultTable& table);

// An empty buffer for a document.
void acquireDocument(QrkStruct* ctx, OutBuffer& buffer);

}  // namespace orvxml

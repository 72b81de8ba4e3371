// Storing composed documents as rows of a result table.
#pragma once

#include <optional>
#include <string>

#include "orv/esql.h"
#include "src/compose/composition.h"

namespace orvxml {

// Whether the failure of a delivery with this code may be the result table's refusal of the row.
inline bool isRefusedRow(int code) {
  return code == codeOf(Msg::QRKQ017E) || code == codeOf(Msg::QRKG001E);
}

// The INSERT of one call's documents: prepared with the first document, kept for the others. One
// writer serves one Delivery.
class ResultWriter {
 public:
  // The statement's text: the document is its first parameter, the validation result, when there
  // is one, its second.
  const std::string& insertText(const Delivery& to);
  // Runs the statement for a document in memory of `length` bytes, which fit its parameter.
  void insert(const Delivery& to, char* document, int32_t length, int32_t valid, sqlca& area);

 private:
  std::string text_;
  std::optional<orv::esql::Statement> statement_;  // once it is prepared
};

// The name of the first column of a result table that the catalog does not list, in `column`
// (kColumnSize bytes). 0, or -11 QRKA016E when there is no such table.
int firstResultColumn(QrkStruct* ctx, const Delivery& to, char* column, int* errCode, char* msg);

}  // namespace orvxml

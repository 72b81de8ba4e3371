// The base of the handlers that read a document for a location path: it keeps the match state and
// the values, and turns them into the caller's.
#pragma once

#include "src/parser/parser_handlers.h"
#include "src/xmlcolumn/location_path.h"
#include "src/xmlcolumn/path_progress.h"
#include "src/xmlcolumn/result_values.h"

namespace orvxml {

// Every problem that the parser reports ends the parse, a warning as well.
class qrkSgDocHandler : public ThrowingHandler {
 public:
  // `path` must live, unchanged, as long as the handler.
  qrkSgDocHandler(QrkStruct* context, XMLCh* path, bool selectsMarkup = false);

  // 0, or the position of an error in the path.
  int32_t getState() const { return query.state; }
  // The values in the database code page, for qrkFreeArray. QRKC013E when one does not convert or
  // needs more than `maxBytes` with its terminator; `values` is empty after a failure.
  void retrieve(int maxBytes, QrkExtractResult& values);
  // The values on standard output.
  void debugPrintResult();

  void warning(const xercesc::SAXParseException& problem) override;  // throws a copy

 protected:
  // What becomes of the elements inside a selected one: each is compared with the path, or all are
  // selected with it.
  enum class Inside { IsCompared, IsSelected };

  // Open and close an element, and keep `state`.
  void open(const XMLCh* name, const xercesc::Attributes& attributes);
  void close();
  // With another value for the attribute called `changed`, unless that is null.
  void composeStartElement(const XMLCh* name, const xercesc::Attributes& attributes,
                           const XMLCh* changed = nullptr, const XMLCh* newValue = nullptr);
  void composeEndElement(const XMLCh* name);

  QrkStruct* ctx;
  int32_t state = kMatchPossibleBelow;
  QrkQuery query;
  PathProgress currentPath;
  qrkResult result;
  Inside inside = Inside::IsCompared;
  Escaping escapeText = Escaping::None;
  Escaping escapeValues = Escaping::Markup;

 private:
  void handOver(QrkExtractResult& values);

  uint32_t below_ = 0;  // open elements below one that settles their state: they are only counted
};

// A path or value of a call in UTF-16. QRKG004E for null, QRKD002E for a text that does not
// convert.
std::u16string convertText(QrkStruct* ctx, const char* text);
// QRKD002E when the path of `handler` has an error.
void acceptPath(const qrkSgDocHandler& handler);

}  // namespace orvxml

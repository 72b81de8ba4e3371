// Extraction, scalar and as a table, for every document type and every type of value.
#pragma once

#include "functions/documents.h"
#include "functions/value_results.h"

namespace orvxml::functions {

template <class Document, class Value>
void extractScalar(const Argument<typename Document::Field>& document, const Argument<char>& path,
                   const Result<typename Value::Field>& result, const Tail& tail) noexcept {
  scalarFunction(tail, result.indicator, [&](FunctionCall& call) {
    if (anyNull(document, path)) return false;
    QrkStruct* ctx = call.begin();
    Document source(call, document.value);
    std::string query = path.value;
    HeapText value;
    const int rc = extractOne(ctx, source.text(), Document::kInDbEncoding, source.inMemory(),
                              Value::kFormat, query.data(), HeapTextResult(value), Value::kRoom,
                              call.sqlState(), call.message());
    if (rc != 0 && !call.isAbsence()) call.check(rc);
    return rc == 0 && value && Value::store(call, value.get(), result.value);
  });
}

template <class Document, class Value>
void extractTable(const Argument<typename Document::Field>& document, const Argument<char>& path,
                  const Result<typename Value::Field>& column, const Tail& tail) noexcept {
  tableFunction(
      tail, column.indicator,
      [&](FunctionCall& call) {
        if (anyNull(document, path)) return;
        QrkStruct* ctx = call.begin();
        Document source(call, document.value);
        std::string query = path.value;
        call.check(extractAll(ctx, source.text(), Document::kInDbEncoding, source.inMemory(),
                              Value::kFormat, query.data(), &call.use().rows, Value::kRoom,
                              call.sqlState(), call.message()));
      },
      [&](FunctionCall& call, const char* text) { return Value::store(call, text, column.value); });
}

}  // namespace orvxml::functions

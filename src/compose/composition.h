// Composition: rows of tables become XML documents, by either mapping of a DAD.
//
// The driver (qrkComposeXML) opens a connection of its own inside the caller's unit of work, reads
// the DAD's settings and chooses the mapping: qrkGenXMLFromRDB for RDB_node mapping, or a top query
// whose objects go one by one through qrkGenXMLDoc for SQL mapping. Both build a document in a
// QrkOutbuf and hand it to deliverDocument, which makes it a row of the result table or the
// caller's CLOB. Names and texts are in the database code page unless they are char16_t.
//
// Results are 0 for success, anything else is a failure whose code and message have been stored in
// `errCode` and `msg` (kMessageSize bytes); warnings store a positive code and return 0.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "orvxml/buffer.h"
#include "orvxml/compose_documents.h"
#include "orvxml/context.h"
#include "src/dad/mapping_model.h"
#include "src/dad/overrides.h"
#include "src/parser/parser.h"

namespace orvxml {

inline constexpr uint32_t kDocumentInitialSize = 4096;   // bytes
inline constexpr uint32_t kDocumentMemoryLimit = 32766;  // bytes; a longer document is a file
inline constexpr int kColumnBufferSize = 3000;           // bytes, the least for a fetched column
inline constexpr int kStatementLimit = 65536;            // bytes of a generated statement
inline constexpr char kStatementTooLong[] = "sql_stmt > MAX_STMT_LEN";
inline constexpr int kResultDocumentSize = 1048576;  // bytes of the CLOB output as declared

// ---- What validates the composed documents.
enum ValidationKind : uint16_t { kValidateByDtd = 0, kValidateBySchema = 1 };
struct ValidationSource {
  uint16_t kind;
  const void* text;  // kValidateByDtd: the DTD id, char, empty when the DAD has none;
                     // kValidateBySchema: the schema's location, char16_t
};

class ResultWriter;  // src/compose/result_storage.h

// ---- Where composed documents go: to a receiver, into a result table, or into the CLOB output.
struct Delivery {
  DocumentReceiver* receiver = nullptr;
  bool firstOnly = false;              // of a receiver: see ComposeRequest
  const char* resultTable = nullptr;   // as the caller wrote it; null: there is none
  const char* resultSchema = nullptr;  // in upper case
  const char* resultTabname = nullptr;
  const char* resultColumn = nullptr;
  const char* validColumn = nullptr;
  bool validate = false;
  const ValidationSource* validSource = nullptr;
  char* clobOut = nullptr;     // CLOB mode: clobCapacity bytes, not terminated
  int32_t clobCapacity = 0;    // bytes
  int32_t* clobLen = nullptr;  // receives the length written
  int32_t* valid = nullptr;    // receives the validation result, or -1 when not validated
  SQLHDBC hdbc = SQL_NULL_HANDLE;
  ResultWriter* writer = nullptr;  // keeps the INSERT prepared from one document to the next

  bool toTable() const { return resultTable != nullptr; }
  // The catalog does not list the columns of declared temporary tables.
  bool toSessionTable() const { return toTable() && std::string_view(resultSchema) == "SESSION"; }
  // Whether a document is wanted when `documents` are there.
  bool wantsDocument(int32_t documents) const {
    return toTable() || (receiver && !firstOnly) || documents == 0;
  }
  // Bytes that a document may have; the result table itself tells what it does not take.
  uint32_t sizeLimit() const {
    const bool isBounded = !toTable() && !receiver;
    return isBounded ? static_cast<uint32_t>(std::max(clobCapacity, 0)) : kNoSizeLimit;
  }
};

// Stores the complete document in `document`, which begins with `header`, where `to` says,
// validated when it asks for that. The buffer is released on every path. A document that exceeds
// the CLOB output gives QRKG017E, and the output stays empty.
int deliverDocument(QrkStruct* ctx, const Delivery& to, QrkOutbuf* document,
                    std::string_view header, int* errCode, char* msg);
// Whether composition goes on without the document that failed with `errCode` and `msg`: 0 with
// both cleared, or -1.
int leaveOutDocument(const Delivery& to, int* errCode, char* msg);
// One document as a new row of the result table. Releases `buf`.
int qrkInsertResult(QrkStruct* ctx, QrkOutbuf* buf, const Delivery& to, int* errCode, char* msg);
// The validation result (1 valid, 0 not) of a composed document. 0 with a negative `*errCode`,
// which is 0 on entry, when it could not be judged.
int qrkValidateXML(QrkStruct* ctx, QrkOutbuf* docBuf, const ValidationSource* source, int* errCode,
                   char* msg, SQLHDBC hdbc);

// ---- The driver. `dadLoctype` is a QrkLocation: `dad` is the text or the path of a file.
// `resultSchema` is upper-cased in place. CLOB mode: resultTable is null; on entry `*clobLen` is
// the capacity of `clobOut` in bytes, on return the length written. `numDocs` is set on success
// alone. `addValidColumn`: whether a missing validation column is added to the result table.
// Commits and rolls back nothing.
int qrkComposeXML(QrkStruct* ctx, const char* dad, int32_t dadLoctype, const char* resultTable,
                  char* resultSchema, char* resultTabname, const char* resultColumn,
                  const char* validColumn, int32_t overrideType, const char* override,
                  int32_t maxRows, int32_t* numDocs, char* clobOut, int32_t* clobLen,
                  int32_t* validOut, int32_t* errCode, char* msg, int32_t addValidColumn);

// The same to a receiver, which takes the place of the result.
int qrkComposeTo(QrkStruct* ctx, const char* dad, int32_t dadLoctype, const ComposeRequest& request,
                 DocumentReceiver& receiver, int32_t* numDocs, int32_t* errCode, char* msg);

// ---- Overrides of RDB_node mapping. The result is the error code. qrkFreeOverride is always
// called, also after a failure; it accepts null.
enum OverrideType : int { NO_OVERRIDE = 0, SQL_OVERRIDE = 1, XML_OVERRIDE = 2 };
int qrkInitOverride(QrkStruct* ctx, int overrideType, const char* override, override_list* list,
                    char* msg);
void qrkFreeOverride(QrkStruct* ctx, override_list* list);

// ---- RDB_node mapping. `dad` is the DAD's document element; `maxRows` 0 means no limit (the
// driver's callers refuse negative ones). `docCount` receives the number of documents.
int qrkGenXMLFromRDB(QrkStruct* ctx, SQLHDBC hdbc, const DOM_Element& dad, const Delivery& to,
                     int overrideType, const char* override, int32_t maxRows, int32_t* docCount,
                     int* errCode, char* msg);

}  // namespace orvxml

// Composition: rows of tables become XML documents, by either mapping of a DAD.
//
// The driver (qrkComposeXML) opens a connection of its own inside the caller's unit of work, reads
// the DAD's settings and chooses the mapping: qrkGenXMLFromRDB for RDB_node mapping, or a top query
// whose objects go one by one through qrkGenXMLDoc for SQL mapping. Both build a document in a
// QrkOutbuf and hand it to the Delivery, which makes it a row of the result table or the caller's
// CLOB, or hands it to a receiver. Names and texts are in the database code page unless they are
// char16_t.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "orvxml/buffer.h"
#include "orvxml/compose_documents.h"
#include "orvxml/context.h"
#include "src/dad/overrides.h"
#include "src/parser/parser.h"

namespace orvxml {

inline constexpr uint32_t kDocumentInitialSize = 4096;   // bytes
inline constexpr uint32_t kDocumentMemoryLimit = 32766;  // bytes; a longer document is a file
inline constexpr int kColumnBufferSize = 3000;           // bytes, the least for a fetched column
inline constexpr int kStatementLimit = 65536;            // bytes of a generated statement
inline constexpr char kStatementTooLong[] = "sql_stmt > MAX_STMT_LEN";
inline constexpr int kResultDocumentSize = 1048576;  // bytes of the CLOB output as declared

class Delivery;  // src/compose/result_storage.h

enum OverrideType : int { NO_OVERRIDE = 0, SQL_OVERRIDE = 1, XML_OVERRIDE = 2 };

struct ResultTable {
  std::string written = {};      // its name as the caller wrote it
  std::string schema = {};       // the driver puts it in upper case
  std::string name = {};         // without the schema
  std::string column = {};       // empty: its first one
  std::string validColumn = {};  // for validation results; empty: none is named
  // A validation column that is wanted and not named is added, not missed.
  bool addsValidColumn = false;

  // The catalog does not list the columns of declared temporary tables.
  bool isTemporary() const { return schema == "SESSION"; }
};

// What a call asks for. Everything that it points to outlives the call.
struct CompositionRequest {
  const char* dad = nullptr;  // the text, or the path of a file
  int32_t dadLoctype = QRK_LOC_MEMORY;
  int overrideType = NO_OVERRIDE;
  const char* override = nullptr;
  int32_t maxRows = 0;  // documents at most; 0: no limit

  // Where the documents go: one of these.
  std::optional<ResultTable> table = {};
  char* clob = nullptr;  // for the first document: `clobCapacity` bytes, not terminated
  int32_t clobCapacity = 0;
  DocumentReceiver* receiver = nullptr;
  bool firstOnly = false;  // of a receiver: see ComposeRequest
};

struct Composed {
  int32_t documents = 0;
  int32_t clobLength = 0;       // bytes
  int32_t valid = -1;           // of the document in the CLOB; -1: it was not validated
  Msg outcome = Msg::QRKQ020I;  // success, or a warning
};

// ---- The driver. Commits and rolls back nothing. After a failure the CLOB is empty.
Composed qrkComposeXML(QrkStruct* ctx, const CompositionRequest& request);

// ---- Overrides of RDB_node mapping. qrkFreeOverride is always called, also after a failure.
void qrkInitOverride(QrkStruct* ctx, int overrideType, const char* override, override_list& list);
void qrkFreeOverride(override_list& list);

// ---- RDB_node mapping. `dad` is the DAD's document element; `maxRows` is not negative.
Composed qrkGenXMLFromRDB(QrkStruct* ctx, SQLHDBC hdbc, const DOM_Element& dad,
                          const CompositionRequest& request, Delivery& to);

}  // namespace orvxml

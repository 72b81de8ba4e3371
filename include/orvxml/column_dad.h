// The model of a column's mapping (a DAD with `Xcolumn`): the DTD or schema of the documents,
// whether they are validated, and the side tables with the location paths that fill them.
//
// All texts are in the database code page and terminated. A text that does not fit its field is
// refused: nothing is cut.
#pragma once

#include <memory>

#include "orvxml/buffer.h"
#include "orvxml/context.h"
#include "orvxml/export.h"

namespace orvxml {

struct side_column {
  char name[130];
  char type[254];            // SQL type as the mapping writes it
  char path[254];            // location path
  char multi_occurrence[4];  // upper case; "YES" or "NO" is checked by whoever enables the column
  size_t element = 0;  // number of its element in the mapping (orvxml/notices.h); 0: nobody listens
  side_column* next = nullptr;
};

struct side_table {
  char name[161];
  size_t element = 0;  // as of a column
  side_column* columns = nullptr;
  side_table* next = nullptr;
};

struct dad {
  char tableName[161];  // as the caller wrote it
  char columnName[130];
  int16_t isSchema = 0;  // 1: `dtdid` is the location of a schema
  // Owned. The DTD id in the database code page, empty without one; with isSchema 1 terminated
  // UTF-16 of at most 1000 units.
  char* dtdid = nullptr;
  int32_t noXcolumn = 0;
  int32_t validation = 0;            // 1: documents are validated
  side_table* sideTables = nullptr;  // owned, in document order
};

// The schema location of a model with isSchema 1.
inline const char16_t* schemaLocation(const dad& model) {
  return reinterpret_cast<const char16_t*>(model.dtdid);
}

// Builds the model of the mapping in `dadBuffer`; the caller frees it with freedad. Null with
// message and SQLSTATE: QRKQ047E the mapping does not parse, QRKQ057E both `dtdid` and
// `schemabindings`, QRKQ058E, QRKQ000E a schema without location, QRKA056E `validation`, QRKA009E
// no `Xcolumn` ("38X11"), QRKA057E to QRKA061E a missing or too long attribute, QRKQ039E more than
// 10,000 columns, QRKQ031E or QRKQ032E a `tableName` or `columnName` beyond its field, QRKG002E.
// `sqlstate` holds 6 bytes. `noXcolumn`, when given, tells whether the mapping lacked the
// `Xcolumn`; `errCode` receives the message's code, which not every SQLSTATE leads back to.
extern "C" ORVXML_API dad* dad_popu(QrkStruct* ctx, const char* tableName, const char* columnName,
                                    QrkOutbuf* dadBuffer, int useDbEncoding, char* msg,
                                    char* sqlstate, int32_t* noXcolumn = nullptr,
                                    int* errCode = nullptr);
extern "C" ORVXML_API void freedad(QrkStruct* ctx, dad* model);

struct FreeModel {
  void operator()(dad* model) const { freedad(nullptr, model); }
};
using ModelOwner = std::unique_ptr<dad, FreeModel>;

}  // namespace orvxml

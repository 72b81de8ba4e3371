// The extraction functions by their names: document type, type of the value, scalar and table.
#include "functions/extraction_bodies.h"

using namespace orvxml::functions;

// clang-format off
#define ORVXMLFN_EXTRACTION(name, Form, Document, Value)                                    \
  extern "C" ORVXML_API void name(                                                          \
      const Document::Field* document, const char* path, Value::Field* result,              \
      const int16_t* documentNull, const int16_t* pathNull, int16_t* resultNull,            \
      ORVXMLFN_TAIL_PARAMETERS) {                                                           \
    extract##Form<Document, Value>({document, documentNull}, {path, pathNull},              \
                                   {result, resultNull}, ORVXMLFN_TAIL);                    \
  }
#define ORVXMLFN_SCALAR_AND_TABLE(word, suffix, Document, Value)                            \
  ORVXMLFN_EXTRACTION(qrkExtract##word##suffix, Scalar, Document, Value)                    \
  ORVXMLFN_EXTRACTION(qrkExtract##word##s##suffix, Table, Document, Value)

ORVXMLFN_SCALAR_AND_TABLE(Varchar, , FileDocument, VarcharValue)
ORVXMLFN_SCALAR_AND_TABLE(Char, , FileDocument, CharValue)
ORVXMLFN_SCALAR_AND_TABLE(Clob, , FileDocument, ClobValue)
ORVXMLFN_SCALAR_AND_TABLE(Date, , FileDocument, DateValue)
ORVXMLFN_SCALAR_AND_TABLE(Double, , FileDocument, DoubleValue)
ORVXMLFN_SCALAR_AND_TABLE(Real, , FileDocument, RealValue)
ORVXMLFN_SCALAR_AND_TABLE(Integer, , FileDocument, IntegerValue)
ORVXMLFN_SCALAR_AND_TABLE(Smallint, , FileDocument, SmallintValue)
ORVXMLFN_SCALAR_AND_TABLE(Time, , FileDocument, TimeValue)
ORVXMLFN_SCALAR_AND_TABLE(Timestamp, , FileDocument, TimestampValue)

ORVXMLFN_SCALAR_AND_TABLE(Varchar, FromClob, ClobDocument, VarcharValue)
ORVXMLFN_SCALAR_AND_TABLE(Char, FromClob, ClobDocument, CharValue)
ORVXMLFN_SCALAR_AND_TABLE(Clob, FromClob, ClobDocument, ClobValue)
ORVXMLFN_SCALAR_AND_TABLE(Date, FromClob, ClobDocument, DateValue)
ORVXMLFN_SCALAR_AND_TABLE(Double, FromClob, ClobDocument, DoubleValue)
ORVXMLFN_SCALAR_AND_TABLE(Real, FromClob, ClobDocument, RealValue)
ORVXMLFN_SCALAR_AND_TABLE(Integer, FromClob, ClobDocument, IntegerValue)
ORVXMLFN_SCALAR_AND_TABLE(Smallint, FromClob, ClobDocument, SmallintValue)
ORVXMLFN_SCALAR_AND_TABLE(Time, FromClob, ClobDocument, TimeValue)
ORVXMLFN_SCALAR_AND_TABLE(Timestamp, FromClob, ClobDocument, TimestampValue)

ORVXMLFN_SCALAR_AND_TABLE(Varchar, FromVarchar, VarcharDocument, VarcharValue)
ORVXMLFN_SCALAR_AND_TABLE(Char, FromVarchar, VarcharDocument, CharValue)
ORVXMLFN_SCALAR_AND_TABLE(Clob, FromVarchar, VarcharDocument, ClobValue)
ORVXMLFN_SCALAR_AND_TABLE(Date, FromVarchar, VarcharDocument, DateValue)
ORVXMLFN_SCALAR_AND_TABLE(Double, FromVarchar, VarcharDocument, DoubleValue)
ORVXMLFN_SCALAR_AND_TABLE(Real, FromVarchar, VarcharDocument, RealValue)
ORVXMLFN_SCALAR_AND_TABLE(Integer, FromVarchar, VarcharDocument, IntegerValue)
ORVXMLFN_SCALAR_AND_TABLE(Smallint, FromVarchar, VarcharDocument, SmallintValue)
ORVXMLFN_SCALAR_AND_TABLE(Time, FromVarchar, VarcharDocument, TimeValue)
ORVXMLFN_SCALAR_AND_TABLE(Timestamp, FromVarchar, VarcharDocument, TimestampValue)

ORVXMLFN_SCALAR_AND_TABLE(Varchar, FromDBClob, DbClobDocument, VarcharValue)
ORVXMLFN_SCALAR_AND_TABLE(Clob, FromDBClob, DbClobDocument, DbClobValue)
ORVXMLFN_SCALAR_AND_TABLE(Date, FromDBClob, DbClobDocument, DateValue)
ORVXMLFN_SCALAR_AND_TABLE(Double, FromDBClob, DbClobDocument, DoubleValue)
ORVXMLFN_SCALAR_AND_TABLE(Integer, FromDBClob, DbClobDocument, IntegerValue)
ORVXMLFN_SCALAR_AND_TABLE(Time, FromDBClob, DbClobDocument, TimeValue)
ORVXMLFN_SCALAR_AND_TABLE(Timestamp, FromDBClob, DbClobDocument, TimestampValue)
// clang-format on

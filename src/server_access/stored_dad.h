// The DAD of an enabled collection, in its row of ORVXML.XML_USAGE: found by a query with the
// collection's name as its one parameter, fetched as a locator, read into a buffer.
#pragma once

#include "orv/esql.h"
#include "orvxml/buffer.h"
#include "src/outcome/failure.h"
#include "src/server_access/locator_owner.h"

namespace orvxml {

class StoredDad {
 public:
  // The statements run under the package of `module`.
  explicit StoredDad(const orv::esql::Module& module) : statement_(module), cursor_(statement_) {}

  // Prepares `query` and opens its cursor. `name` is an area of `nameSize` bytes.
  void open(const char* query, char* name, int nameSize, sqlca& area);
  // The next row; SQLCODE 100 when there is none.
  void fetch(sqlca& area);
  void close();
  short indicator() const { return indicator_; }  // negative: the row has no DAD
  // Acquires `buf` for the fetched DAD and frees the locator.
  void read(QrkStruct* ctx, QrkOutbuf* buf);

 private:
  orv::esql::Statement statement_;
  orv::esql::Cursor cursor_;
  LocatorOwner locator_;
  int16_t indicator_ = 0;
};

// Why a collection was not found: QRKQ028E with its name when there is no such row, QRKA073E in a
// database whose packages are not bound, QRKQ052E for anything else.
Failure collectionFailure(const sqlca& area, const char* name);

}  // namespace orvxml

#include "src/server_access/stored_dad.h"

#include "src/server_access/locators.h"
#include "src/server_access/server_statements.h"

namespace orvxml {
void StoredDad::open(const char* query, char* name, int nameSize, sqlca& area) {
  statement_.prepare(query, area);
  if (area.sqlcode < 0) return;
  const orv::esql::HostVariable input[] = {orv::esql::stringVariable(name, nameSize)};
  cursor_.open(input, area);
}

void StoredDad::fetch(sqlca& area) {
  const orv::esql::HostVariable output[] = {
      orv::esql::clobLocatorVariable(locator_.address(), &indicator_)};
  cursor_.fetch(output, area);
}

void StoredDad::close() {
  sqlca area{};
  cursor_.close(area);
}

void StoredDad::read(QrkStruct* ctx, QrkOutbuf* buf) {
  qrkGetDataFromLocator(ctx, locator_.value(), buf);
  locator_.release();
}

Failure collectionFailure(const sqlca& area, const char* name) {
  if (area.sqlcode == kNoRow || isValueTooLong(area)) return Failure(Msg::QRKQ028E, name);
  return Failure::ofServer(area, area.sqlcode == kPackageNotBound ? Msg::QRKA073E : Msg::QRKQ052E,
                           "");
}

}  // namespace orvxml

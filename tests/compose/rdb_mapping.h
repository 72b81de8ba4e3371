// RDB_node mappings for tests, put together from their parts, and the documents that they give.
#pragma once

#include "tests/support/composed_documents.h"
#include "tests/support/dads.h"

namespace orvxml::test {

using Documents = std::vector<std::string>;

inline const char kProlog[] = "<prolog>?xml version=\"1.0\"?</prolog>";
inline const char kHeader[] = "<?xml version=\"1.0\"?>";

inline std::string mapping(const std::string& root, const std::string& prolog = kProlog) {
  return "<DAD><Xcollection>" + prolog + "<root_node>" + root + "</root_node></Xcollection></DAD>";
}
inline std::string table(const std::string& name, const std::string& orderBy = "") {
  return "<table name='" + name + "' orderBy='" + orderBy + "'/>";
}
inline std::string conditional(const std::string& from, const std::string& col,
                               const std::string& more) {
  return column(from, col, "", "<condition>" + more + "</condition>");
}

// Orders with their parts, and how the parts are shipped.
inline const char kOrders[] =
    "create table orders (k integer, customer varchar(20), clerk integer);"
    "create table part (o integer, k integer, color varchar(10));"
    "create table ship (p integer, mode varchar(10));"
    "create table clerk (k integer, name varchar(20));"
    "insert into orders values (1, 'Acme', 7), (2, 'Bee & Co', null);"
    "insert into part values (1, 156, 'red'), (1, 157, null), (2, 200, '');"
    "insert into ship values (156, 'AIR'), (156, 'RAIL'), (157, 'SEA');"
    "insert into clerk values (7, 'Kim');";
inline const std::string kOrdersAndParts =
    top(table("orders", "k") + table("part", "k"), "orders.k = part.o");

inline std::string order(const std::string& content, const std::string& tables = kOrdersAndParts) {
  return mapping(element("Order", tables + content));
}

struct DocumentCase {
  const char* label;
  const char* script;
  std::string dad;
  Documents documents;  // without the header
};

inline void expectDocuments(const DocumentCase& c) {
  SCOPED_TRACE(c.label);
  ComposeDatabase db;
  db.runScript(c.script);
  Documents documents = composedDocuments(db, c.dad, ComposeForm::List);
  for (std::string& document : documents) {
    ASSERT_TRUE(document.starts_with(kHeader)) << document;
    document.erase(0, sizeof kHeader - 1);
  }
  EXPECT_EQ(documents, c.documents);
}

}  // namespace orvxml::test

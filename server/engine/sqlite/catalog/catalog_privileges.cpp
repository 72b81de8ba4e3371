// Privileges on tables in the catalog's tables. They are kept and shown; nobody is refused
// anything.
#include "server/engine/sqlite/catalog/catalog_store.h"
#include "server/values/sql_error.h"

namespace orv::sqlite {

void recordPrivileges(sqlite3* database, const Table& table, const GrantDefinition& grant) {
  Command insert(database, R"(INSERT INTO "SYSNTQ.PRIVILEGES" VALUES(?,?,?,?,?,?)
                              ON CONFLICT DO UPDATE SET GRANTABLE=max(GRANTABLE, ?6))");
  for (const Grantee& grantee : grant.grantees) {
    for (const std::string& privilege : grant.privileges) {
      insert.bind(table.schema, table.name, grantee.type, grantee.name, privilege, grant.grantable)
          .run();
    }
  }
}

void erasePrivileges(sqlite3* database, const Table& table, const GrantDefinition& grant) {
  Command remove(database, R"(DELETE FROM "SYSNTQ.PRIVILEGES" WHERE SCHEMA=? AND NAME=? AND
                              GRANTEETYPE=? AND GRANTEE=? AND PRIVILEGE=?)");
  for (const Grantee& grantee : grant.grantees) {
    int64_t held = 0;
    for (const std::string& privilege : grant.privileges) {
      remove.bind(table.schema, table.name, grantee.type, grantee.name, privilege).run();
      held += sqlite3_changes64(database);
    }
    if (held == 0 && !grant.privileges.empty()) throw SqlError(-556, {grantee.name});
  }
}

void loadPrivileges(sqlite3* database, CatalogData& data) {
  Command rows(database, R"(SELECT SCHEMA, NAME, GRANTEETYPE, GRANTEE, PRIVILEGE, GRANTABLE
                            FROM "SYSNTQ.PRIVILEGES" ORDER BY SCHEMA, NAME, GRANTEETYPE, GRANTEE)");
  while (rows.step()) {
    data.privileges.push_back({rows.text(0), rows.text(1), rows.text(2).front(), rows.text(3),
                               rows.text(4), rows.integer(5) != 0});
  }
}

}  // namespace orv::sqlite

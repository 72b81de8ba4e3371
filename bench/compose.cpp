// What composition costs beside the work that nobody can spare: running the same queries with bare
// prepared statements on the same database file, and fetching the same columns as text.
//
// Prints, for both mappings, the time of a call and of the bare loop and their ratio: many small
// documents into a result table, one document of growing size into it, and the same into a table
// that refuses it; then the peak memory of a call and of the bare loop, for a small and a large
// document; and how many statements a call has compiled.
//
// The refusing table's column is too small, which the server sees by the document's size: so the
// document is complete, and nothing is stored. What a call costs then is composing alone. Only
// RDB_node mapping is shown so: with SQL mapping the call ends before the top query does.
#include <dlfcn.h>
#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "bench/support.h"

namespace {

using bench::asClob;
using bench::ClobPtr;
using bench::Database;
using bench::milliseconds;
using bench::peakKilobytes;
using bench::readFile;
using bench::require;

constexpr int kRepetitions = 11;
constexpr int kColumnTooSmall = -77;
const std::string kFolder = ORVXML_SOURCE_DIR "/bench/orders/";

// ---- Counting compilations

// The statements that the server has had compiled since the last clear().
std::vector<std::string>& compiled() {
  static std::vector<std::string> texts;
  return texts;
}

}  // namespace

// Stands before the engine's own function of this name for the libraries of this program.
extern "C" __attribute__((visibility("default"))) int sqlite3_prepare_v3(sqlite3* database,
                                                                         const char* sql, int bytes,
                                                                         unsigned int flags,
                                                                         sqlite3_stmt** statement,
                                                                         const char** tail) {
  static const auto engine =
      reinterpret_cast<decltype(&sqlite3_prepare_v3)>(dlsym(RTLD_NEXT, "sqlite3_prepare_v3"));
  compiled().emplace_back(sql, bytes < 0 ? std::strlen(sql) : static_cast<size_t>(bytes));
  return engine(database, sql, bytes, flags, statement, tail);
}

namespace {

// ---- The bare work

class BareStatement {
 public:
  BareStatement(sqlite3* database, const std::string& sql) {
    const int rc = sqlite3_prepare_v2(database, sql.c_str(), -1, &statement_, nullptr);
    require(rc == SQLITE_OK, sqlite3_errmsg(database));
  }
  ~BareStatement() { sqlite3_finalize(statement_); }
  BareStatement(const BareStatement&) = delete;
  BareStatement& operator=(const BareStatement&) = delete;

  void bind(int64_t number) { sqlite3_bind_int64(statement_, 1, number); }
  void bind(int marker, const std::string& text) {
    sqlite3_bind_text(statement_, marker, text.data(), static_cast<int>(text.size()),
                      SQLITE_TRANSIENT);
  }
  bool step() {
    const int rc = sqlite3_step(statement_);
    require(rc == SQLITE_ROW || rc == SQLITE_DONE, "a bare statement failed");
    return rc == SQLITE_ROW;
  }
  void reset() { sqlite3_reset(statement_); }
  int64_t key() const { return sqlite3_column_int64(statement_, 0); }
  // All columns as text; the number of their bytes.
  size_t fetch() const {
    size_t bytes = 0;
    for (int i = 0; i < sqlite3_column_count(statement_); ++i) {
      const unsigned char* text = sqlite3_column_text(statement_, i);
      bytes += static_cast<size_t>(sqlite3_column_bytes(statement_, i)) + (text[0] == 0);
    }
    return bytes;
  }

 private:
  sqlite3_stmt* statement_ = nullptr;
};

class BareDatabase {
 public:
  explicit BareDatabase(const std::filesystem::path& path) {
    require(sqlite3_open(path.c_str(), &db_) == SQLITE_OK, "cannot open a database");
    // The server's columns of DECIMAL name it; no query here compares them.
    sqlite3_create_collation(db_, "ORV_DECIMAL", SQLITE_UTF8, nullptr,
                             [](void*, int, const void*, int, const void*) { return 0; });
  }
  ~BareDatabase() { sqlite3_close(db_); }
  BareDatabase(const BareDatabase&) = delete;
  BareDatabase& operator=(const BareDatabase&) = delete;

  void run(const char* sql) {
    require(sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) == SQLITE_OK, sqlite3_errmsg(db_));
  }
  void fill(int orders, int lines);
  // The statements of one call; the bytes that were fetched.
  size_t readTables();
  size_t readQuery();

 private:
  sqlite3* db_ = nullptr;
};

void BareDatabase::fill(int orders, int lines) {
  run("BEGIN");
  BareStatement order(db_, "INSERT INTO ORDERS VALUES(?,?,?,?,?)");
  BareStatement line(db_, "INSERT INTO LINES VALUES(?,?,?,?,?,?)");
  const auto insert = [](BareStatement& statement, const std::vector<std::string>& values) {
    for (size_t i = 0; i < values.size(); ++i) statement.bind(static_cast<int>(i) + 1, values[i]);
    statement.step();
    statement.reset();
  };
  for (int i = 1; i <= orders; ++i) {
    const std::string number = std::to_string(i);
    insert(order, {number, "Miller & Daughters, Hamburg", "2024-03-05", "delivered", "1495.00"});
    for (int j = 1; j <= lines; ++j) {
      const std::string n = std::to_string(j);
      insert(line, {number, n, "ART-" + n, "Pump, 20 l/min, with hose and fittings",
                    std::to_string(j % 9 + 1), "149.50"});
    }
  }
  run("COMMIT");
}

size_t BareDatabase::readTables() {
  run("BEGIN");
  BareStatement orders(
      db_, "SELECT ORDER_NO, ORDERED, STATUS, CUSTOMER, TOTAL FROM ORDERS ORDER BY ORDER_NO");
  BareStatement lines(db_,
                      "SELECT LINE_NO, ARTICLE, DESCRIPTION, QUANTITY, PRICE FROM LINES WHERE "
                      "ORDER_NO = ? ORDER BY LINE_NO");
  size_t bytes = 0;
  while (orders.step()) {
    bytes += orders.fetch();
    lines.bind(orders.key());
    while (lines.step()) bytes += lines.fetch();
    lines.reset();
  }
  run("COMMIT");
  return bytes;
}

// The query gives a row for each line; the lines of an order are asked for once more.
size_t BareDatabase::readQuery() {
  const std::string base =
      "SELECT O.ORDER_NO, O.CUSTOMER, O.ORDERED, O.STATUS, O.TOTAL, L.LINE_NO, L.ARTICLE, "
      "L.DESCRIPTION, L.QUANTITY, L.PRICE FROM ORDERS O, LINES L WHERE L.ORDER_NO = O.ORDER_NO";
  run("BEGIN");
  BareStatement orders(db_, "SELECT ORDER_NO, CUSTOMER, ORDERED, STATUS, TOTAL FROM (" + base +
                                ") ORDER BY ORDER_NO");
  BareStatement lines(db_,
                      "SELECT ORDER_NO, LINE_NO, ARTICLE, DESCRIPTION, QUANTITY, PRICE FROM "
                      "(SELECT * FROM (" +
                          base + ") WHERE ORDER_NO = ?) ORDER BY LINE_NO");
  size_t bytes = 0;
  int64_t last = 0;
  while (orders.step()) {
    bytes += orders.fetch();
    if (orders.key() == last) continue;
    last = orders.key();
    lines.bind(last);
    while (lines.step()) bytes += lines.fetch();
    lines.reset();
  }
  run("COMMIT");
  return bytes;
}

// ---- The call

struct Mapping {
  const char* name;
  const char* dad;
  size_t (BareDatabase::*bare)();
  double goal;  // of the ratio
};
constexpr Mapping kMappings[] = {{"RDB_node", "by_tables.dad", &BareDatabase::readTables, 1.5},
                                 {"SQL", "by_query.dad", &BareDatabase::readQuery, 2.0}};

class OrderDatabase : public Database {
 public:
  OrderDatabase(const std::filesystem::path& path, int orders, int lines)
      : Database(path, readFile(kFolder + "tables.sql")) {
    BareDatabase(path).fill(orders, lines);
  }

  // Makes every order a row of the result table.
  void composeRows(const Mapping& mapping, int documents) {
    require(compose(mapping, "RESULT") == std::pair(0, documents), "not every order is a document");
  }

  // Makes the first order a document that is refused.
  void composeRefused(const Mapping& mapping) {
    require(compose(mapping, "NARROW").first == kColumnTooSmall, "a document was not refused");
  }

 private:
  // The code, and the number of documents.
  static std::pair<int, int> compose(const Mapping& mapping, const char* table) {
    const ClobPtr dad = asClob(readFile(kFolder + mapping.dad));
    const int zero = 0;
    int rows = 0, code = 0;
    char message[1024] = "";
    short in[5] = {}, out[3] = {};
    qrkGenXML1_STP(dad.get(), table, &zero, "", &zero, &rows, &code, message, &in[0], &in[1],
                   &in[2], &in[3], &in[4], &out[0], &out[1], &out[2]);
    return {code, rows};
  }
};

// ---- Measuring

struct Times {
  double call = 0;  // milliseconds
  double bare = 0;
  double ratio() const { return call / bare; }
};

// The two times are taken one right after the other, so that whatever else the machine does weighs
// on both; the repetition with the median ratio stands for all.
Times measure(OrderDatabase& server, BareDatabase& bare, const Mapping& mapping,
              const std::function<void()>& call) {
  std::array<Times, kRepetitions> taken;
  for (Times& times : taken) {
    times.call = milliseconds(call);
    server.rollback();
    times.bare = milliseconds([&] { require((bare.*mapping.bare)() > 0, "no rows"); });
  }
  const auto middle = taken.begin() + kRepetitions / 2;
  std::nth_element(taken.begin(), middle, taken.end(),
                   [](const Times& a, const Times& b) { return a.ratio() < b.ratio(); });
  return *middle;
}

void printTimes(const std::filesystem::path& folder) {
  std::printf("%-9s %9s %9s %7s %9s %9s %7s %5s %9s\n", "mapping", "documents", "lines", "into",
              "call ms", "bare ms", "ratio", "goal", "us/row");
  struct Case {
    int documents, lines;
  };
  for (const Case& c : {Case{2000, 10}, Case{1, 1000}, Case{1, 10000}, Case{1, 100000}}) {
    const auto path = folder / ("times" + std::to_string(c.lines));
    OrderDatabase server(path, c.documents, c.lines);
    BareDatabase bare(path);
    for (const Mapping& mapping : kMappings) {
      const auto print = [&](const char* into, const std::function<void()>& call) {
        const Times times = measure(server, bare, mapping, call);
        std::printf("%-9s %9d %9d %7s %9.2f %9.2f %7.2f %5.1f %9.2f\n", mapping.name, c.documents,
                    c.lines, into, times.call, times.bare, times.ratio(), mapping.goal,
                    1000 * times.call / (c.documents * (c.lines + 1.0)));
      };
      print("table", [&] { server.composeRows(mapping, c.documents); });
      if (c.documents == 1 && &mapping == kMappings) {
        print("refused", [&] { server.composeRefused(mapping); });
      }
    }
  }
}

// A document has been composed before: what a process needs once is no memory of a document. The
// engine's page cache counts, and is as large for the bare loop as the server's: the rows read are
// in it on either side.
void printMemory(const std::filesystem::path& folder) {
  std::printf("\nPeak memory of composing one document that is refused, KB\n");
  std::printf("%-9s %9s %9s %9s\n", "mapping", "lines", "call", "bare");
  for (const Mapping& mapping : kMappings) {
    for (const int lines : {1000, 100000}) {
      const auto path = folder / (std::string("memory") + mapping.name + std::to_string(lines));
      const long call = peakKilobytes([&]() -> std::function<void()> {
        const auto small = std::make_shared<OrderDatabase>(path.string() + "small", 1, 10);
        small->composeRefused(mapping);
        const auto server = std::make_shared<OrderDatabase>(path, 1, lines);
        return [=] { server->composeRefused(mapping); };
      });
      const long bare = peakKilobytes([&]() -> std::function<void()> {
        (BareDatabase(path.string() + "small").*mapping.bare)();
        const auto database = std::make_shared<BareDatabase>(path);
        database->run("PRAGMA cache_size=-65536");
        return [=] { ((*database).*mapping.bare)(); };
      });
      std::printf("%-9s %9d %9ld %9ld\n", mapping.name, lines, call, bare);
    }
  }
}

void printCompilations(const std::filesystem::path& folder) {
  std::printf("\nStatements compiled for a call that gives 20 documents\n");
  std::printf("%-9s %9s %9s %9s\n", "mapping", "call", "compiled", "distinct");
  for (const Mapping& mapping : kMappings) {
    OrderDatabase server(folder / (std::string("compiled") + mapping.name), 20, 10);
    server.run("SELECT COUNT(*) FROM ORDERS");  // reads the catalog
    for (const char* call : {"first", "second"}) {
      compiled().clear();
      server.composeRows(mapping, 20);
      const std::set<std::string> distinct(compiled().begin(), compiled().end());
      std::printf("%-9s %9s %9zu %9zu\n", mapping.name, call, compiled().size(), distinct.size());
    }
  }
}

}  // namespace

int main() {
  bench::start();
  const bench::TemporaryFolder folder("compose");
  printTimes(folder.path());
  printMemory(folder.path());
  printCompilations(folder.path());
  return 0;
}

// What decomposition costs beside the work that nobody can spare: parsing the document into a DOM
// and inserting the same rows with bare prepared statements in one transaction.
//
// Prints, for documents of growing size, both times and their ratio, the cost of one row, and the
// peak memory of the call against that of the DOM alone (each measured in a process of its own).
#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>

#include "bench/support.h"

namespace {

using bench::asClob;
using bench::Database;
using bench::milliseconds;
using bench::peakKilobytes;
using bench::readFile;
using bench::require;

constexpr int kLinesPerInvoice = 20;
constexpr int kRepetitions = 15;
const std::string kExample = ORVXML_SOURCE_DIR "/examples/invoices/";

// ---- The document and its rows

std::string line(int number) {
  const std::string n = std::to_string(number);
  return "<line position=\"" + n + "\"><article>ART-" + n +
         "</article><description>Pump, 20 l/min, with hose and fittings</description><quantity>" +
         std::to_string(number % 9 + 1) + "</quantity><price>149.50</price>" +
         "<tax kind=\"VAT\" rate=\"19.00\"><amount>56.81</amount></tax></line>\n";
}

std::string document(int lines) {
  std::string text =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<customer number=\"C-1\"><name>Miller</name>"
      "<address><street>Main Street 1</street><city country=\"DE\">Berlin</city></address>\n";
  for (int i = 0; i < lines; ++i) {
    if (i % kLinesPerInvoice == 0) {
      text += "<invoice number=\"2024-" + std::to_string(i / kLinesPerInvoice) +
              "\" issued=\"2024-03-05\" currency=\"EUR\"><remark>Deliver before noon</remark>\n";
    }
    text += line(i % kLinesPerInvoice + 1);
    if ((i + 1) % kLinesPerInvoice == 0) text += "</invoice>\n";
  }
  return text + "</customer>\n";
}

// ---- The call

class InvoiceDatabase : public Database {
 public:
  explicit InvoiceDatabase(const std::filesystem::path& path)
      : Database(path, readFile(kExample + "tables.sql")) {}

  void shred(clob* dad, clob* document) {
    int code = 0;
    char message[1024];
    short indicators[4] = {};
    qrkShredXML_STP(dad, document, &code, message, &indicators[0], &indicators[1], &indicators[2],
                    &indicators[3]);
    require(code == 0, message);
  }
};

// ---- The bare work

void parse(const std::string& text) {
  xercesc::XercesDOMParser parser;
  const xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(text.data()),
                                          text.size(), "document");
  parser.parse(source);
  require(parser.getDocument() != nullptr, "the document does not parse");
}

class BareDatabase {
 public:
  explicit BareDatabase(const std::filesystem::path& path) {
    require(sqlite3_open(path.c_str(), &db_) == SQLITE_OK, "cannot open a database");
    // The tables declare foreign keys, and the server checks them: so does the bare database.
    run("PRAGMA foreign_keys=on");
    run(readFile(kExample + "tables.sql").c_str());
  }
  ~BareDatabase() { sqlite3_close(db_); }
  BareDatabase(const BareDatabase&) = delete;
  BareDatabase& operator=(const BareDatabase&) = delete;

  void run(const char* sql) {
    require(sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) == SQLITE_OK, sqlite3_errmsg(db_));
  }

  // All values as text, as the document holds them.
  void insert(const char* table, const std::vector<std::vector<std::string>>& rows) {
    std::string sql = std::string("insert into ") + table + " values (?";
    for (size_t i = 1; i < rows.front().size(); ++i) sql += ",?";
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(db_, (sql + ")").c_str(), -1, &statement, nullptr);
    for (const std::vector<std::string>& row : rows) {
      for (size_t i = 0; i < row.size(); ++i) {
        sqlite3_bind_text(statement, static_cast<int>(i + 1), row[i].data(),
                          static_cast<int>(row[i].size()), SQLITE_STATIC);
      }
      require(sqlite3_step(statement) == SQLITE_DONE, sqlite3_errmsg(db_));
      sqlite3_reset(statement);
    }
    sqlite3_finalize(statement);
  }

 private:
  sqlite3* db_ = nullptr;
};

struct Rows {
  std::vector<std::vector<std::string>> invoices, lines, taxes;

  explicit Rows(int count) {
    for (int i = 0; i < count; ++i) {
      const std::string invoice = "2024-" + std::to_string(i / kLinesPerInvoice);
      const int number = i % kLinesPerInvoice + 1;
      const std::string n = std::to_string(number);
      if (number == 1) {
        invoices.push_back({invoice, "2024-03-05", "EUR", "Deliver before noon", "C-1"});
      }
      lines.push_back({invoice, n, "ART-" + n, "Pump, 20 l/min, with hose and fittings",
                       std::to_string(number % 9 + 1), "149.50"});
      taxes.push_back({invoice, n, "VAT", "19.00", "56.81"});
    }
  }
  size_t count() const { return 1 + invoices.size() + lines.size() + taxes.size(); }

  void insertInto(BareDatabase& db) const {
    db.insert("customer", {{"C-1", "Miller", "Main Street 1", "Berlin", "DE"}});
    db.insert("invoice", invoices);
    db.insert("invoice_line", lines);
    db.insert("line_tax", taxes);
  }
};

// ---- Measuring

struct Measurement {
  size_t rows;
  double call;  // milliseconds
  double parse;
  double inserts;
  long callMemory;  // kilobytes
  long domMemory;
  double ratio() const { return call / (parse + inserts); }
  double microsecondsPerRow() const { return 1000 * call / static_cast<double>(rows); }
  double memoryRatio() const {
    return static_cast<double>(callMemory) / static_cast<double>(domMemory);
  }
};

// Both sides have met a small document before: what a process needs once, such as the code of the
// libraries, is no memory of a document.
void measureMemory(int lines, const std::filesystem::path& folder, Measurement& result) {
  const std::string text = document(lines);
  const std::string first = document(20);
  result.domMemory = peakKilobytes([&] {
    parse(first);
    return [&] { parse(text); };
  });
  result.callMemory = peakKilobytes([&]() -> std::function<void()> {
    auto db = std::make_shared<InvoiceDatabase>(folder / ("memory" + std::to_string(lines)));
    std::shared_ptr<clob> dad = asClob(readFile(kExample + "invoices.dad"));
    std::shared_ptr<clob> input = asClob(text);
    db->shred(dad.get(), asClob(first).get());
    db->rollback();
    return [=] { db->shred(dad.get(), input.get()); };
  });
}

// The three times are taken one right after the other, so that whatever else the machine does
// weighs on all of them; the repetition with the median ratio stands for all.
void measureTime(int lines, const std::filesystem::path& folder, Measurement& result) {
  const std::string text = document(lines);
  const Rows rows(lines);
  InvoiceDatabase db(folder / ("call" + std::to_string(lines)));
  BareDatabase bare(folder / ("bare" + std::to_string(lines)));
  const auto dad = asClob(readFile(kExample + "invoices.dad"));
  const auto input = asClob(text);
  std::vector<Measurement> taken(kRepetitions, result);
  for (Measurement& m : taken) {
    m.rows = rows.count();
    m.call = milliseconds([&] { db.shred(dad.get(), input.get()); });
    db.rollback();
    m.parse = milliseconds([&] { parse(text); });
    bare.run("begin");
    m.inserts = milliseconds([&] { rows.insertInto(bare); });
    bare.run("rollback");
  }
  const auto middle = taken.begin() + kRepetitions / 2;
  std::nth_element(
      taken.begin(), middle, taken.end(),
      [](const Measurement& a, const Measurement& b) { return a.ratio() < b.ratio(); });
  result = *middle;
}

}  // namespace

int main() {
  bench::start();
  const bench::TemporaryFolder folder("decompose");
  std::printf("%7s %7s %9s %9s %9s %7s %9s %9s %9s %7s\n", "lines", "rows", "call ms", "parse ms",
              "insert ms", "ratio", "us/row", "call KB", "DOM KB", "ratio");
  double smallest = 0;
  for (const int lines : {200, 2000, 10000}) {
    Measurement m{};
    measureMemory(lines, folder.path(), m);
    measureTime(lines, folder.path(), m);
    std::printf("%7d %7zu %9.2f %9.2f %9.2f %7.2f %9.2f %9ld %9ld %7.2f\n", lines, m.rows, m.call,
                m.parse, m.inserts, m.ratio(), m.microsecondsPerRow(), m.callMemory, m.domMemory,
                m.memoryRatio());
    if (lines == 2000) smallest = m.microsecondsPerRow();
    if (lines == 10000) {
      std::printf("cost of a row, 10,000 lines against 2,000: %.2f\n",
                  m.microsecondsPerRow() / smallest);
    }
  }
  return 0;
}

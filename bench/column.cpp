// What it costs that the side tables of an enabled column stay current, beside the work that nobody
// can spare: inserting the same rows into the same tables by bare prepared statements in one
// transaction, and reading each document once with the bare parser.
//
// Prints, for documents of 2 KB in a column with three side tables of four columns in all, the time
// of an insert through the call-level interface, that of the bare work and their ratio; then the
// cost of an insert and of an update into tables that have grown.
#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "bench/bare_parser.h"
#include "bench/support.h"
#include "orv/sqlcli.h"
#include "orvxml/administration.h"

namespace {

using bench::asClob;
using bench::BareParser;
using bench::processorMilliseconds;
using bench::require;

constexpr int kDocuments = 10'000;
constexpr size_t kDocumentBytes = 2'000;
constexpr int kReceivers = 2;
constexpr int kRepetitions = 5;
constexpr double kGoal = 2.5;

const char kDad[] = R"dad(<?xml version="1.0"?>
<DAD>
  <validation>NO</validation>
  <Xcolumn>
    <table name="mail_head">
      <column name="sender" type="varchar(80)" path="/mail/from" multi_occurrence="NO"/>
      <column name="sent" type="date" path="/mail/@sent" multi_occurrence="NO"/>
    </table>
    <table name="mail_size">
      <column name="kb" type="decimal(9,2)" path="/mail/size" multi_occurrence="NO"/>
    </table>
    <table name="mail_to">
      <column name="receiver" type="varchar(80)" path="/mail/to" multi_occurrence="YES"/>
    </table>
  </Xcolumn>
</DAD>
)dad";

// ---- The documents and their values

struct Mail {
  int id;
  std::string sender, sent, size;
  std::vector<std::string> receivers;
  std::string text;
};

Mail mail(int id) {
  const std::string n = std::to_string(id);
  Mail made{id,           "sender." + n + "@example.com",
            "2024-03-05", std::to_string(id % 90 + 1) + ".25",
            {},           {}};
  for (int i = 0; i < kReceivers; ++i) {
    made.receivers.push_back("receiver." + std::to_string(id + i) + "@example.com");
  }
  made.text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<mail sent=\"" + made.sent +
              "\">\n<from>" + made.sender + "</from>\n";
  for (const std::string& receiver : made.receivers) made.text += "<to>" + receiver + "</to>\n";
  made.text += "<subject>Order " + n + "</subject>\n<size>" + made.size + "</size>\n<body>\n";
  while (made.text.size() + 60 < kDocumentBytes) {
    made.text += "<p class=\"text\">The pump of order " + n +
                 " has come; thank you &amp; <b>good</b> wishes.</p>\n";
  }
  made.text += "</body>\n</mail>\n";
  return made;
}

std::vector<Mail> mails(int first, int count) {
  std::vector<Mail> all;
  all.reserve(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) all.push_back(mail(first + i));
  return all;
}

// ---- The enabled column

// A statement of the call-level interface with an INTEGER and a text.
class Statement {
 public:
  explicit Statement(const char* text) {
    check(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment_));
    check(SQLAllocHandle(SQL_HANDLE_DBC, environment_, &connection_));
    check(SQLConnect(connection_, nullptr, 0, nullptr, 0, nullptr, 0));
    check(SQLAllocHandle(SQL_HANDLE_STMT, connection_, &statement_));
    std::string copy = text;
    check(SQLPrepare(statement_, reinterpret_cast<SQLCHAR*>(copy.data()), SQL_NTS));
  }
  ~Statement() {
    SQLFreeHandle(SQL_HANDLE_STMT, statement_);
    SQLDisconnect(connection_);
    SQLFreeHandle(SQL_HANDLE_DBC, connection_);
    SQLFreeHandle(SQL_HANDLE_ENV, environment_);
  }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  void run(const Mail& one, SQLUSMALLINT idMarker, SQLUSMALLINT textMarker) {
    SQLINTEGER id = one.id;
    auto length = static_cast<SQLINTEGER>(one.text.size());
    check(SQLBindParameter(statement_, idMarker, SQL_PARAM_INPUT, SQL_C_LONG, SQL_INTEGER, 0, 0,
                           &id, 0, nullptr));
    check(SQLBindParameter(statement_, textMarker, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_VARCHAR,
                           kDocumentBytes, 0, const_cast<char*>(one.text.data()), length, &length));
    check(SQLExecute(statement_));
  }

 private:
  void check(SQLRETURN rc) {
    if (rc == SQL_SUCCESS) return;
    SQLCHAR state[6], text[1024] = "no diagnostics";
    SQLINTEGER code = 0;
    SQLGetDiagRec(SQL_HANDLE_STMT, statement_, 1, state, &code, text, sizeof text, nullptr);
    require(false, reinterpret_cast<char*>(text));
  }

  SQLHANDLE environment_ = SQL_NULL_HANDLE, connection_ = SQL_NULL_HANDLE,
            statement_ = SQL_NULL_HANDLE;
};

class EnabledDatabase : public bench::Database {
 public:
  // `type` of the column of documents.
  EnabledDatabase(const std::filesystem::path& path, const std::string& type) : Database(path, "") {
    enableDatabase();
    run("create table mail (id integer not null primary key, doc orvxml." + type + ")");
    enableColumn();
    commit();
  }

  void insert(const std::vector<Mail>& all) {
    Statement statement("insert into mail (id, doc) values (?, ?)");
    for (const Mail& one : all) statement.run(one, 1, 2);
  }
  void update(const std::vector<Mail>& all) {
    Statement statement("update mail set doc = ? where id = ?");
    for (const Mail& one : all) statement.run(one, 2, 1);
  }

 private:
  void enableDatabase() {
    char name[] = "BENCH", message[1024];
    int code = -1;
    short in = 0, codeInd = 0, messageInd = 0;
    qrkEnableDB_STP(name, &code, message, &in, &codeInd, &messageInd);
    require(code == 0, message);
  }

  void enableColumn() {
    const auto dad = asClob(kDad);
    char none[] = "", message[1024];
    int code = -1;
    short given[3] = {}, absent[3] = {-1, -1, -1}, codeInd = 0, messageInd = 0;
    qrkEnableColumn_STP("mail", "doc", dad.get(), none, none, none, &code, message, &given[0],
                        &given[1], &given[2], &absent[0], &absent[1], &absent[2], &codeInd,
                        &messageInd);
    require(code == 0, message);
  }
};

// ---- The bare work

class BareDatabase {
 public:
  explicit BareDatabase(const std::filesystem::path& path) {
    require(sqlite3_open(path.c_str(), &db_) == SQLITE_OK, "cannot open a database");
    run("create table mail (id integer not null primary key, doc text, root blob);"
        "create table mail_head (root blob not null, sender text, sent text);"
        "create table mail_size (root blob not null, kb text);"
        "create table mail_to (seqno integer, root blob not null, receiver text)");
    const char* texts[] = {
        "insert into mail values (?, ?, ?)", "insert into mail_head values (?, ?, ?)",
        "insert into mail_size values (?, ?)", "insert into mail_to values (?, ?, ?)"};
    for (size_t i = 0; i < statements_.size(); ++i) {
      require(sqlite3_prepare_v2(db_, texts[i], -1, &statements_[i], nullptr) == SQLITE_OK,
              sqlite3_errmsg(db_));
    }
  }
  ~BareDatabase() {
    for (sqlite3_stmt* statement : statements_) sqlite3_finalize(statement);
    sqlite3_close(db_);
  }
  BareDatabase(const BareDatabase&) = delete;
  BareDatabase& operator=(const BareDatabase&) = delete;

  void run(const char* sql) {
    require(sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) == SQLITE_OK, sqlite3_errmsg(db_));
  }

  void insert(const Mail& one) {
    auto [mail, head, size, receivers] = statements_;
    char root[13] = {};
    std::snprintf(root, sizeof root, "%d", one.id);
    const std::string_view id(root, sizeof root);
    sqlite3_bind_int(mail, 1, one.id);
    bind(mail, 2, one.text);
    bind(mail, 3, id);
    step(mail);
    bind(head, 1, id);
    bind(head, 2, one.sender);
    bind(head, 3, one.sent);
    step(head);
    bind(size, 1, id);
    bind(size, 2, one.size);
    step(size);
    for (size_t i = 0; i < one.receivers.size(); ++i) {
      sqlite3_bind_int(receivers, 1, static_cast<int>(i + 1));
      bind(receivers, 2, id);
      bind(receivers, 3, one.receivers[i]);
      step(receivers);
    }
  }

 private:
  void bind(sqlite3_stmt* statement, int marker, std::string_view text) {
    sqlite3_bind_text(statement, marker, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
  }
  void step(sqlite3_stmt* statement) {
    require(sqlite3_step(statement) == SQLITE_DONE, sqlite3_errmsg(db_));
    sqlite3_reset(statement);
  }

  sqlite3* db_ = nullptr;
  std::array<sqlite3_stmt*, 4> statements_{};
};

// ---- Measuring

struct Times {
  double insert, bareInsert, bareParse;  // milliseconds
  double ratio() const { return insert / (bareInsert + bareParse); }
};

// The times are taken one right after the other, so that whatever else the machine does weighs on
// all of them; the repetition with the median ratio stands for all.
Times measure(EnabledDatabase& db, BareDatabase& bare, const std::vector<Mail>& all) {
  BareParser parser;
  std::array<Times, kRepetitions> taken;
  for (Times& times : taken) {
    times.insert = processorMilliseconds([&] { db.insert(all); });
    db.rollback();
    bare.run("begin");
    times.bareInsert = processorMilliseconds([&] {
      for (const Mail& one : all) bare.insert(one);
    });
    bare.run("rollback");
    times.bareParse = processorMilliseconds([&] {
      for (const Mail& one : all) parser.parse(one.text);
    });
  }
  const auto middle = taken.begin() + kRepetitions / 2;
  std::nth_element(taken.begin(), middle, taken.end(),
                   [](const Times& a, const Times& b) { return a.ratio() < b.ratio(); });
  return *middle;
}

double microseconds(double milliseconds, int count) {
  return 1000 * milliseconds / count;
}

void printRatios(const std::filesystem::path& folder) {
  const std::vector<Mail> all = mails(1, kDocuments);
  std::printf("%d documents of %zu bytes, 3 side tables, 4 columns; microseconds a document\n",
              kDocuments, all.front().text.size());
  std::printf("%-12s %9s %9s %9s %7s %5s\n", "column", "insert", "bare", "parse", "ratio", "goal");
  for (const char* type : {"XMLVarchar", "XMLCLOB"}) {
    EnabledDatabase db(folder / type, type);
    BareDatabase bare(folder / (std::string("bare") + type));
    const Times times = measure(db, bare, all);
    std::printf("%-12s %9.1f %9.1f %9.1f %7.2f %5.2f\n", type,
                microseconds(times.insert, kDocuments), microseconds(times.bareInsert, kDocuments),
                microseconds(times.bareParse, kDocuments), times.ratio(), kGoal);
  }
}

// The same inserts and updates with few and with many rows there.
void printGrowth(const std::filesystem::path& folder) {
  constexpr int kStep = 1'000;
  EnabledDatabase db(folder / "growth", "XMLVarchar");
  std::printf("\nCost with rows there already; microseconds a document\n%9s %9s %9s\n", "rows",
              "insert", "update");
  int rows = 0;
  for (const int wanted : {1'000, 10'000, 100'000}) {
    for (; rows < wanted; rows += kStep) db.insert(mails(rows + 1, kStep));
    const std::vector<Mail> more = mails(rows + 1, kStep);
    const double insert = processorMilliseconds([&] { db.insert(more); });
    const double update = processorMilliseconds([&] { db.update(more); });
    rows += kStep;
    std::printf("%9d %9.1f %9.1f\n", wanted, microseconds(insert, kStep),
                microseconds(update, kStep));
  }
}

}  // namespace

int main() {
  bench::start();
  const bench::TemporaryFolder folder("column");
  printRatios(folder.path());
  printGrowth(folder.path());
  return 0;
}

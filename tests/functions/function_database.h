// An enabled database and one row of documents, one of each document type, for expressions over
// them:
//
//   FunctionDatabase db;
//   db.store("<a>5</a>");
//   EXPECT_EQ(db.value("orvxml.extractInteger(c, '/a')"), "5");
//   EXPECT_EQ(db.failure("orvxml.extractInteger(c, 'a')"), "38X09 QRKD002E  ...");
#pragma once

#include "orvxml/administration.h"
#include "tests/support/database.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/texts.h"

namespace orvxml::test {

class FunctionDatabase : public Database {
 public:
  explicit FunctionDatabase(int codePage = 1208) : Database(codePage) {
    enable();
    run("create table documents (v orvxml.XMLVarchar, c orvxml.XMLCLOB, f orvxml.XMLFile)");
    run("insert into documents values (null, null, null)");
  }

  // The document as the one row; the file has it byte by byte as it is given.
  void store(const std::string& document) { store(document, document); }
  void store(const std::string& document, const std::string& inFile) {
    file_ = folder_.write("document.xml", inFile);
    run("update documents set v = orvxml.XMLVarchar(" + literal(document) +
        "), c = orvxml.XMLCLOB(" + literal(document) + "), f = orvxml.XMLFile(" + literal(file_) +
        ")");
  }

  // The value of an expression over the row's v, c and f.
  std::string value(const std::string& expression, int sqlcode = 0) {
    const orv::Result result = run("select " + expression + " from documents", sqlcode);
    if (result.rows.size() != 1) return "no row";
    return result.rows[0][0].value_or("NULL");
  }

  // SQLSTATE and diagnostic text of an expression that a function refuses.
  std::string failure(const std::string& expression) {
    const orv::Result result = run("select " + expression + " from documents", -443);
    const std::vector<std::string>& tokens = result.outcome.tokens;
    return result.outcome.sqlstate + ' ' + (tokens.empty() ? "" : tokens.back());
  }

  // All values of a table function over the row.
  std::vector<std::string> values(const std::string& call) {
    std::vector<std::string> all;
    for (Row& row : rows("select x.* from documents, table(" + call + ") as x")) {
      all.push_back(std::move(row.at(0)));
    }
    return all;
  }

  const TemporaryFolder& folder() const { return folder_; }
  const std::string& file() const { return file_; }

 private:
  void enable() {
    char name[] = "test";
    char message[kMessageSize] = "";
    int code = 0;
    short indicators[3] = {};
    EXPECT_EQ(qrkEnableDB_STP(name, &code, message, &indicators[0], &indicators[1], &indicators[2]),
              0)
        << message;
  }

  const TemporaryFolder folder_;
  std::string file_;
};

}  // namespace orvxml::test

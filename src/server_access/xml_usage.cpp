// Rows of ORVXML.XML_USAGE and the document types of the administrative schema.
#include <vector>

#include "orvxml/trace.h"
#include "src/outcome/failure.h"
#include "src/server_access/catalog_queries.h"
#include "src/server_access/server_statements.h"

namespace orvxml {
namespace {

using orv::esql::HostVariable;

// A DAD as host variable: its text with the length in front, or its temporary file.
class DadVariable {
 public:
  DadVariable(QrkStruct* ctx, QrkOutbuf* dad) {
    const char* const content = qrkBufGetContent(ctx, dad);
    if (!content) throw Failure(Msg::QRKG004E);
    if (dad->loctype == QRK_LOC_FILE) {
      file_ = referToFile(content, orv::kFileRead, dad->size);
      variable_ = orv::esql::clobFileVariable(&file_);
      return;
    }
    const auto length = static_cast<int32_t>(dad->size);
    value_.resize(sizeof length + dad->size);
    std::memcpy(value_.data(), &length, sizeof length);
    std::memcpy(value_.data() + sizeof length, content, dad->size);
    variable_ = {orv::kSqlClob, length, value_.data()};
  }
  DadVariable(const DadVariable&) = delete;
  DadVariable& operator=(const DadVariable&) = delete;
  const HostVariable& get() const { return variable_; }

 private:
  std::vector<char> value_;
  orv::SqlFileReference file_{};
  HostVariable variable_{};
};

// A document type that enabling makes, with the length that it then has: a type of another length
// was there before and stays.
struct DocumentType {
  const char* name;
  int32_t length;
  const char* drop;
};

constexpr DocumentType kDocumentTypes[] = {
    {"XMLVARCHAR", 3000, "DROP DISTINCT TYPE ORVXML.XMLVARCHAR"},
    {"XMLCLOB", 2147483647, "DROP DISTINCT TYPE ORVXML.XMLCLOB"},
};

sqlca dropDocumentType(QrkStruct* ctx, const DocumentType& type) {
  int32_t length = 0;
  sqlca area = runSection(section::kTypeLength, {textInput(type.name)},
                          {orv::esql::integerVariable(&length)});
  if (area.sqlcode != 0) {
    QRK_TRACE(ctx, "Query failed for length of %s", type.name);
  } else if (length != type.length) {
    QRK_TRACE(ctx, "Precreated UDT %s not dropped", type.name);
  } else {
    QRK_TRACE(ctx, "Disable Database Stmt DROP %s", type.name);
    orv::esql::executeImmediate(kQrksuwo, type.drop, area);
    if (area.sqlcode < 0) QRK_TRACE(ctx, "Disable DB - DROP %s failed.", type.name);
  }
  if (area.sqlcode != 0) QRK_TRACE(ctx, "SQLCODE = %d", area.sqlcode);
  return area;
}

}  // namespace

void qrkInsertXMLUsageBuf(QrkStruct* ctx, const UsageRow& row) {
  const DadVariable dad(ctx, row.dad);
  int32_t accessMode = row.accessMode, validation = row.validation;
  int16_t noDtdid = row.dtdid ? 0 : -1, noView = row.defaultView ? 0 : -1;
  const sqlca area =
      runSection(section::kInsertUsage,
                 {textInput(row.schema), textInput(row.table), textInput(row.column),
                  textInput(row.dtdid, &noDtdid), dad.get(),
                  orv::esql::integerVariable(&accessMode), orv::esql::integerVariable(&validation),
                  textInput(row.defaultView, &noView), textInput(row.suffix)});
  if (area.sqlcode < 0) throw Failure::ofServer(area, Msg::QRKA011E);
}

sqlca qrkDropSchema(QrkStruct* ctx) {
  sqlca first{};
  for (const DocumentType& type : kDocumentTypes) {
    const sqlca area = dropDocumentType(ctx, type);
    if (area.sqlcode < 0 && first.sqlcode == 0) first = area;
  }
  return first;
}

}  // namespace orvxml

// Rows of ORVXML.XML_USAGE and the document types of the administrative schema.
#include <vector>

#include "orvxml/trace.h"
#include "src/server_access/catalog_queries.h"
#include "src/server_access/server_statements.h"

namespace orvxml {
namespace {

using orv::esql::HostVariable;

// A DAD as host variable: its text with the length in front, or its temporary file.
class DadVariable {
 public:
  int set(const Report& report, QrkOutbuf* dad) {
    const char* const content = qrkBufGetContent(report.ctx, dad);
    if (!content) return fail(report, Msg::QRKG004E);
    if (dad->loctype == QRK_LOC_FILE) {
      variable_ = orv::esql::clobFileVariable(&file_);
      return referToFile(report, content, orv::kFileRead, dad->size, &file_);
    }
    const auto length = static_cast<int32_t>(dad->size);
    value_.resize(sizeof length + dad->size);
    std::memcpy(value_.data(), &length, sizeof length);
    std::memcpy(value_.data() + sizeof length, content, dad->size);
    variable_ = {orv::kSqlClob, length, value_.data()};
    return 0;
  }
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

int qrkInsertXMLUsageBuf(QrkStruct* ctx, const char* schema, const char* table, const char* column,
                         const char* dtdid, short dtdidInd, QrkOutbuf* dad, int access_mode,
                         int validation, const char* defaultView, short defaultViewInd,
                         const char* suffix, int* rc, char* msg) {
  const Report report{ctx, msg, rc};
  DadVariable dadVariable;
  if (int failure = dadVariable.set(report, dad)) return failure;
  const sqlca area =
      runSection(section::kInsertUsage,
                 {textInput(schema), textInput(table), textInput(column),
                  textInput(dtdid, &dtdidInd), dadVariable.get(),
                  orv::esql::integerVariable(&access_mode), orv::esql::integerVariable(&validation),
                  textInput(defaultView, &defaultViewInd), textInput(suffix)});
  return area.sqlcode < 0 ? failDb(report, area, Msg::QRKA011E) : 0;
}

int qrkDropSchema(QrkStruct* ctx, char* msg, sqlca* failure) {
  sqlca first{};
  for (const DocumentType& type : kDocumentTypes) {
    const sqlca area = dropDocumentType(ctx, type);
    if (area.sqlcode < 0 && first.sqlcode == 0) first = area;
  }
  if (first.sqlcode == 0) return 0;
  failDb(Report{ctx, msg}, first, Msg::QRKA007E);
  if (failure) *failure = first;
  return first.sqlcode;
}

}  // namespace orvxml

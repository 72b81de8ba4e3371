#include "src/compose/statement_text.h"

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/compose/composition.h"
#include "src/dad/dad_walk.h"
#include "src/text/sql_scanner.h"

namespace orvxml {
namespace {

constexpr std::string_view kOrderBy = " ORDER BY ";
constexpr std::string_view kSmallOrderBy = " order by ";

// Normalised, in the database code page; not empty and shorter than the limit.
int normalised(const Report& report, std::u16string text, std::string& out) {
  if (text.size() >= kStatementLimit) return failed(report, Msg::QRKQ038E, kStatementTooLong);
  if (qrkCleanQueryUcs(report.ctx, text.data(), report) != 0) return -1;
  if (!toDatabase(report.ctx, text.c_str(), out) || out.empty()) {
    return failed(report, Msg::QRKQ001E);
  }
  return out.size() < kStatementLimit ? 0 : failed(report, Msg::QRKQ038E, kStatementTooLong);
}

// The last clause counts: those in front of it belong to subselects.
size_t findOrderBy(std::string_view statement) {
  const size_t at = statement.rfind(kOrderBy);
  return at != statement.npos ? at : statement.rfind(kSmallOrderBy);
}

}  // namespace

int readStatement(QrkStruct* ctx, const DOM_Element& sqlStmt, int overrideType,
                  const char* override, StatementText& out, int* errCode, char* msg) {
  const Report report{ctx, msg, errCode};
  std::u16string text;
  if (overrideType == NO_OVERRIDE) {
    text = dadtree::childText(sqlStmt.node());
  } else {
    QRK_TRACE(ctx, "SQL_OVERRIDE='%s'", override ? override : "");
    if (!toUtf16(ctx, override ? override : "", text)) return failed(report, Msg::QRKQ001E);
  }
  std::string statement;
  if (int rc = normalised(report, std::move(text), statement)) return rc;
  const size_t clause = findOrderBy(statement);
  if (clause == statement.npos) return failed(report, Msg::QRKQ018E);
  out.orderList = statement.substr(clause + kOrderBy.size() - 1);
  statement.resize(clause);
  out.baseQuery = std::move(statement);
  return 0;
}

}  // namespace orvxml

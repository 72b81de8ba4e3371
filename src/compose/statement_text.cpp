#include "src/compose/statement_text.h"

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/compose/composition.h"
#include "src/dad/dad_walk.h"
#include "src/outcome/failure.h"
#include "src/text/sql_scanner.h"

namespace orvxml {
namespace {

constexpr std::string_view kOrderBy = " ORDER BY ";
constexpr std::string_view kSmallOrderBy = " order by ";

Failure tooLong() {
  return Failure(Msg::QRKQ038E, kStatementTooLong);
}

// Normalised, in the database code page; not empty and shorter than the limit.
std::string normalised(QrkStruct* ctx, std::u16string text) {
  if (text.size() >= kStatementLimit) throw tooLong();
  qrkCleanQueryUcs(text.data());
  std::string statement;
  if (!toDatabase(ctx, text.c_str(), statement) || statement.empty()) {
    throw Failure(Msg::QRKQ001E);
  }
  if (statement.size() >= kStatementLimit) throw tooLong();
  return statement;
}

// The last clause counts: those in front of it belong to subselects.
size_t findOrderBy(std::string_view statement) {
  const size_t at = statement.rfind(kOrderBy);
  return at != statement.npos ? at : statement.rfind(kSmallOrderBy);
}

}  // namespace

StatementText readStatement(QrkStruct* ctx, const DOM_Element& sqlStmt, int overrideType,
                            const char* override) {
  std::u16string text;
  if (overrideType == NO_OVERRIDE) {
    text = dadtree::childText(sqlStmt.node());
  } else {
    QRK_TRACE(ctx, "SQL_OVERRIDE='%s'", override ? override : "");
    if (!toUtf16(ctx, override ? override : "", text)) throw Failure(Msg::QRKQ001E);
  }
  std::string statement = normalised(ctx, std::move(text));
  const size_t clause = findOrderBy(statement);
  if (clause == statement.npos) throw Failure(Msg::QRKQ018E);
  std::string orderList = statement.substr(clause + kOrderBy.size() - 1);
  statement.resize(clause);
  return {std::move(statement), std::move(orderList)};
}

}  // namespace orvxml

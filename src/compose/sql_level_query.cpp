#include "src/compose/sql_level_query.h"

#include <algorithm>
#include <cstring>

#include "orv/esql.h"
#include "orvxml/trace.h"
#include "src/compose/modules.h"
#include "src/compose/sql_query_text.h"
#include "src/dad/mapping_notices.h"
#include "src/server_access/cli_diagnostics.h"

namespace orvxml {

namespace {

SQLUSMALLINT columnNumber(size_t index) {
  return static_cast<SQLUSMALLINT>(index + 1);
}

std::string_view withoutBlanks(std::string_view text) {
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

}  // namespace

int isUCSEUC(int32_t codePage) {
  return codePage == 954 || codePage == 964 || codePage == 33722;
}

std::string_view ResultColumn::text() const {
  if (indicator < 1 || !data) return "";
  return {data.get(), static_cast<size_t>(std::min(indicator, capacity - 1))};
}

LevelQuery::LevelQuery(const SqlCall& call, LevelQuery* parent, int level, std::string base)
    : call_(call),
      parent_(parent),
      level_(level),
      base_(std::move(base)),
      statement_(call.report, kSqlMappingModule) {}

LevelQuery::~LevelQuery() {
  freeLocators();
}

int LevelQuery::open() {
  std::vector<std::string> columns;
  if (int rc = readLevel(call_.report, call_.levelMap, level_, columns)) return rc;
  if (int rc = topQuery(call_.report, columns, base_, text_)) return rc;
  if (int rc = statement_.allocate(call_.hdbc)) return rc;
  if (const SQLRETURN rc = statement_.executeDirect(text_); rc < 0) {
    statement_.diagnose(__LINE__);
    QRK_TRACE(call_.report.ctx, "top_query failed. rc=%d, top_query='%s'", rc, text_.c_str());
    return rc;
  }
  return bindColumns();
}

LevelQuery* LevelQuery::child(int level) {
  const auto known = children_.find(level);
  if (known != children_.end()) return known->second.get();
  const Report& report = call_.report;
  std::vector<std::string> columns;
  if (readLevel(report, call_.levelMap, level, columns)) return nullptr;
  const std::string& parentKey = columns_[static_cast<size_t>(level_)].name;
  std::string inner;
  if (innerQuery(report, base_, parentKey, inner)) return nullptr;
  std::vector<std::string> keysAbove;
  for (int above = 0; above < level; ++above) {
    std::vector<std::string> list;
    if (readLevel(report, call_.levelMap, above, list)) return nullptr;
    keysAbove.push_back(std::move(list.front()));
  }
  std::string text;
  if (childQuery(report, keysAbove, columns, inner, text)) return nullptr;
  auto query = std::make_unique<LevelQuery>(call_, this, level, std::move(inner));
  query->text_ = std::move(text);
  query->restrictions_ = restrictions_;
  query->restrictions_.push_back(parentKey);
  if (query->prepareChild()) return nullptr;
  return (children_[level] = std::move(query)).get();
}

int LevelQuery::prepareChild() {
  QrkStruct* const ctx = call_.report.ctx;
  if (int rc = statement_.allocate(call_.hdbc)) return rc;
  if (const SQLRETURN rc = statement_.prepare(text_); rc < 0) {
    QRK_TRACE(ctx, "Prepare sqlcode = %d", rc);
    QRK_TRACE(ctx, "SQLPrepare(%s) failed: %s", text_.c_str(), statement_.diagnostic().c_str());
    return statement_.failInternally(__LINE__);
  }
  QRK_TRACE(ctx, "CLI prepare succeeded.  childquery='%s'", text_.c_str());
  return bindParameters();
}

int LevelQuery::bindParameters() {
  QrkStruct* const ctx = call_.report.ctx;
  SQLSMALLINT count = 0;
  if (SQLNumParams(statement_.handle(), &count) < 0) {
    QRK_TRACE(ctx, "SQLNumParams(%s) failed: %s", text_.c_str(), statement_.diagnostic().c_str());
    return statement_.failInternally(__LINE__);
  }
  QRK_TRACE(ctx, "num parameters %d", count);
  parameters_.reserve(static_cast<size_t>(count));
  for (SQLSMALLINT i = 0; i < count; ++i) {
    if (int rc = bindParameter(columnNumber(static_cast<size_t>(i)))) return rc;
  }
  return 0;
}

int LevelQuery::failParameter(const char* call, SQLUSMALLINT number, const std::string& name,
                              int line) {
  QRK_TRACE(call_.report.ctx, "%s(%s, %d+1, %s) failed: %s", call, text_.c_str(), number - 1,
            name.c_str(), statement_.diagnostic().c_str());
  return statement_.failInternally(line);
}

int LevelQuery::bindParameter(SQLUSMALLINT number) {
  const bool isKnown = number <= restrictions_.size();
  const std::string name = isKnown ? restrictions_[number - 1U] : "";
  SQLSMALLINT type = 0, digits = 0;
  SQLUINTEGER size = 0;
  if (SQLDescribeParam(statement_.handle(), number, &type, &size, &digits, nullptr) < 0) {
    return failParameter("SQLDescribeParam", number, name, __LINE__);
  }
  const int index = isKnown ? parent_->findColumn(name) : -1;
  if (index < 0) {
    failInternal(call_.report, kSqlMappingModule, __LINE__);
    return -1;
  }
  return bindDescribed(number, parent_->columns_[static_cast<size_t>(index)], type, size, digits);
}

int LevelQuery::bindDescribed(SQLUSMALLINT number, ResultColumn& column, SQLSMALLINT type,
                              SQLUINTEGER size, SQLSMALLINT digits) {
  QrkStruct* const ctx = call_.report.ctx;
  const bool isGraphic = isGraphicType(type);
  SQLSMALLINT cType = SQL_C_CHAR;
  if (!isGraphic) {
    QRK_TRACE(ctx, "normal case for CLI bind");
  } else if (isUCSEUC(ctx->codePages->dbCodePage)) {
    QRK_TRACE(ctx, "EUC GRAPHIC case for CLI bind");
  } else {
    cType = SQL_C_DBCHAR;
    QRK_TRACE(ctx, "GRAPHIC case for CLI bind");
  }
  QRK_TRACE(ctx, "CLI_type=%d", cType);
  parameters_.push_back({&column, isGraphic, SQL_NTS});
  if (SQLBindParameter(statement_.handle(), number, SQL_PARAM_INPUT, cType, column.type, size,
                       digits, column.data.get(), column.capacity,
                       &parameters_.back().indicator) < 0) {
    return failParameter("SQLBindParameter", number, column.name, __LINE__);
  }
  QRK_TRACE(ctx, "CLI bind parm succeeded.  j=%d name=%s data='%s' type=%hd size=%u", number,
            column.name.c_str(), column.data ? column.data.get() : "", column.type, size);
  return 0;
}

int LevelQuery::run() {
  QrkStruct* const ctx = call_.report.ctx;
  for (Parameter& parameter : parameters_) {
    const ResultColumn& column = *parameter.column;
    parameter.indicator =
        parameter.hasLength ? static_cast<SQLINTEGER>(column.text().size()) : SQLINTEGER{SQL_NTS};
    if (column.isNull()) parameter.indicator = SQL_NULL_DATA;
    if (parameter.hasLength) {
      QRK_TRACE(ctx, "Strlen_or_Ind_Parm = %ld for col %s", long{parameter.indicator},
                column.name.c_str());
    }
  }
  hasLastKey_ = false;
  keyBeforeLast_.reset();
  if (const SQLRETURN rc = statement_.execute(); rc < 0) {
    SQLHANDLE handle = statement_.handle();
    const int code = qrkCLIError(ctx, rc, SQL_HANDLE_STMT, &handle, "childquery failed",
                                 kSqlMappingModule, __LINE__, call_.report.msg);
    if (call_.report.errCode) *call_.report.errCode = code;
    QRK_TRACE(ctx, "childquery failed. rc=%d, childquery='%s'", rc, text_.c_str());
    return -1;
  }
  return columns_.empty() ? bindColumns() : 0;
}

int LevelQuery::bindColumns() {
  SQLSMALLINT count = 0;
  if (const SQLRETURN rc = SQLNumResultCols(statement_.handle(), &count); rc < 0) {
    statement_.diagnose(__LINE__);
    return rc;
  }
  columns_.resize(static_cast<size_t>(count));
  for (size_t i = 0; i < columns_.size(); ++i) {
    if (int rc = bindColumn(columnNumber(i), columns_[i])) return rc;
  }
  return 0;
}

int LevelQuery::bindColumn(SQLUSMALLINT number, ResultColumn& column) {
  char name[kLevelSlotSize] = "";
  SQLSMALLINT length = 0;
  SQLUINTEGER size = 0;
  if (const SQLRETURN rc =
          SQLDescribeCol(statement_.handle(), number, reinterpret_cast<SQLCHAR*>(name), sizeof name,
                         &length, &column.type, &size, nullptr, nullptr);
      rc < 0) {
    statement_.diagnose(__LINE__);
    return rc;
  }
  column.name = name;
  SQLRETURN rc = 0;
  if (column.isLargeObject()) {
    largeObjects_.push_back(&column);
    rc = SQLBindCol(statement_.handle(), number, SQL_C_CLOB_LOCATOR, &column.locator,
                    sizeof column.locator, &column.indicator);
  } else {
    column.capacity = textBufferSize(column.type, size);
    column.data.reset(static_cast<char*>(std::calloc(1, static_cast<size_t>(column.capacity))));
    if (!column.data) {
      return failed(call_.report, Msg::QRKG002E);
    }
    rc = SQLBindCol(statement_.handle(), number, SQL_C_CHAR, column.data.get(), column.capacity,
                    &column.indicator);
  }
  QRK_TRACE(call_.report.ctx, "Allocate %d %d bytes for %s type %d.", number, column.capacity, name,
            column.type);
  if (rc < 0) statement_.diagnose(__LINE__);
  return std::min<int>(rc, 0);
}

int LevelQuery::qrkFetchNextObj() {
  QrkStruct* const ctx = call_.report.ctx;
  QRK_TRACE(ctx, "Entered, lastKey='%s'", lastKey_.c_str());
  const ResultColumn& key = columns_[static_cast<size_t>(level_)];
  SQLRETURN rc = SQL_SUCCESS;
  do {
    if (int status = freeLocators()) return status;
    rc = examined(SQLFetch(statement_.handle()));
    if (rc == SQL_SUCCESS && key.isNull()) QRK_TRACE(ctx, "key is NULL");
  } while (rc == SQL_SUCCESS && !isNewKey(key));
  if (rc != SQL_SUCCESS && rc != SQL_NO_DATA) statement_.diagnose(__LINE__);
  QRK_TRACE(ctx, "Exits, thisKey='%s' rc=%d", std::string(key.text()).c_str(), rc);
  return rc;
}

// Null values that an aggregate left out are no failure of the row.
SQLRETURN LevelQuery::examined(SQLRETURN rc) {
  if (rc != SQL_SUCCESS_WITH_INFO) return rc;
  const CliDiagnostic warning = firstDiagnostic(SQL_HANDLE_STMT, statement_.handle());
  QRK_TRACE(call_.report.ctx, "clistate=%s, msgtext=%s", warning.state, warning.text);
  const bool isHarmless = std::strcmp(warning.state, "01003") == 0;
  return isHarmless ? SQLRETURN{SQL_SUCCESS} : rc;
}

// Notes the key. A null key is the empty string.
bool LevelQuery::isNewKey(const ResultColumn& key) {
  const std::string_view text = key.text();
  if (hasLastKey_ && lastKey_ == text) return false;
  if (hasLastKey_ && noticeListener()) warnOfBlanks(key);
  hasLastKey_ = true;
  lastKeyIsNull_ = key.isNull();
  lastKey_.assign(text);
  return true;
}

// The server takes keys that differ in trailing blanks for equal: they come in any order, and what
// belongs to one is found for the other as well.
void LevelQuery::warnOfBlanks(const ResultColumn& key) {
  const std::string_view text = key.text();
  if (key.isNull() || lastKeyIsNull_ || withoutBlanks(lastKey_) != withoutBlanks(text)) {
    keyBeforeLast_.reset();
    return;
  }
  const bool comesAgain = keyBeforeLast_ == text;
  keyBeforeLast_ = lastKey_;
  if (!comesAgain && children_.empty()) return;
  QrkStruct* const ctx = call_.report.ctx;
  tellWarning("keys-differ-in-blanks", call_.statement,
              "the keys \"" + shownText(ctx, lastKey_) + "\" and \"" + shownText(ctx, text) +
                  "\" of column " + shownText(ctx, key.name) + " differ in trailing blanks alone" +
                  (comesAgain ? ", and the second comes again behind the first: it becomes one "
                                "more element"
                              : ": each becomes an element, and each gets what belongs to both"));
}

int LevelQuery::freeLocators() {
  int result = 0;
  for (ResultColumn* column : largeObjects_) {
    if (column->locator == 0) continue;
    QRK_TRACE(call_.report.ctx, "Free the Locator");
    sqlca area{};
    orv::esql::freeLocator(column->locator, area);
    column->locator = 0;
    if (area.sqlcode == 0) continue;
    QRK_TRACE(call_.report.ctx, "Error While Locator Free");
    failDbInternal(call_.report, area, kSqlMappingModule, __LINE__);
    result = -1;
  }
  return result;
}

int LevelQuery::endRows() {
  const int freed = freeLocators();
  const int closed = statement_.closeCursor();
  return freed ? freed : closed;
}

int LevelQuery::endChildRows() {
  int result = 0;
  for (const auto& [level, query] : children_) {
    if (query->endChildRows() || query->endRows()) result = -1;
  }
  return result;
}

std::string LevelQuery::rowName() const {
  std::string name;
  for (size_t i = 0; i <= static_cast<size_t>(level_) && i < columns_.size(); ++i) {
    if (columns_[i].isLargeObject() || columns_[i].isNull()) continue;
    if (!name.empty()) name += ", ";
    name += shownValue(call_.report.ctx, columns_[i].name, columns_[i].text());
  }
  return name;
}

int LevelQuery::close() {
  int result = 0;
  for (const auto& [level, query] : children_) {
    if (query->close()) result = -1;
  }
  children_.clear();
  if (statement_.close()) result = -1;
  if (freeLocators()) result = -1;
  if (parent_) QRK_TRACE(call_.report.ctx, "close childhstmt at exit %d", result);
  return result;
}

int LevelQuery::findColumn(std::string_view name) const {
  const auto found = std::find_if(columns_.begin(), columns_.end(),
                                  [&](const ResultColumn& column) { return column.name == name; });
  return found == columns_.end() ? -1 : static_cast<int>(found - columns_.begin());
}

}  // namespace orvxml

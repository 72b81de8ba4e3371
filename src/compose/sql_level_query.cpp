#include "src/compose/sql_level_query.h"

#include <algorithm>
#include <cstring>

#include "orv/esql.h"
#include "orvxml/trace.h"
#include "src/compose/sql_query_text.h"
#include "src/dad/mapping_notices.h"
#include "src/outcome/all_steps.h"
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
    : call_(call), parent_(parent), level_(level), base_(std::move(base)), statement_(call.ctx) {}

LevelQuery::~LevelQuery() {
  releaseLocators();
}

void LevelQuery::open() {
  text_ = topQuery(readLevel(call_.ctx, call_.levelMap, level_), base_);
  statement_.allocate(call_.hdbc);
  if (const SQLRETURN rc = statement_.executeDirect(text_); rc < 0) {
    QRK_TRACE(call_.ctx, "top_query failed. rc=%d, top_query='%s'", rc, text_.c_str());
    throw statement_.failure();
  }
  bindColumns();
}

LevelQuery& LevelQuery::child(int level) {
  const auto known = children_.find(level);
  if (known != children_.end()) return *known->second;
  const std::vector<std::string> columns = readLevel(call_.ctx, call_.levelMap, level);
  const std::string& parentKey = columns_[static_cast<size_t>(level_)].name;
  std::string inner = innerQuery(call_.ctx, base_, parentKey);
  std::vector<std::string> keysAbove;
  keysAbove.reserve(static_cast<size_t>(level));
  for (int above = 0; above < level; ++above) {
    keysAbove.push_back(readLevel(call_.ctx, call_.levelMap, above).front());
  }
  std::string text = childQuery(keysAbove, columns, inner);
  auto query = std::make_unique<LevelQuery>(call_, this, level, std::move(inner));
  query->text_ = std::move(text);
  query->restrictions_ = restrictions_;
  query->restrictions_.push_back(parentKey);
  query->prepareChild();
  return *(children_[level] = std::move(query));
}

void LevelQuery::prepareChild() {
  QrkStruct* const ctx = call_.ctx;
  statement_.allocate(call_.hdbc);
  if (const SQLRETURN rc = statement_.prepare(text_); rc < 0) {
    QRK_TRACE(ctx, "Prepare sqlcode = %d", rc);
    QRK_TRACE(ctx, "SQLPrepare(%s) failed: %s", text_.c_str(), statement_.diagnostic().c_str());
    throw statement_.internalFailure();
  }
  QRK_TRACE(ctx, "CLI prepare succeeded.  childquery='%s'", text_.c_str());
  bindParameters();
}

void LevelQuery::bindParameters() {
  QrkStruct* const ctx = call_.ctx;
  SQLSMALLINT count = 0;
  if (SQLNumParams(statement_.handle(), &count) < 0) {
    QRK_TRACE(ctx, "SQLNumParams(%s) failed: %s", text_.c_str(), statement_.diagnostic().c_str());
    throw statement_.internalFailure();
  }
  QRK_TRACE(ctx, "num parameters %d", count);
  parameters_.reserve(static_cast<size_t>(count));
  for (SQLSMALLINT i = 0; i < count; ++i) bindParameter(columnNumber(static_cast<size_t>(i)));
}

// Of a parameter that failed.
void LevelQuery::traceParameter(const char* call, SQLUSMALLINT number,
                                const std::string& name) const {
  QRK_TRACE(call_.ctx, "%s(%s, %d+1, %s) failed: %s", call, text_.c_str(), number - 1, name.c_str(),
            statement_.diagnostic().c_str());
}

void LevelQuery::bindParameter(SQLUSMALLINT number) {
  const bool isKnown = number <= restrictions_.size();
  const std::string name = isKnown ? restrictions_[number - 1U] : "";
  SQLSMALLINT type = 0, digits = 0;
  SQLUINTEGER size = 0;
  if (SQLDescribeParam(statement_.handle(), number, &type, &size, &digits, nullptr) < 0) {
    traceParameter("SQLDescribeParam", number, name);
    throw statement_.internalFailure();
  }
  const int index = isKnown ? parent_->findColumn(name) : -1;
  if (index < 0) throw Failure::internal();
  bindDescribed(number, parent_->columns_[static_cast<size_t>(index)], type, size, digits);
}

void LevelQuery::bindDescribed(SQLUSMALLINT number, ResultColumn& column, SQLSMALLINT type,
                               SQLUINTEGER size, SQLSMALLINT digits) {
  QrkStruct* const ctx = call_.ctx;
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
    traceParameter("SQLBindParameter", number, column.name);
    throw statement_.internalFailure();
  }
  QRK_TRACE(ctx, "CLI bind parm succeeded.  j=%d name=%s data='%s' type=%hd size=%u", number,
            column.name.c_str(), column.data ? column.data.get() : "", column.type, size);
}

void LevelQuery::run() {
  QrkStruct* const ctx = call_.ctx;
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
    QRK_TRACE(ctx, "childquery failed. rc=%d, childquery='%s'", rc, text_.c_str());
    throw cliFailure(ctx, rc, SQL_HANDLE_STMT, statement_.handle(), "childquery failed");
  }
  if (columns_.empty()) bindColumns();
}

void LevelQuery::bindColumns() {
  SQLSMALLINT count = 0;
  if (SQLNumResultCols(statement_.handle(), &count) < 0) throw statement_.failure();
  columns_.resize(static_cast<size_t>(count));
  for (size_t i = 0; i < columns_.size(); ++i) bindColumn(columnNumber(i), columns_[i]);
}

void LevelQuery::bindColumn(SQLUSMALLINT number, ResultColumn& column) {
  char name[kLevelSlotSize] = "";
  SQLSMALLINT length = 0;
  SQLUINTEGER size = 0;
  if (SQLDescribeCol(statement_.handle(), number, reinterpret_cast<SQLCHAR*>(name), sizeof name,
                     &length, &column.type, &size, nullptr, nullptr) < 0) {
    throw statement_.failure();
  }
  column.name = name;
  SQLRETURN rc = 0;
  if (column.isLargeObject()) {
    largeObjects_.push_back(&column);
    rc = SQLBindCol(statement_.handle(), number, SQL_C_CLOB_LOCATOR, &column.locator,
                    sizeof column.locator, &column.indicator);
  } else {
    column.capacity = textBufferSize(column.type, size);
    column.data.reset(allocateZeroed<char>(static_cast<size_t>(column.capacity)));
    rc = SQLBindCol(statement_.handle(), number, SQL_C_CHAR, column.data.get(), column.capacity,
                    &column.indicator);
  }
  QRK_TRACE(call_.ctx, "Allocate %d %d bytes for %s type %d.", number, column.capacity, name,
            column.type);
  if (rc < 0) throw statement_.failure();
}

bool LevelQuery::qrkFetchNextObj() {
  QrkStruct* const ctx = call_.ctx;
  QRK_TRACE(ctx, "Entered, lastKey='%s'", lastKey_.c_str());
  const ResultColumn& key = columns_[static_cast<size_t>(level_)];
  SQLRETURN rc = SQL_SUCCESS;
  do {
    freeLocators();
    rc = examined(SQLFetch(statement_.handle()));
    if (rc == SQL_SUCCESS && key.isNull()) QRK_TRACE(ctx, "key is NULL");
  } while (rc == SQL_SUCCESS && !isNewKey(key));
  QRK_TRACE(ctx, "Exits, thisKey='%s' rc=%d", std::string(key.text()).c_str(), rc);
  if (rc != SQL_SUCCESS && rc != SQL_NO_DATA) throw statement_.failure();
  return rc == SQL_SUCCESS;
}

// Null values that an aggregate left out are no failure of the row.
SQLRETURN LevelQuery::examined(SQLRETURN rc) {
  if (rc != SQL_SUCCESS_WITH_INFO) return rc;
  const CliDiagnostic warning = firstDiagnostic(SQL_HANDLE_STMT, statement_.handle());
  QRK_TRACE(call_.ctx, "clistate=%s, msgtext=%s", warning.state, warning.text);
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
  QrkStruct* const ctx = call_.ctx;
  tellWarning("keys-differ-in-blanks", call_.statement,
              "the keys \"" + shownText(ctx, lastKey_) + "\" and \"" + shownText(ctx, text) +
                  "\" of column " + shownText(ctx, key.name) + " differ in trailing blanks alone" +
                  (comesAgain ? ", and the second comes again behind the first: it becomes one "
                                "more element"
                              : ": each becomes an element, and each gets what belongs to both"));
}

std::optional<sqlca> LevelQuery::releaseLocators() {
  std::optional<sqlca> refusal;
  for (ResultColumn* column : largeObjects_) {
    if (column->locator == 0) continue;
    QRK_TRACE(call_.ctx, "Free the Locator");
    sqlca area{};
    orv::esql::freeLocator(column->locator, area);
    column->locator = 0;
    if (area.sqlcode == 0) continue;
    QRK_TRACE(call_.ctx, "Error While Locator Free");
    refusal = area;
  }
  return refusal;
}

void LevelQuery::freeLocators() {
  if (const auto refusal = releaseLocators()) throw Failure::ofServerInternal(*refusal);
}

void LevelQuery::endRows() {
  AllSteps().run([&] { freeLocators(); }).run([&] { statement_.closeCursor(); }).end();
}

void LevelQuery::endChildRows() {
  AllSteps steps;
  for (const auto& [level, query] : children_) {
    steps.run([&query = *query] {
      query.endChildRows();
      query.endRows();
    });
  }
  steps.end();
}

std::string LevelQuery::rowName() const {
  std::string name;
  for (size_t i = 0; i <= static_cast<size_t>(level_) && i < columns_.size(); ++i) {
    if (columns_[i].isLargeObject() || columns_[i].isNull()) continue;
    if (!name.empty()) name += ", ";
    name += shownValue(call_.ctx, columns_[i].name, columns_[i].text());
  }
  return name;
}

void LevelQuery::close() {
  AllSteps steps;
  for (const auto& [level, query] : children_) {
    steps.run([&query = *query] { query.close(); });
  }
  children_.clear();
  steps.run([&] { statement_.close(); }).run([&] { freeLocators(); }).end();
  if (parent_) QRK_TRACE(call_.ctx, "close childhstmt at exit %d", 0);
}

int LevelQuery::findColumn(std::string_view name) const {
  const auto found = std::find_if(columns_.begin(), columns_.end(),
                                  [&](const ResultColumn& column) { return column.name == name; });
  return found == columns_.end() ? -1 : static_cast<int>(found - columns_.begin());
}

}  // namespace orvxml

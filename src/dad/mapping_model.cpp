// The tables of the mapping model: made from the top RDB_node, looked up, freed.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "orvxml/trace.h"
#include "src/dad/dad_walk.h"
#include "src/dad/mapping_model.h"
#include "src/dad/model_steps.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

using namespace dadtree;

namespace {

constexpr int kInitialColumns = 20;
constexpr int kOrderBySize = 2561;           // bytes
constexpr size_t kTopConditionLimit = 3999;  // characters
constexpr int32_t kNoLevel = INT32_MAX;

template <class T>
T* allocate(size_t count) {
  return static_cast<T*>(std::calloc(count, sizeof(T)));
}

void freeDescriptor(sqlda* descriptor) {
  if (!descriptor) return;
  for (int i = 0; i < descriptor->sqld; ++i) std::free(descriptor->sqlvar[i].sqldata);
  std::free(descriptor);
}

void freeTable(tab* table, int numCond) {
  if (!table) return;
  std::free(table->col2xml);
  std::free(table->stmt);
  std::free(table->lengths);
  std::free(table->indicators);
  freeDescriptor(table->descriptor);
  if (table->hstmt) SQLFreeHandle(SQL_HANDLE_STMT, table->hstmt);
  if (table->orderBy_owned) std::free(table->orderBy);
  for (int i = 0; table->join_info && i < numCond; ++i) std::free(table->join_info[i].foreign);
  std::free(table->join_info);
  std::free(table);
}

// Reads the tables of the top RDB_node into the model.
class TableReader {
 public:
  TableReader(const Report& report, rel& model, int purpose)
      : report_(report), model_(model), purpose_(purpose) {}

  // 0, -1, or the scanner's code for a table or key name that does not split; such a name is
  // reported once all tables have been read.
  int readAll(const xercesc::DOMNode* topRdb) {
    for (auto* child = topRdb->getFirstChild(); child; child = child->getNextSibling()) {
      if (!hasTag(child, u"table")) continue;
      if (int rc = readOne(asElement(child))) return rc;
    }
    if (!badNameCode_) return 0;
    tellPlace(badNameAt_, "table");
    return failName(report_, badName_, badNameCode_);
  }

 private:
  int outOfMemory() { return failed(report_, Msg::QRKG002E); }

  int readOne(const xercesc::DOMElement* element) {
    tab* table = allocate<tab>(1);
    if (!table) return outOfMemory();
    int rc = fill(*table, element);
    if (!rc && model_.num_of_tables == QRK_NUMTAB_IN_REL) {
      tellPlace(element);
      rc = failLimit(report_, kTablesLimit, __LINE__);
    }
    if (rc) {
      freeTable(table, 0);
      return rc;
    }
    model_.tab[model_.num_of_tables++] = table;
    return 0;
  }

  int fill(tab& table, const xercesc::DOMElement* element) {
    table.stmt = allocate<char>(kStatementSize);
    table.col2xml = allocate<col2xml_entry>(kInitialColumns);
    if (!table.stmt || !table.col2xml) return outOfMemory();
    table.max_col = kInitialColumns;
    table.level = kNoLevel;
    const char16_t* name = boundedAttribute(element, u"name", kQualifiedNameLimit);
    if (!name) {
      return failAt(element, lacksName("table", element, kQualifiedNameLimit), report_,
                    Msg::QRKQ013E);
    }
    if (int rc = qrkParseWQualTbl(report_.ctx, name, table.schema, sizeof table.schema, table.name,
                                  sizeof table.name)) {
      rememberBadName(element, name, rc);
    }
    if (int rc = readOrderBy(table, element)) return rc;
    return purpose_ == kForDecomposition ? readKey(table, element) : 0;
  }

  int readOrderBy(tab& table, const xercesc::DOMElement* element) {
    const char16_t* text = boundedAttribute(element, u"orderBy", kOrderByLimit);
    if (!text) return 0;
    std::string columns;
    if (!toDatabase(report_.ctx, text, columns)) {
      return failAt(element, {}, report_, Msg::QRKQ055E,
                    std::string("orderBy of table ") + table.name + " does not convert");
    }
    table.orderBy = allocate<char>(std::max<size_t>(kOrderBySize, columns.size() + 1));
    if (!table.orderBy) return outOfMemory();
    std::memcpy(table.orderBy, columns.c_str(), columns.size() + 1);
    table.orderBy_owned = 1;
    return 0;
  }

  int readKey(tab& table, const xercesc::DOMElement* element) {
    const char16_t* key = boundedAttribute(element, u"key", kKeyLimit);
    if (!key) return 0;
    const char16_t* cursor = key;
    QrkSqlToken token;
    for (;;) {
      qrkGetSqlToken(report_.ctx, &cursor, &token);
      if (token.type == Type_EOF) return 0;
      if (token.type != Type_Identifier && token.type != Type_DelimitedId) {
        // A name of more bytes than the scanner takes is none to it.
        rememberBadName(element, key, kNotAnIdentifier);
        return 0;
      }
      if (std::strlen(token.text) >= sizeof table.pri_key.name[0]) {
        rememberBadName(element, key, kNameTooLong);
        return 0;
      }
      if (table.pri_key.num == kMaxKeyColumns) {
        tellPlace(element);
        return failLimit(report_, kKeyColumnsLimit, __LINE__);
      }
      std::strcpy(table.pri_key.name[table.pri_key.num++], token.text);
    }
  }

  void rememberBadName(const xercesc::DOMElement* element, const char16_t* name, int code) {
    if (badNameCode_) return;
    badNameAt_ = element;
    badName_ = name;
    badNameCode_ = code;
  }

  const Report& report_;
  rel& model_;
  const int purpose_;
  const xercesc::DOMElement* badNameAt_ = nullptr;
  const char16_t* badName_ = nullptr;
  int badNameCode_ = 0;
};

// The normalised text of the join condition; empty when there is none.
int readTopCondition(const Report& report, const DOM_Element& element, std::u16string& condition) {
  if (element.isNull()) return 0;
  condition = childText(element.node());
  if (condition.size() > kTopConditionLimit) {
    tellPlace(element.node());
    return failLimit(report, kJoinConditionLimit, __LINE__);
  }
  if (condition.empty()) return 0;
  if (qrkCleanQueryUcs(report.ctx, condition.data(), report)) return -1;
  condition.resize(std::u16string_view(condition.c_str()).size());
  return 0;
}

int makeJoinInfo(const Report& report, rel& model) {
  for (int i = 0; i < model.num_of_tables; ++i) {
    auto* entries = allocate<join_info_entry>(static_cast<size_t>(model.num_cond));
    if (!entries) return failed(report, Msg::QRKG002E);
    model.tab[i]->join_info = entries;
  }
  return 0;
}

}  // namespace

int qrkSetRel(QrkStruct* ctx, rel* relinfo, const DOM_Element& dad, int qrk_type, int* errCode,
              char* msg) {
  QRK_TRACE(ctx, "Entered, qrk_type=%d", qrk_type);
  const Report report{.ctx = ctx, .msg = msg, .errCode = errCode};
  // The connection stays: the caller may have set it already.
  relinfo->level = -1;
  relinfo->num_of_tables = 0;
  relinfo->num_cond = 0;
  std::fill_n(relinfo->tab, QRK_NUMTAB_IN_REL, nullptr);
  relinfo->top_elements = nullptr;
  auto missing = [&](const char* what, const DOM_Element& at = {}) {
    return failAt(at.node(), {}, report, Msg::QRKQ000E, what);
  };
  if (dad.isNull()) return missing("root_node");
  const DOM_Element topRdb = dad.firstDescendant(u"RDB_node");
  const DOM_Element join = topRdb.firstDescendant(u"condition");
  std::u16string condition;
  if (int rc = readTopCondition(report, join, condition)) return rc;
  if (topRdb.isNull()) return missing("RDB_node", dad);
  if (!topRdb.node()->hasChildNodes()) return missing("table & column", topRdb);

  if (int rc = TableReader(report, *relinfo, qrk_type).readAll(topRdb.node())) return rc;
  relinfo->num_cond = static_cast<int32_t>(std::count(condition.begin(), condition.end(), u'='));
  if (relinfo->num_cond > 0) {
    if (int rc = makeJoinInfo(report, *relinfo)) return rc;
  }
  if (condition.empty()) return 0;
  return whereparser(report, *relinfo, qrk_type, condition.c_str(), join.node());
}

int qrkFreeRel(QrkStruct* ctx, rel* relinfo) {
  QRK_TRACE(ctx, "Entered");
  for (tab*& table : relinfo->tab) {
    freeTable(table, relinfo->num_cond);
    table = nullptr;
  }
  std::free(relinfo->top_elements);
  relinfo->top_elements = nullptr;
  relinfo->num_of_tables = 0;
  return 0;
}

int mappingOutcome(const Report& report, int result, int code) {
  if (result == 0 && code >= 0) return 0;
  if (*report.msg == '\0') fail(report, Msg::QRKQ012E);
  return code < 0 ? code : -std::abs(result);
}

tab* findTabByName(QrkStruct* /*ctx*/, rel* relinfo, const char* schema, const char* name) {
  for (int i = 0; i < relinfo->num_of_tables; ++i) {
    tab* table = relinfo->tab[i];
    if (cmpQualTblName(table->schema, schema, table->name, name) == 0) return table;
  }
  return nullptr;
}

int qrkFindTabByName(QrkStruct* ctx, rel* relinfo, const char* schema, const char* name,
                     tab** found, int* errCode, char* msg) {
  *found = findTabByName(ctx, relinfo, schema, name);
  if (*found) return 0;
  return failed(Report{.ctx = ctx, .msg = msg, .errCode = errCode}, Msg::QRKQ012E);
}

join_info_entry* qrkGetJoinInfo(QrkStruct* /*ctx*/, tab* table, const char* col) {
  for (int i = 0; i < table->num_join; ++i) {
    if (std::strcmp(table->join_info[i].col, col) == 0) return &table->join_info[i];
  }
  return nullptr;
}

int isInTab(QrkStruct* /*ctx*/, const tab* table, const char* xmlName) {
  return std::strcmp(table->top_element, xmlName) == 0 || columnNamed(*table, xmlName) >= 0;
}

int columnNamed(const tab& table, std::string_view xmlName) {
  for (int i = 0; i < table.num_col; ++i) {
    if (xmlName == table.col2xml[i].xml) return i;
  }
  return -1;
}

col2xml_entry* findColumnMapping(tab* table, const char* col) {
  for (int i = 0; i < table->num_col; ++i) {
    if (std::strcmp(table->col2xml[i].col, col) == 0) return &table->col2xml[i];
  }
  return nullptr;
}

}  // namespace orvxml

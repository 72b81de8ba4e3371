// The tables of the mapping model: made from the top RDB_node, looked up, freed.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

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

struct FreeTable {
  void operator()(tab* table) const { freeTable(table, 0); }
};

// Reads the tables of the top RDB_node into the model.
class TableReader {
 public:
  explicit TableReader(const Building& building)
      : ctx_(building.ctx), model_(building.model), purpose_(building.purpose) {}

  // A table or key name that does not split fails once all tables have been read.
  void readAll(const xercesc::DOMNode* topRdb) {
    for (auto* child = topRdb->getFirstChild(); child; child = child->getNextSibling()) {
      if (hasTag(child, u"table")) readOne(asElement(child));
    }
    if (badNameCode_) throw at(badNameAt_, invalidName(ctx_, badName_, badNameCode_), "table");
  }

 private:
  void readOne(const xercesc::DOMElement* element) {
    std::unique_ptr<tab, FreeTable> table(allocate<tab>(1));
    fill(*table, element);
    if (model_.num_of_tables == QRK_NUMTAB_IN_REL) throw at(element, exceeded(kTablesLimit));
    model_.tab[model_.num_of_tables++] = table.release();
  }

  void fill(tab& table, const xercesc::DOMElement* element) {
    table.stmt = allocate<char>(kStatementSize);
    table.col2xml = allocate<col2xml_entry>(kInitialColumns);
    table.max_col = kInitialColumns;
    table.level = kNoLevel;
    const char16_t* name = boundedAttribute(element, u"name", kQualifiedNameLimit);
    if (!name) {
      throw at(element, Failure(Msg::QRKQ013E), lacksName("table", element, kQualifiedNameLimit));
    }
    if (int code = qrkParseWQualTbl(ctx_, name, table.schema, sizeof table.schema, table.name,
                                    sizeof table.name)) {
      rememberBadName(element, name, code);
    }
    readOrderBy(table, element);
    if (purpose_ == kForDecomposition) readKey(table, element);
  }

  void readOrderBy(tab& table, const xercesc::DOMElement* element) {
    const char16_t* text = boundedAttribute(element, u"orderBy", kOrderByLimit);
    if (!text) return;
    std::string columns;
    if (!toDatabase(ctx_, text, columns)) {
      throw at(element, Failure(Msg::QRKQ055E, std::string("orderBy of table ") + table.name +
                                                   " does not convert"));
    }
    table.orderBy = allocate<char>(std::max<size_t>(kOrderBySize, columns.size() + 1));
    table.orderBy_owned = 1;
    std::memcpy(table.orderBy, columns.c_str(), columns.size() + 1);
  }

  void readKey(tab& table, const xercesc::DOMElement* element) {
    const char16_t* key = boundedAttribute(element, u"key", kKeyLimit);
    if (!key) return;
    const char16_t* cursor = key;
    QrkSqlToken token;
    for (;;) {
      qrkGetSqlToken(ctx_, &cursor, &token);
      if (token.type == Type_EOF) return;
      if (token.type != Type_Identifier && token.type != Type_DelimitedId) {
        // A name of more bytes than the scanner takes is none to it.
        return rememberBadName(element, key, kNotAnIdentifier);
      }
      if (std::strlen(token.text) >= sizeof table.pri_key.name[0]) {
        return rememberBadName(element, key, kNameTooLong);
      }
      if (table.pri_key.num == kMaxKeyColumns) throw at(element, exceeded(kKeyColumnsLimit));
      std::strcpy(table.pri_key.name[table.pri_key.num++], token.text);
    }
  }

  void rememberBadName(const xercesc::DOMElement* element, const char16_t* name, int code) {
    if (badNameCode_) return;
    badNameAt_ = element;
    badName_ = name;
    badNameCode_ = code;
  }

  QrkStruct* const ctx_;
  rel& model_;
  const MappingPurpose purpose_;
  const xercesc::DOMElement* badNameAt_ = nullptr;
  const char16_t* badName_ = nullptr;
  int badNameCode_ = 0;
};

// The normalised text of the join condition; empty when there is none.
std::u16string readTopCondition(const DOM_Element& element) {
  if (element.isNull()) return {};
  std::u16string condition = childText(element.node());
  if (condition.size() > kTopConditionLimit) {
    throw at(element.node(), exceeded(kJoinConditionLimit));
  }
  if (condition.empty()) return {};
  qrkCleanQueryUcs(condition.data());
  condition.resize(std::u16string_view(condition.c_str()).size());
  return condition;
}

void makeJoinInfo(rel& model) {
  if (model.num_cond == 0) return;
  for (int i = 0; i < model.num_of_tables; ++i) {
    model.tab[i]->join_info = allocate<join_info_entry>(static_cast<size_t>(model.num_cond));
  }
}

}  // namespace

void qrkSetRel(QrkStruct* ctx, rel* relinfo, const DOM_Element& dad, MappingPurpose purpose) {
  QRK_TRACE(ctx, "Entered, qrk_type=%d", purpose);
  // The connection stays: the caller may have set it already.
  relinfo->level = -1;
  relinfo->num_of_tables = 0;
  relinfo->num_cond = 0;
  std::fill_n(relinfo->tab, QRK_NUMTAB_IN_REL, nullptr);
  relinfo->top_elements = nullptr;
  if (dad.isNull()) throw Failure(Msg::QRKQ000E, "root_node");
  const DOM_Element topRdb = dad.firstDescendant(u"RDB_node");
  const DOM_Element join = topRdb.firstDescendant(u"condition");
  const std::u16string condition = readTopCondition(join);
  if (topRdb.isNull()) throw at(dad.node(), Failure(Msg::QRKQ000E, "RDB_node"));
  if (!topRdb.node()->hasChildNodes()) {
    throw at(topRdb.node(), Failure(Msg::QRKQ000E, "table & column"));
  }
  const Building building{ctx, *relinfo, purpose};
  TableReader(building).readAll(topRdb.node());
  relinfo->num_cond = static_cast<int32_t>(std::count(condition.begin(), condition.end(), u'='));
  makeJoinInfo(*relinfo);
  if (!condition.empty()) whereparser(building, condition.c_str(), join.node());
}

void qrkFreeRel(QrkStruct* ctx, rel* relinfo) {
  QRK_TRACE(ctx, "Entered");
  for (tab*& table : relinfo->tab) {
    freeTable(table, relinfo->num_cond);
    table = nullptr;
  }
  std::free(relinfo->top_elements);
  relinfo->top_elements = nullptr;
  relinfo->num_of_tables = 0;
}

tab* findTabByName(QrkStruct* /*ctx*/, rel* relinfo, const char* schema, const char* name) {
  for (int i = 0; i < relinfo->num_of_tables; ++i) {
    tab* table = relinfo->tab[i];
    if (cmpQualTblName(table->schema, schema, table->name, name) == 0) return table;
  }
  return nullptr;
}

tab& qrkFindTabByName(QrkStruct* ctx, rel* relinfo, const char* schema, const char* name) {
  tab* const found = findTabByName(ctx, relinfo, schema, name);
  if (!found) throw Failure(Msg::QRKQ012E);
  return *found;
}

join_info_entry* qrkGetJoinInfo(QrkStruct* /*ctx*/, tab* table, const char* col) {
  for (int i = 0; i < table->num_join; ++i) {
    if (std::strcmp(table->join_info[i].col, col) == 0) return &table->join_info[i];
  }
  return nullptr;
}

bool isInTab(QrkStruct* /*ctx*/, const tab* table, const char* xmlName) {
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

// The columns of the mapping model: the walk over the element tree that collects them, and the
// conditions that stand with them or come from the caller of composition.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "orvxml/trace.h"
#include "orvxml/utilities.h"
#include "src/dad/dad_walk.h"
#include "src/dad/mapping_model.h"
#include "src/dad/model_steps.h"
#include "src/dad/overrides.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

using namespace dadtree;

namespace {

constexpr int kColumnsStep = 20;
constexpr int kElementNameLimit = 1023;         // characters
constexpr size_t kColumnConditionLimit = 2001;  // characters
constexpr size_t kColumnConditionBytes = 1000;
constexpr char16_t kNoName[] = u"QRK_NO_NAME";
constexpr char16_t kMatchesNothing[] = u"/QRK_NOT_AN_ELEMENT";
constexpr std::string_view kAnd = " AND ";

// What one column RDB_node says.
struct ColumnSource {
  char schema[kSchemaSize] = "";
  char table[kTableSize] = "";
  const char16_t* column = nullptr;
  std::string type;
  std::string condition;
};

class ColumnCollector {
 public:
  ColumnCollector(const Report& report, rel& model, int purpose, override_list* overrides)
      : report_(report), model_(model), purpose_(purpose), overrides_(overrides) {
    if (overrides_ && overrides_->count > 0) open_.emplace(report.ctx);
  }

  void enter(xercesc::DOMElement* element) {
    ++model_.level;
    if (!open_) return;
    const char16_t* name = boundedAttribute(element, u"name", kElementNameLimit);
    open_->push(name ? name : kNoName, QrkAttrs(report_.ctx));
  }

  void leave(xercesc::DOMElement*) {
    --model_.level;
    if (open_) open_->pop();
  }

  // qrkProcRDB: one column RDB_node.
  int leaf(xercesc::DOMElement* node, xercesc::DOMElement* rdb) {
    ColumnSource source;
    if (int rc = readSource(rdb, source)) return rc;
    if (int rc = checkSource(node, source)) return rc;
    tab* table = findTabByName(report_.ctx, &model_, source.schema, source.table);
    if (!table) {
      return failAt(rdb, shownItem(node) + ": " + unlisted(source), report_, Msg::QRKQ016E);
    }
    if (int rc = growColumns(*table)) {
      tellPlace(node, shownItem(node));
      return rc;
    }
    col2xml_entry& entry = table->col2xml[table->num_col];
    if (int rc = fillEntry(node, source, entry)) return rc;
    ++table->num_col;
    applyOverrides(node, *table, entry.col, source.condition);
    if (int rc = addCondition(*table, source.condition)) {
      tellPlace(rdb, shownItem(node));
      return rc;
    }
    table->level = std::min(table->level, model_.level);
    return 0;
  }

 private:
  int internalError(const xercesc::DOMNode* node, std::string_view lacks, int line) {
    tellPlace(node, lacks);
    failInternal(report_, kModule, line);
    return -1;
  }

  // A column without name or type: its message, but the code of a missing part of the DAD.
  int namelessColumn(const xercesc::DOMElement* element, std::string_view lacks) {
    failAt(element, lacks, report_, Msg::QRKQ013E);
    if (report_.errCode) *report_.errCode = codeOf(Msg::QRKQ000E);
    return -1;
  }

  int readSource(xercesc::DOMElement* rdb, ColumnSource& source) {
    if (!rdb->hasChildNodes()) {
      return failAt(rdb, shownItem(asElement(rdb->getParentNode())), report_, Msg::QRKQ000E,
                    "table & column");
    }
    for (auto* child = rdb->getFirstChild(); child; child = child->getNextSibling()) {
      int rc = 0;
      if (hasTag(child, u"table")) rc = readTable(asElement(child), source);
      if (hasTag(child, u"column")) rc = readColumn(asElement(child), source);
      if (hasTag(child, u"condition")) rc = readCondition(child, source);
      if (rc) return rc;
    }
    return 0;
  }

  int readTable(const xercesc::DOMElement* element, ColumnSource& source) {
    const char16_t* name = boundedAttribute(element, u"name", kQualifiedNameLimit);
    if (!name) {
      return failAt(element, lacksName("table", element, kQualifiedNameLimit), report_,
                    Msg::QRKQ013E);
    }
    if (qrkParseWQualTbl(report_.ctx, name, source.schema, sizeof source.schema, source.table,
                         sizeof source.table)) {
      return failAt(element, shown(name) + " names no table", report_, Msg::QRKQ013E);
    }
    return 0;
  }

  int readColumn(const xercesc::DOMElement* element, ColumnSource& source) {
    source.column = boundedAttribute(element, u"name", kColumnNameLimit);
    if (!source.column) {
      return namelessColumn(element, lacksName("column", element, kColumnNameLimit));
    }
    if (purpose_ != kForDecomposition) return 0;
    const char16_t* type = element->getAttribute(u"type");
    if (!toDatabase(report_.ctx, type, source.type)) {
      return failAt(element, {}, report_, Msg::QRKA059E, textForMessage(report_.ctx, type),
                    textForMessage(report_.ctx, source.column));
    }
    if (!source.type.empty()) return 0;
    return namelessColumn(element, "column " + shown(source.column) + " without a type");
  }

  int readCondition(const xercesc::DOMNode* element, ColumnSource& source) {
    std::u16string text = childText(element);
    if (text.empty()) return internalError(element, "an empty condition", __LINE__);
    if (text.size() > kColumnConditionLimit) {
      return internalError(element, "a condition of more than 2001 characters", __LINE__);
    }
    if (qrkCleanQueryUcs(report_.ctx, text.data(), report_) ||
        !toDatabase(report_.ctx, text.c_str(), source.condition)) {
      return internalError(element, "a condition that the code page cannot hold", __LINE__);
    }
    if (source.condition.size() > kColumnConditionBytes) {
      tellPlace(element);
      return failLimit(report_, kConditionLimit, __LINE__);
    }
    return 0;
  }

  // What the RDB_node maps: for a text_node, its element.
  static const xercesc::DOMElement* mappedItem(const xercesc::DOMElement* node) {
    return hasTag(node, u"text_node") ? asElement(node->getParentNode()) : node;
  }

  int checkSource(const xercesc::DOMElement* node, const ColumnSource& source) {
    const xercesc::DOMNode* parent = node->getParentNode();
    const bool needsElement = hasTag(node, u"text_node");
    if (!parent || (needsElement && parent->getNodeType() != xercesc::DOMNode::ELEMENT_NODE)) {
      return internalError(node, {}, __LINE__);
    }
    const std::string item = textForMessage(report_.ctx, mappedItem(node)->getAttribute(u"name"));
    if (!source.table[0]) return failAt(node, {}, report_, Msg::QRKQ010E, item);
    if (!source.column) return failAt(node, {}, report_, Msg::QRKQ011E, item);
    return 0;
  }

  std::string unlisted(const ColumnSource& source) const {
    std::string name = *source.schema ? std::string(source.schema) + '.' : "";
    return shownText(report_.ctx, name + source.table) +
           " is not listed in the top RDB_node, the first one of the mapping";
  }

  int growColumns(tab& table) {
    if (table.num_col < table.max_col) return 0;
    if (table.num_col >= kMaxColumnsPerTable) return failed(report_, Msg::QRKQ039E);
    const auto size = static_cast<size_t>(table.max_col) + kColumnsStep;
    void* grown = std::realloc(table.col2xml, size * sizeof(col2xml_entry));
    if (!grown) return failed(report_, Msg::QRKG002E);
    table.col2xml = static_cast<col2xml_entry*>(grown);
    table.max_col += kColumnsStep;
    return 0;
  }

  int fillEntry(const xercesc::DOMElement* node, const ColumnSource& source, col2xml_entry& entry) {
    entry = {};
    if (int rc = qrkParseWCol(report_.ctx, source.column, entry.col, sizeof entry.col)) {
      tellPlace(node, shownItem(node));
      return failName(report_, source.column, rc);
    }
    if (source.type.size() >= sizeof entry.dataType) {
      return failAt(node, shownItem(node), report_, Msg::QRKA059E, source.type, entry.col);
    }
    std::strcpy(entry.dataType, source.type.c_str());
    if (takeItemName(report_, purpose_, mappedItem(node), entry.xml)) return -1;
    entry.xmlLevel = model_.level;
    entry.xmlType = hasTag(node, u"attribute_node") ? QRK_ATTRIBUTE
                    : hasTag(node, u"text_node")    ? QRK_TEXT
                                                    : QRK_ELEMENT;
    return 0;
  }

  bool selects(const override_cond& override, const xercesc::DOMElement* node) const {
    const QrkQuery& query = *override.query;
    if (query.state != 0) return false;  // a path that did not compile: half of it might match
    if (query.tryToMatch(*open_) != kMatch) return false;
    if (query.kind == kSelectsText) return hasTag(node, u"text_node");
    return query.kind == kSelectsAttribute && hasTag(node, u"attribute_node") && query.attrName &&
           std::u16string_view(query.attrName) == node->getAttribute(u"name");
  }

  // Overrides that select this column replace its own condition; each applies once.
  void applyOverrides(const xercesc::DOMElement* node, const tab& table, const char* column,
                      std::string& condition) {
    if (!open_) return;
    bool replaced = false;
    for (int i = 0; i < overrides_->count; ++i) {
      override_cond& override = *overrides_->cond[i];
      if (!selects(override, node)) continue;
      if (!override.predicate[0] || !replaced) condition.clear();
      replaced = true;
      if (override.predicate[0]) {
        if (!condition.empty()) condition += kAnd;
        condition += ' ' + qualifiedColumn(table, column) + ' ' + override.predicate;
      }
      overrides_->used[i] = 1;
      spend(override);
    }
  }

  // A spent override has the path of no element: whoever looks at the list later, `used` or not,
  // finds nothing that it still selects.
  void spend(override_cond& override) {
    std::unique_ptr<char16_t, FreeMemory> path(QRK_wcsdup_function(kMatchesNothing));
    if (!path) throw std::bad_alloc();
    auto* query = new QrkQuery(report_.ctx, path.get());
    delete override.query;
    std::free(override.path_str);
    override.query = query;
    override.path_str = path.release();
  }

  static std::string qualifiedColumn(const tab& table, const char* column) {
    const std::string schema = table.schema[0] ? delimitedName(table.schema) + '.' : "";
    return schema + delimitedName(table.name) + '.' + delimitedName(column);
  }

  int addCondition(tab& table, const std::string& condition) {
    if (condition.empty()) return 0;
    const size_t used = std::strlen(table.condition);
    const size_t joint = used ? kAnd.size() : 0;
    if (used + joint + condition.size() >= sizeof table.condition) {
      return failLimit(report_, std::string(kConditionLimit) + " of table " + table.name, __LINE__);
    }
    if (used) std::strcat(table.condition, kAnd.data());
    std::strcat(table.condition, condition.c_str());
    return 0;
  }

  const Report& report_;
  rel& model_;
  const int purpose_;
  override_list* const overrides_;
  std::optional<QrkCurrentPath> open_;  // only for overrides
};

int collectColumns(const Report& report, rel& model, const DOM_Element& root, int purpose,
                   override_list* overrides) {
  try {
    ColumnCollector collector(report, model, purpose, overrides);
    return walkMappedLeaves(report, root.node(), purpose, collector);
  } catch (const std::bad_alloc&) {
    return failed(report, Msg::QRKG002E);
  }
}

}  // namespace

int qrkProcRel(QrkStruct* ctx, rel* relinfo, const DOM_Element& root, int qrk_type,
               override_list* overrides, int* errCode, char* msg) {
  QRK_TRACE(ctx, "Entered, qrk_type=%d", qrk_type);
  const Report report{.ctx = ctx, .msg = msg, .errCode = errCode};
  if (root.isNull()) return failed(report, Msg::QRKQ000E, "element_node");
  override_list* const applicable = qrk_type == kForComposition ? overrides : nullptr;
  if (collectColumns(report, *relinfo, root, qrk_type, applicable)) return -1;
  if (qrk_type == kForDecomposition) {
    const DOM_Element join = root.firstDescendant(u"RDB_node").firstDescendant(u"condition");
    if (qrkProcRel2(report, *relinfo, join.node())) return -1;
  }
  if (qrkFindTopElements(report, *relinfo, root, qrk_type)) return -1;

  const auto tables = static_cast<size_t>(relinfo->num_of_tables);
  relinfo->top_elements = static_cast<char**>(std::calloc(tables + 1, sizeof(char*)));
  if (!relinfo->top_elements) return failed(report, Msg::QRKG002E);
  for (size_t i = 0; i < tables; ++i) relinfo->top_elements[i] = relinfo->tab[i]->top_element;
  return 0;
}

}  // namespace orvxml

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
  ColumnCollector(const Building& building, override_list* overrides)
      : ctx_(building.ctx),
        model_(building.model),
        purpose_(building.purpose),
        overrides_(overrides) {
    if (overrides_ && overrides_->count > 0) open_.emplace(ctx_);
  }

  void enter(xercesc::DOMElement* element) {
    ++model_.level;
    if (!open_) return;
    const char16_t* name = boundedAttribute(element, u"name", kElementNameLimit);
    open_->push(name ? name : kNoName, QrkAttrs(ctx_));
  }

  void leave(xercesc::DOMElement*) {
    --model_.level;
    if (open_) open_->pop();
  }

  // qrkProcRDB: one column RDB_node.
  void leaf(xercesc::DOMElement* node, xercesc::DOMElement* rdb) {
    ColumnSource source = readSource(rdb);
    checkSource(node, source);
    tab* table = findTabByName(ctx_, &model_, source.schema, source.table);
    if (!table) {
      throw at(rdb, Failure(Msg::QRKQ016E), shownItem(node) + ": " + unlisted(source));
    }
    growColumns(node, *table);
    col2xml_entry& entry = table->col2xml[table->num_col];
    fillEntry(node, source, entry);
    ++table->num_col;
    applyOverrides(node, *table, entry.col, source.condition);
    if (!addCondition(*table, source.condition)) {
      throw at(rdb, exceeded(std::string(kConditionLimit) + " of table " + table->name),
               shownItem(node));
    }
    table->level = std::min(table->level, model_.level);
  }

 private:
  // A column without name or type: its message, but the code of a missing part of the DAD.
  static Failure namelessColumn(const xercesc::DOMElement* element, std::string_view lacks) {
    return at(element, Failure(Msg::QRKQ013E).withCode(codeOf(Msg::QRKQ000E)), lacks);
  }

  ColumnSource readSource(xercesc::DOMElement* rdb) const {
    if (!rdb->hasChildNodes()) {
      throw at(rdb, Failure(Msg::QRKQ000E, "table & column"),
               shownItem(asElement(rdb->getParentNode())));
    }
    ColumnSource source;
    for (auto* child = rdb->getFirstChild(); child; child = child->getNextSibling()) {
      if (hasTag(child, u"table")) readTable(asElement(child), source);
      if (hasTag(child, u"column")) readColumn(asElement(child), source);
      if (hasTag(child, u"condition")) source.condition = readCondition(child);
    }
    return source;
  }

  void readTable(const xercesc::DOMElement* element, ColumnSource& source) const {
    const char16_t* name = boundedAttribute(element, u"name", kQualifiedNameLimit);
    if (!name) {
      throw at(element, Failure(Msg::QRKQ013E), lacksName("table", element, kQualifiedNameLimit));
    }
    if (qrkParseWQualTbl(ctx_, name, source.schema, sizeof source.schema, source.table,
                         sizeof source.table)) {
      throw at(element, Failure(Msg::QRKQ013E), shown(name) + " names no table");
    }
  }

  void readColumn(const xercesc::DOMElement* element, ColumnSource& source) const {
    source.column = boundedAttribute(element, u"name", kColumnNameLimit);
    if (!source.column) {
      throw namelessColumn(element, lacksName("column", element, kColumnNameLimit));
    }
    if (purpose_ != kForDecomposition) return;
    const char16_t* type = element->getAttribute(u"type");
    if (!toDatabase(ctx_, type, source.type)) {
      throw at(element, Failure(Msg::QRKA059E, textForMessage(ctx_, type),
                                textForMessage(ctx_, source.column)));
    }
    if (source.type.empty()) {
      throw namelessColumn(element, "column " + shown(source.column) + " without a type");
    }
  }

  std::string readCondition(const xercesc::DOMNode* element) const {
    std::u16string text = childText(element);
    if (text.empty()) throw at(element, Failure::internal(), "an empty condition");
    if (text.size() > kColumnConditionLimit) {
      throw at(element, Failure::internal(), "a condition of more than 2001 characters");
    }
    qrkCleanQueryUcs(text.data());
    std::string condition;
    if (!toDatabase(ctx_, text.c_str(), condition)) {
      throw at(element, Failure::internal(), "a condition that the code page cannot hold");
    }
    if (condition.size() > kColumnConditionBytes) throw at(element, exceeded(kConditionLimit));
    return condition;
  }

  // What the RDB_node maps: for a text_node, its element.
  static const xercesc::DOMElement* mappedItem(const xercesc::DOMElement* node) {
    return hasTag(node, u"text_node") ? asElement(node->getParentNode()) : node;
  }

  void checkSource(const xercesc::DOMElement* node, const ColumnSource& source) const {
    const xercesc::DOMNode* parent = node->getParentNode();
    const bool needsElement = hasTag(node, u"text_node");
    if (!parent || (needsElement && parent->getNodeType() != xercesc::DOMNode::ELEMENT_NODE)) {
      throw at(node, Failure::internal());
    }
    const std::string item = textForMessage(ctx_, mappedItem(node)->getAttribute(u"name"));
    if (!source.table[0]) throw at(node, Failure(Msg::QRKQ010E, item));
    if (!source.column) throw at(node, Failure(Msg::QRKQ011E, item));
  }

  std::string unlisted(const ColumnSource& source) const {
    std::string name = *source.schema ? std::string(source.schema) + '.' : "";
    return shownText(ctx_, name + source.table) +
           " is not listed in the top RDB_node, the first one of the mapping";
  }

  static void growColumns(const xercesc::DOMElement* node, tab& table) {
    if (table.num_col < table.max_col) return;
    if (table.num_col >= kMaxColumnsPerTable) {
      throw at(node, Failure(Msg::QRKQ039E), shownItem(node));
    }
    const auto size = static_cast<size_t>(table.max_col) + kColumnsStep;
    void* grown = std::realloc(table.col2xml, size * sizeof(col2xml_entry));
    if (!grown) throw std::bad_alloc();
    table.col2xml = static_cast<col2xml_entry*>(grown);
    table.max_col += kColumnsStep;
  }

  void fillEntry(const xercesc::DOMElement* node, const ColumnSource& source,
                 col2xml_entry& entry) const {
    entry = {};
    if (int code = qrkParseWCol(ctx_, source.column, entry.col, sizeof entry.col)) {
      throw at(node, invalidName(ctx_, source.column, code), shownItem(node));
    }
    if (source.type.size() >= sizeof entry.dataType) {
      throw at(node, Failure(Msg::QRKA059E, source.type, entry.col), shownItem(node));
    }
    std::strcpy(entry.dataType, source.type.c_str());
    takeItemName(ctx_, purpose_, mappedItem(node), entry.xml);
    entry.xmlLevel = model_.level;
    entry.xmlType = hasTag(node, u"attribute_node") ? QRK_ATTRIBUTE
                    : hasTag(node, u"text_node")    ? QRK_TEXT
                                                    : QRK_ELEMENT;
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
    auto* query = new QrkQuery(ctx_, path.get());
    delete override.query;
    std::free(override.path_str);
    override.query = query;
    override.path_str = path.release();
  }

  static std::string qualifiedColumn(const tab& table, const char* column) {
    const std::string schema = table.schema[0] ? delimitedName(table.schema) + '.' : "";
    return schema + delimitedName(table.name) + '.' + delimitedName(column);
  }

  // False when the table's condition has no room for it.
  static bool addCondition(tab& table, const std::string& condition) {
    if (condition.empty()) return true;
    const size_t used = std::strlen(table.condition);
    const size_t joint = used ? kAnd.size() : 0;
    if (used + joint + condition.size() >= sizeof table.condition) return false;
    if (used) std::strcat(table.condition, kAnd.data());
    std::strcat(table.condition, condition.c_str());
    return true;
  }

  QrkStruct* const ctx_;
  rel& model_;
  const MappingPurpose purpose_;
  override_list* const overrides_;
  std::optional<QrkCurrentPath> open_;  // only for overrides
};

}  // namespace

void qrkProcRel(QrkStruct* ctx, rel* relinfo, const DOM_Element& root, MappingPurpose purpose,
                override_list* overrides) {
  QRK_TRACE(ctx, "Entered, qrk_type=%d", purpose);
  if (root.isNull()) throw Failure(Msg::QRKQ000E, "element_node");
  const Building building{ctx, *relinfo, purpose};
  ColumnCollector collector(building, purpose == kForComposition ? overrides : nullptr);
  walkMappedLeaves(root.node(), purpose, collector);
  if (purpose == kForDecomposition) {
    const DOM_Element join = root.firstDescendant(u"RDB_node").firstDescendant(u"condition");
    qrkProcRel2(building, join.node());
  }
  qrkFindTopElements(building, root);

  const auto tables = static_cast<size_t>(relinfo->num_of_tables);
  relinfo->top_elements = allocate<char*>(tables + 1);
  for (size_t i = 0; i < tables; ++i) relinfo->top_elements[i] = relinfo->tab[i]->top_element;
}

}  // namespace orvxml

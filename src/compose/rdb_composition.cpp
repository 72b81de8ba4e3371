// RDB_node mapping: the model and the root query of one call, and a document for each of its rows.
#include <algorithm>
#include <memory>
#include <string>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/compose/composition.h"
#include "src/compose/document_text.h"
#include "src/compose/rdb_document.h"
#include "src/compose/rdb_plan.h"
#include "src/compose/rdb_query.h"
#include "src/compose/result_storage.h"
#include "src/compose/xml_writer.h"
#include "src/dad/dad_walk.h"
#include "src/dad/mapping_notices.h"
#include "src/dad/mapping_traps.h"
#include "src/outcome/edge.h"
#include "src/server_access/catalog_queries.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

namespace {

// The mapping model and the overrides of a call, released with their owner.
struct Mapping {
  explicit Mapping(QrkStruct* context) : ctx(context) {}
  ~Mapping() {
    qrkFreeOverride(ctx, &overrides);
    qrkFreeRel(ctx, &model);
  }
  Mapping(const Mapping&) = delete;
  Mapping& operator=(const Mapping&) = delete;

  QrkStruct* ctx;
  override_list overrides{};
  rel model{};
};

// The documents of one call. Steps return 0, or -1 with the failure reported.
class RdbComposition {
 public:
  RdbComposition(const RdbReport& report, SQLHDBC hdbc, rel& model, const DOM_Element& root,
                 const char* header, const Delivery& to)
      : report_(report),
        to_(to),
        header_(header),
        rootHandle_(root),
        root_(DadNodeKind::Element, root.element()),
        queries_(report, hdbc, model),
        plan_(report, queries_, root.owner()),
        text_(report.ctx, report.errCode, report.msg),
        document_(report, queries_, plan_, text_) {}
  ~RdbComposition() { queries_.closeAfterFailure(); }
  RdbComposition(const RdbComposition&) = delete;
  RdbComposition& operator=(const RdbComposition&) = delete;

  // Composes all documents; `maxRows` 0: no limit.
  int qrkProcRootElement(int32_t maxRows);
  int32_t documents() const { return documents_; }

 private:
  int findRootTable(TableQuery*& table);
  int checkResultColumn();
  int composeRows(TableQuery& table, int32_t maxRows);
  int qrkGenOneDoc(TableQuery* table);

  const RdbReport& report_;
  const Delivery& to_;
  const std::string_view header_;
  const DOM_Element rootHandle_;
  DadNode root_;
  TableQueries queries_;
  RdbPlan plan_;
  DocumentText text_;
  RdbDocument document_;
  int32_t documents_ = 0;
};

int RdbComposition::qrkProcRootElement(int32_t maxRows) {
  if (plan_.meet(nullptr, root_)) return -1;
  if (root_.isTrivial) {
    if (qrkGenOneDoc(nullptr)) return leaveOutDocument(to_, report_.errCode, report_.msg);
    documents_ = 1;
    return 0;
  }
  TableQuery* table = nullptr;
  if (findRootTable(table)) return -1;
  if (table->open(0) || (to_.toTable() && checkResultColumn())) return -1;
  table->setWalked(true);
  return composeRows(*table, maxRows) || table->close() ? -1 : 0;
}

int RdbComposition::findRootTable(TableQuery*& table) {
  if (root_.tops != 0) {
    table = &queries_.first(root_.tops);
    return 0;
  }
  const ComparedTable last = qrkFindTabForIntermediate(report_.ctx, rootHandle_, &queries_.model());
  if (!last.table) return report_.internal(__LINE__);
  if (!last.isFound) return report_.failed(Msg::QRKQ037E, root_.name);
  table = &queries_.of(last.table);
  return 0;
}

// The result table and its column have to exist.
int RdbComposition::checkResultColumn() {
  if (to_.toSessionTable()) return 0;
  char typeSchema[kColumnSize] = "";
  char typeName[kColumnSize] = "";
  long length = 0;
  if (qrkGetCatalogColumnType(report_.ctx, to_.resultSchema, to_.resultTabname, to_.resultColumn,
                              typeSchema, sizeof typeSchema, typeName, sizeof typeName, &length,
                              report_.msg) == 0) {
    return 0;
  }
  return report_.failedAlso(Msg::QRKQ009E, to_.resultTable);
}

// Where only the first document is wanted, the rows of the others are counted.
int RdbComposition::composeRows(TableQuery& table, int32_t maxRows) {
  for (int64_t rows = 0;;) {
    if (maxRows != 0 && documents_ >= maxRows) {
      report(report_.report(), Msg::QRKQ003W);
      return 0;
    }
    if (table.fetch()) {
      tellPlace(nullptr, "in row " + std::to_string(rows + 1) + " of " +
                             shownText(report_.ctx, table.table().name));
      return -1;
    }
    if (!table.hasRow()) return 0;
    ++rows;
    if (to_.wantsDocument(documents_) && qrkGenOneDoc(&table)) {
      if (leaveOutDocument(to_, report_.errCode, report_.msg) || queries_.closeAllBut(table)) {
        return -1;
      }
      continue;
    }
    ++documents_;
  }
}

int RdbComposition::qrkGenOneDoc(TableQuery* table) {
  OutBuffer document(report_.ctx);
  if (qrkBufAcquire(report_.ctx, document.get(), kDocumentInitialSize, kDocumentMemoryLimit,
                    QRK_LOC_MEMORY, report_.errCode, report_.msg, 0)) {
    return -1;
  }
  if (text_.begin(document.get(), header_, to_.sizeLimit()) || document_.write(root_, table) ||
      text_.flush()) {
    return -1;
  }
  if (deliverDocument(report_.ctx, to_, document.get(), header_, report_.errCode, report_.msg) ==
      0) {
    return 0;
  }
  if (isRefusedRow(*report_.errCode)) {
    tellPlace(nullptr, queries_.rowsAtHand(report_.ctx));
  }
  return -1;
}

// The element that lists the table in the top RDB_node.
const xercesc::DOMElement* tableElement(const DOM_Element& dad, const rel& model,
                                        const tab& table) {
  const xercesc::DOMNode* child = dad.firstDescendant(u"RDB_node").node()->getFirstChild();
  for (int i = 0; child; child = child->getNextSibling()) {
    if (!dadtree::hasTag(child, u"table")) continue;
    if (model.tab[i++] == &table) return static_cast<const xercesc::DOMElement*>(child);
  }
  return nullptr;
}

DOM_Element rootElementNode(const DOM_Element& dad) {
  return dad.firstDescendant(u"root_node").firstDescendant(u"element_node");
}

// A table without a join would be read whole for each row of the tables around it.
int refuseUnjoined(const RdbReport& report, const MappingSurvey& survey, const DOM_Element& dad) {
  const tab* const loose = unjoinedTable(survey);
  if (!loose) return 0;
  const std::string name = shownText(report.ctx, loose->name);
  tellPlace(
      tableElement(dad, survey.model(), *loose),
      "no condition joins " + name +
          " to a table above it, so each row there would get all of its rows; add an equality "
          "of their columns to the condition of the top RDB_node");
  return report.failed(Msg::QRKQ035E, loose->name);
}

int composeFrom(const RdbReport& report, SQLHDBC hdbc, rel& model, const DOM_Element& dad,
                const DOM_Element& firstElement, const Delivery& to, int32_t maxRows,
                int32_t* docCount) {
  const DOM_Element root = rootElementNode(dad);
  char header[kHeaderSize];
  if (checkedDocHeader(report.ctx, dad, root.isNull() ? firstElement : root, header, report.errCode,
                       report.msg)) {
    return -1;
  }
  if (root.isNull()) return report.failed(Msg::QRKQ000E, "root_node");
  {
    const MappingSurvey survey(report.ctx, model, root, kForComposition);
    tellTraps(survey);
    if (refuseUnjoined(report, survey, dad)) return -1;
  }
  RdbComposition composition(report, hdbc, model, root, header, to);
  const int rc = composition.qrkProcRootElement(maxRows);
  *docCount = composition.documents();
  return rc;
}

void warnOfUnusedOverrides(const RdbReport& report, const override_list& overrides) {
  bool all = true;
  for (int i = 0; i < overrides.count; ++i) {
    if (overrides.used[i]) continue;
    all = false;
    if (!noticeListener()) break;
    tellWarning("override-unused", nullptr,
                "the override of " + shown(overrides.cond[i]->path_str) +
                    " was not applied: the path selects no mapped value, or is none");
  }
  if (!all) orvxml::report(report.report(), Msg::QRKQ041W);
}

int buildModel(const RdbReport& report, Mapping& mapping, const DOM_Element& dad,
               const DOM_Element& root, int overrideType, const char* override) {
  if (atEdge(report.report(),
             [&] { qrkSetRel(report.ctx, &mapping.model, dad, kForComposition); })) {
    return -1;
  }
  *report.errCode =
      qrkInitOverride(report.ctx, overrideType, override, &mapping.overrides, report.msg);
  if (*report.errCode < 0) return -1;
  return statusAtEdge(report.report(), [&] {
    qrkProcRel(report.ctx, &mapping.model, root, kForComposition, &mapping.overrides);
  });
}

}  // namespace

int qrkGenXMLFromRDB(QrkStruct* ctx, SQLHDBC hdbc, const DOM_Element& dad, const Delivery& to,
                     int overrideType, const char* override, int32_t maxRows, int32_t* docCount,
                     int* errCode, char* msg) {
  QRK_TRACE(ctx, "Entered, overrideType=%d maxRows=%d", overrideType, maxRows);
  *errCode = 0;
  *msg = '\0';
  const RdbReport report{ctx, errCode, msg};
  Mapping mapping(ctx);
  const DOM_Element root = dad.firstDescendant(u"element_node");
  int rc = buildModel(report, mapping, dad, root, overrideType, override);
  if (rc == 0) {
    rc = composeFrom(report, hdbc, mapping.model, dad, root, to, maxRows, docCount);
  }
  if (rc == 0) warnOfUnusedOverrides(report, mapping.overrides);
  QRK_TRACE(ctx, "Exits, rc=%d, errCode=%d", rc, *errCode);
  return rc;
}

}  // namespace orvxml

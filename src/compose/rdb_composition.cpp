// RDB_node mapping: the model and the root query of one call, and a document for each of its rows.
#include <algorithm>
#include <string>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/compose/composition.h"
#include "src/compose/document_text.h"
#include "src/compose/rdb_document.h"
#include "src/compose/rdb_plan.h"
#include "src/compose/rdb_query.h"
#include "src/compose/result_storage.h"
#include "src/dad/dad_walk.h"
#include "src/dad/mapping_notices.h"
#include "src/dad/mapping_traps.h"
#include "src/server_access/catalog_queries.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

namespace {

// The mapping model of a call, with its overrides, released with their owner.
struct OverriddenModel {
  explicit OverriddenModel(QrkStruct* context) : ctx(context) {}
  ~OverriddenModel() {
    qrkFreeOverride(overrides);
    qrkFreeRel(ctx, &model);
  }
  OverriddenModel(const OverriddenModel&) = delete;
  OverriddenModel& operator=(const OverriddenModel&) = delete;

  QrkStruct* ctx;
  override_list overrides{};
  rel model{};
};

// The documents of one call.
class RdbComposition {
 public:
  RdbComposition(QrkStruct* ctx, SQLHDBC hdbc, rel& model, const DOM_Element& root,
                 std::string header, Delivery& to)
      : ctx_(ctx),
        to_(to),
        header_(std::move(header)),
        rootHandle_(root),
        root_(DadNodeKind::Element, root.element()),
        queries_(ctx, hdbc, model),
        plan_(ctx, queries_, root.owner()),
        text_(ctx),
        document_(ctx, queries_, plan_, text_) {}
  ~RdbComposition() { queries_.closeAfterFailure(); }
  RdbComposition(const RdbComposition&) = delete;
  RdbComposition& operator=(const RdbComposition&) = delete;

  // Composes all documents; `maxRows` 0: no limit.
  Composed qrkProcRootElement(int32_t maxRows);

 private:
  TableQuery& rootTable();
  void checkResultColumn();
  Composed composeRows(TableQuery& table, int32_t maxRows);
  void fetch(TableQuery& table, int64_t row);
  bool composeOne(TableQuery* table);
  void qrkGenOneDoc(TableQuery* table);

  QrkStruct* const ctx_;
  Delivery& to_;
  const std::string header_;
  const DOM_Element rootHandle_;
  DadNode root_;
  TableQueries queries_;
  RdbPlan plan_;
  DocumentText text_;
  RdbDocument document_;
};

Composed RdbComposition::qrkProcRootElement(int32_t maxRows) {
  plan_.meet(nullptr, root_);
  if (root_.isTrivial) return {.documents = composeOne(nullptr) ? 1 : 0};
  TableQuery& table = rootTable();
  table.open(0);
  if (to_.table()) checkResultColumn();
  table.setWalked(true);
  const Composed composed = composeRows(table, maxRows);
  table.close();
  return composed;
}

TableQuery& RdbComposition::rootTable() {
  if (root_.tops != 0) return queries_.first(root_.tops);
  const ComparedTable last = qrkFindTabForIntermediate(ctx_, rootHandle_, &queries_.model());
  if (!last.table) throw Failure::internal("qrkrcomp");
  if (!last.isFound) throw Failure(Msg::QRKQ037E, root_.name);
  return queries_.of(last.table);
}

// The result table and its column have to exist.
void RdbComposition::checkResultColumn() {
  const ResultTable& table = *to_.table();
  if (table.isTemporary()) return;
  try {
    qrkGetCatalogColumnType(ctx_, table.schema.c_str(), table.name.c_str(), table.column.c_str());
  } catch (Failure& failure) {
    throw std::move(failure)
        .with(Failure(Msg::QRKQ009E, table.written))
        .withCode(codeOf(Msg::QRKQ009E));
  }
}

// Where only the first document is wanted, the rows of the others are counted.
Composed RdbComposition::composeRows(TableQuery& table, int32_t maxRows) {
  Composed composed;
  for (int64_t row = 1;; ++row) {
    if (maxRows != 0 && composed.documents >= maxRows) {
      composed.outcome = Msg::QRKQ003W;
      return composed;
    }
    fetch(table, row);
    if (!table.hasRow()) return composed;
    if (to_.wantsDocument(composed.documents) && !composeOne(&table)) {
      queries_.closeAllBut(table);
    } else {
      ++composed.documents;
    }
  }
}

void RdbComposition::fetch(TableQuery& table, int64_t row) {
  placed(
      nullptr, [&] { table.fetch(); },
      [&] {
        return "in row " + std::to_string(row) + " of " + shownText(ctx_, table.table().name);
      });
}

// False: its document is left out.
bool RdbComposition::composeOne(TableQuery* table) {
  try {
    qrkGenOneDoc(table);
    return true;
  } catch (const Failure& failure) {
    if (!to_.leavesOut(failure)) throw;
    return false;
  }
}

void RdbComposition::qrkGenOneDoc(TableQuery* table) {
  OutBuffer document(ctx_);
  acquireDocument(ctx_, document);
  text_.begin(document.get(), header_, to_.sizeLimit());
  document_.write(root_, table);
  text_.flush();
  to_.deliver(document.get(), header_, [&] { return queries_.rowsAtHand(ctx_); });
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
void refuseUnjoined(QrkStruct* ctx, const MappingSurvey& survey, const DOM_Element& dad) {
  const tab* const loose = unjoinedTable(survey);
  if (!loose) return;
  throw at(tableElement(dad, survey.model(), *loose), Failure(Msg::QRKQ035E, loose->name),
           "no condition joins " + shownText(ctx, loose->name) +
               " to a table above it, so each row there would get all of its rows; add an "
               "equality of their columns to the condition of the top RDB_node");
}

Composed composeFrom(QrkStruct* ctx, SQLHDBC hdbc, rel& model, const DOM_Element& dad,
                     const DOM_Element& firstElement, Delivery& to, int32_t maxRows) {
  const DOM_Element root = rootElementNode(dad);
  std::string header = checkedDocHeader(ctx, dad, root.isNull() ? firstElement : root);
  if (root.isNull()) throw Failure(Msg::QRKQ000E, "root_node");
  {
    const MappingSurvey survey(ctx, model, root, kForComposition);
    tellTraps(survey);
    refuseUnjoined(ctx, survey, dad);
  }
  return RdbComposition(ctx, hdbc, model, root, std::move(header), to).qrkProcRootElement(maxRows);
}

bool hasUnused(const override_list& overrides) {
  bool all = true;
  for (int i = 0; i < overrides.count; ++i) {
    if (overrides.used[i]) continue;
    all = false;
    if (!noticeListener()) break;
    tellWarning("override-unused", nullptr,
                "the override of " + shown(overrides.cond[i]->path_str) +
                    " was not applied: the path selects no mapped value, or is none");
  }
  return !all;
}

void buildModel(OverriddenModel& mapping, const DOM_Element& dad, const DOM_Element& root,
                const CompositionRequest& request) {
  QrkStruct* const ctx = mapping.ctx;
  qrkSetRel(ctx, &mapping.model, dad, kForComposition);
  qrkInitOverride(ctx, request.overrideType, request.override, mapping.overrides);
  qrkProcRel(ctx, &mapping.model, root, kForComposition, &mapping.overrides);
}

}  // namespace

Composed qrkGenXMLFromRDB(QrkStruct* ctx, SQLHDBC hdbc, const DOM_Element& dad,
                          const CompositionRequest& request, Delivery& to) {
  QRK_TRACE(ctx, "Entered, overrideType=%d maxRows=%d", request.overrideType, request.maxRows);
  OverriddenModel mapping(ctx);
  const DOM_Element root = dad.firstDescendant(u"element_node");
  buildModel(mapping, dad, root, request);
  Composed composed = composeFrom(ctx, hdbc, mapping.model, dad, root, to, request.maxRows);
  if (hasUnused(mapping.overrides)) composed.outcome = Msg::QRKQ041W;
  QRK_TRACE(ctx, "Exits, rc=%d, errCode=%d", 0, codeOf(composed.outcome));
  return composed;
}

}  // namespace orvxml

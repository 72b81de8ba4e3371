// The foreign keys of the mapping model: a join column is one where the partner's table stands
// higher in the document. Its value comes from the column that the document maps, found at the
// partner or, by way of the partner's own joins, further up.
#include <cstring>

#include "orvxml/trace.h"
#include "src/dad/dad_walk.h"
#include "src/dad/mapping_model.h"
#include "src/dad/model_steps.h"

namespace orvxml {

using namespace dadtree;

namespace {

class ForeignKeys {
 public:
  ForeignKeys(const Report& report, rel& model, const xercesc::DOMNode* condition)
      : report_(report), model_(model), condition_(condition) {}

  int findAll() {
    for (int i = 0; i < model_.num_of_tables; ++i) {
      tab& table = *model_.tab[i];
      for (int j = 0; j < table.num_join; ++j) {
        if (int rc = findForColumn(table, table.join_info[j])) return rc;
      }
    }
    return 0;
  }

 private:
  tab* tableOf(const join_partner& partner) {
    return findTabByName(report_.ctx, &model_, partner.schema, partner.tab);
  }

  int findForColumn(tab& table, join_info_entry& column) {
    for (int p = 0; p < column.num_join; ++p) {
      const join_partner& partner = column.foreign[p];
      tab* parent = tableOf(partner);
      if (!parent || parent->level >= table.level) continue;
      if (int rc = addForeignKey(table, column, *parent, partner)) return rc;
    }
    return 0;
  }

  int addForeignKey(tab& table, join_info_entry& column, tab& parent, const join_partner& partner) {
    if (table.num_fk == kMaxForeignKeys) {
      tellPlace(condition_);
      return failLimit(report_, kForeignKeysLimit, __LINE__);
    }
    if (const col2xml_entry* own = findColumnMapping(&table, column.col)) {
      return failAt(condition_, {}, report_, Msg::QRKQ056E, own->xml, own->col, table.name);
    }
    col2xml_entry* source = findSource(table, parent, partner.col);
    if (!source) {
      return failAt(condition_, unmapped(parent, partner.col), report_, Msg::QRKA059E, "UNKNOWN",
                    column.col);
    }
    table.fk[table.num_fk++] = {&column, source};
    for (int i = 0; i + 1 < table.num_fk; ++i) {
      if (table.fk[i].column == &column) {
        QRK_TRACE(report_.ctx, "column %s of %s has several parents", column.col, table.name);
      }
    }
    return 0;
  }

  // A foreign key has the type of the column that its value comes from.
  std::string unmapped(const tab& parent, const char* column) const {
    return shownText(report_.ctx, std::string(parent.name) + '.' + column) +
           " is not mapped, and no join leads from it to a mapped column further up";
  }

  // The mapped column that supplies the value. Each step goes to a table of a smaller level, so the
  // chain ends.
  col2xml_entry* findSource(const tab& child, tab& parent, const char* column) {
    tab* at = &parent;
    for (;;) {
      if (col2xml_entry* mapped = findColumnMapping(at, column)) return mapped;
      const join_info_entry* joins = qrkGetJoinInfo(report_.ctx, at, column);
      const join_partner* up = joins ? partnerAbove(child, *at, *joins) : nullptr;
      if (!up) return nullptr;
      at = tableOf(*up);
      column = up->col;
    }
  }

  const join_partner* partnerAbove(const tab& child, const tab& at, const join_info_entry& joins) {
    for (int p = 0; p < joins.num_join; ++p) {
      const tab* above = tableOf(joins.foreign[p]);
      if (above && above != &child && above->level < at.level) return &joins.foreign[p];
    }
    return nullptr;
  }

  const Report& report_;
  rel& model_;
  const xercesc::DOMNode* const condition_;
};

}  // namespace

int qrkProcRel2(const Report& report, rel& model, const xercesc::DOMNode* condition) {
  return ForeignKeys(report, model, condition).findAll();
}

}  // namespace orvxml

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
  ForeignKeys(const Building& building, const xercesc::DOMNode* condition)
      : building_(building), condition_(condition) {}

  void findAll() {
    for (int i = 0; i < building_.model.num_of_tables; ++i) {
      tab& table = *building_.model.tab[i];
      for (int j = 0; j < table.num_join; ++j) findForColumn(table, table.join_info[j]);
    }
  }

 private:
  void findForColumn(tab& table, join_info_entry& column) {
    for (int p = 0; p < column.num_join; ++p) {
      const join_partner& partner = column.foreign[p];
      tab* parent = building_.tableOf(partner);
      if (!parent || parent->level >= table.level) continue;
      addForeignKey(table, column, *parent, partner);
    }
  }

  void addForeignKey(tab& table, join_info_entry& column, tab& parent,
                     const join_partner& partner) {
    if (table.num_fk == kMaxForeignKeys) throw at(condition_, exceeded(kForeignKeysLimit));
    if (const col2xml_entry* own = findColumnMapping(&table, column.col)) {
      throw at(condition_, Failure(Msg::QRKQ056E, own->xml, own->col, table.name));
    }
    col2xml_entry* source = findSource(table, parent, partner.col);
    if (!source) {
      throw at(condition_, Failure(Msg::QRKA059E, "UNKNOWN", column.col),
               unmapped(parent, partner.col));
    }
    table.fk[table.num_fk++] = {&column, source};
    for (int i = 0; i + 1 < table.num_fk; ++i) {
      if (table.fk[i].column == &column) {
        QRK_TRACE(building_.ctx, "column %s of %s has several parents", column.col, table.name);
      }
    }
  }

  // A foreign key has the type of the column that its value comes from.
  std::string unmapped(const tab& parent, const char* column) const {
    return shownText(building_.ctx, std::string(parent.name) + '.' + column) +
           " is not mapped, and no join leads from it to a mapped column further up";
  }

  // The mapped column that supplies the value. Each step goes to a table of a smaller level, so the
  // chain ends.
  col2xml_entry* findSource(const tab& child, tab& parent, const char* column) {
    tab* table = &parent;
    for (;;) {
      if (col2xml_entry* mapped = findColumnMapping(table, column)) return mapped;
      const join_info_entry* joins = qrkGetJoinInfo(building_.ctx, table, column);
      const join_partner* up = joins ? partnerAbove(child, *table, *joins) : nullptr;
      if (!up) return nullptr;
      table = building_.tableOf(*up);
      column = up->col;
    }
  }

  const join_partner* partnerAbove(const tab& child, const tab& at, const join_info_entry& joins) {
    for (int p = 0; p < joins.num_join; ++p) {
      const tab* above = building_.tableOf(joins.foreign[p]);
      if (above && above != &child && above->level < at.level) return &joins.foreign[p];
    }
    return nullptr;
  }

  const Building& building_;
  const xercesc::DOMNode* const condition_;
};

}  // namespace

void qrkProcRel2(const Building& building, const xercesc::DOMNode* condition) {
  ForeignKeys(building, condition).findAll();
}

}  // namespace orvxml

// What a walk tells the listener, when there is one, beside the outcome: where the document's data
// meets a trap of the mapping, where the failure lies, and what the mapping did not take. Nothing
// here changes what is stored.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "src/decompose/data_notices.h"
#include "src/decompose/row_list.h"
#include "src/outcome/failure.h"

namespace orvxml {

class DataWatch {
 public:
  using Element = xercesc::DOMElement;

  // `top` is the element_node that the model was built from, `root` the document's root element.
  DataWatch(NoticeListener& listener, QrkStruct* ctx, const rel& model, const DOM_Element& top,
            const Element* root);

  // ---- What the walk does
  // The values of this leaf of the DAD go into rows of `table`.
  void leafTaken(const Element* leaf, int table);
  // These are the rows of `table` from one DAD element.
  void rowsCollected(int table, const Element* dadElement, RowList& rows);
  // The value at `source` completes a row that another occurrence of the top element began.
  void rowMixed(int table, int column, const Element* source);
  // Whether the mapping has the value of a foreign key at `holder`, in its attribute or its text;
  // "join" is a value that was noted there for an element below.
  bool isMeant(const foreign_key& key, const Element* holder, bool isJoin) const;
  // Whether `node` stands for a row of the parent's table, inside of which the key is mapped.
  bool isRowOf(const foreign_key& key, const xercesc::DOMNode* node) const;
  // The key of a row begun at `source` was found at `holder`, which is not where it is mapped;
  // `hasLeftRow`: the row of the parent's table around `source` has none.
  void strayKey(int table, const foreign_key& key, const Element* holder, bool hasLeftRow,
                const Element* source);

  // ---- Where a failure lies: each gives it its place in the document and what its message lacks.
  // In a value, or, `column` -1, in the row or the table as a whole. The value is in the database
  // code page.
  void inTable(Failure& failure, int table, const Element* source, int column = -1,
               std::string_view value = {}) const;
  void unconvertible(Failure& failure, int table, int column, const Element* source) const;
  // The insert of a row was refused; `parameter` -1: it is not known which value is at fault.
  void rowRefused(Failure& failure, int table, RowList& rows, int row, int parameter) const;
  // An element that is stored whole could not be written out.
  void failedWhole(Failure& failure, int table, int column, const Element* source) const;
  void unknownItem(Failure& failure, int table, const Element* source,
                   const Element* dadElement) const;
  void nameTooLong(Failure& failure, int table, const Element* source, size_t limit) const;
  // An element has no ancestor of its table's top element.
  void withoutAncestor(Failure& failure, int table, const Element* source) const;

  // After a walk that succeeded.
  void end();
  // After another one.
  void endFailed() { warnings_.tellAll(); }

 private:
  struct Visit {
    const Element* dadElement;
    std::vector<bool> columns;  // that have a value in some row
  };

  static void locate(Failure& failure, const std::string& text, const Element* source);
  std::string text(std::string_view databaseText) const { return shownText(ctx_, databaseText); }
  std::string rowText(int table, RowList& rows, int row) const;
  std::string rootText() const;
  void tellOrigin();
  std::string conditionOn(const MappedLeaf& leaf, const std::string& text) const;
  std::string pathOf(const MappedLeaf& leaf) const;
  std::string placeText(int table, int column = -1) const {
    return placeInTable(survey_, table, column);
  }
  const Element* top() const { return survey_.root().element(); }
  bool isAt(const xercesc::DOMNode* node, const Element* element) const;

  NoticeListener& listener_;
  QrkStruct* ctx_;
  const Element* root_;
  const MappingSurvey survey_;
  DataWarnings warnings_;
  std::map<const Element*, std::vector<int>> takers_;
  std::map<int, std::vector<Visit>> visits_;  // by table
  std::vector<size_t> rowCounts_;             // by table
  int rootTable_ = -1;                        // whose only row the root element gives
  std::vector<std::string> rootRow_;          // that row
};

}  // namespace orvxml

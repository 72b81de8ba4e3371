// Writing one document: the walk over the DAD's element tree that starts, repeats and re-runs the
// queries of tables as elements ask for them.
//
// An element is written from the row of a current table. A child may choose another one for itself,
// which is then the current table of the children behind it as well.
#pragma once

#include "src/compose/document_text.h"
#include "src/compose/rdb_plan.h"
#include "src/compose/rdb_query.h"

namespace orvxml {

// Writes the documents of one call, one after the other.
class RdbDocument {
 public:
  RdbDocument(QrkStruct* ctx, TableQueries& queries, RdbPlan& plan, DocumentText& text)
      : ctx_(ctx), queries_(queries), plan_(plan), text_(text) {}

  // The root with all that it holds, from the current row of `table` (null: of no table).
  void write(DadNode& root, TableQuery* table);

 private:
  // Where a child's values come from.
  struct Source {
    TableQuery* table;
    bool isStarted = false;  // its query was run for the child and is at its first row
  };

  void qrkProcElementNode(DadNode& node, TableQuery* current, int depth);
  TableQuery* writeChild(DadNode& parent, DadNode& child, TableQuery* current, int depth);
  Source sourceOf(DadNode& child, TableQuery* current, int depth);
  TableQuery& chooseTable(DadNode& child, TableQuery* current);
  void writeRows(DadNode& child, TableQuery& query, int depth);
  void qrkProcAttTextNode(DadNode& node);
  void qrkWriteXMLAttribute(std::string_view markup, const ColumnValue& value);
  void qrkWriteXMLText(const ColumnValue& value);
  bool isEmpty(const ColumnValue& value) const;

  QrkStruct* const ctx_;
  TableQueries& queries_;
  RdbPlan& plan_;
  DocumentText& text_;
};

}  // namespace orvxml

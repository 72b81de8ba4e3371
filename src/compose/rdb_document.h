// Writing one document: the walk over the DAD's element tree that starts, repeats and re-runs the
// queries of tables as elements ask for them.
#pragma once

#include "src/compose/document_text.h"
#include "src/compose/rdb_plan.h"
#include "src/compose/rdb_query.h"

namespace orvxml {

// Writes the documents of one call, one after the other. The functions return 0, or -1 with the
// failure reported.
class RdbDocument {
 public:
  RdbDocument(const RdbReport& report, TableQueries& queries, RdbPlan& plan, DocumentText& text)
      : report_(report), queries_(queries), plan_(plan), text_(text) {}

  // The root with all that it holds, from the current row of `table` (null: of no table).
  int write(DadNode& root, TableQuery* table);

 private:
  int qrkProcElementNode(DadNode& node, TableQuery* current, int depth);
  int writeChild(DadNode& parent, DadNode& child, TableQuery*& current, int depth);
  int writeMet(DadNode& child, TableQuery*& current, int depth);
  int placed(const DadNode& node, int rc);
  int startQuery(DadNode& child, TableQuery*& current, int depth, bool& isStarted);
  int chooseTable(DadNode& child, TableQuery*& current);
  int writeRows(DadNode& child, TableQuery& query, int depth);
  int qrkProcAttTextNode(DadNode& node);
  int qrkWriteXMLAttribute(std::string_view markup, const ColumnValue& value);
  int qrkWriteXMLText(const ColumnValue& value);
  int isEmptyValue(const ColumnValue& value, bool& isEmpty);

  const RdbReport& report_;
  TableQueries& queries_;
  RdbPlan& plan_;
  DocumentText& text_;
  bool isPlaceTold_ = false;  // of the failure that ends the document
};

}  // namespace orvxml

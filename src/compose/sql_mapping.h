// SQL mapping: a DAD's SQL_stmt gives rows, ordered by one key column per level; the element tree
// says where the columns go. A top query (one row per object, run by the driver) supplies the
// document's own columns; every element of a deeper level runs a child query, restricted to the
// keys of the levels above it.
#pragma once

#include "src/compose/sql_document.h"

namespace orvxml {

// Composes the objects of one call: runs the top query over `baseQuery` and walks its rows. What is
// the same for all objects (the DAD's element tree, child statements with their buffers) is read
// and prepared once.
class SqlComposition {
 public:
  // What `call` refers to and the texts must live as long as this object.
  SqlComposition(const SqlCall& call, const DOM_Element& dadRoot, const char* baseQuery)
      : call_(call), top_(call_, nullptr, 0, baseQuery), document_(call_, dadRoot, top_) {}

  // Builds, runs and binds the top query.
  void open() { top_.open(); }
  // Goes to the next object; false at the end.
  bool nextObject();
  // Appends the document of the current object, which may have `sizeLimit` bytes; false when the
  // object has none because its root is left out.
  bool writeDocument(QrkOutbuf* document, uint32_t sizeLimit) {
    return document_.qrkGenXMLDoc(document, sizeLimit);
  }
  // Whether the current object has no document because its root is left out; known once a document
  // was written.
  bool isLeftOut() const { return document_.isLeftOut(); }
  // What documents begin with, once there is one.
  std::string_view header() const { return document_.header(); }
  // Gives up the document of the current object.
  void abandonDocument() { top_.endChildRows(); }
  // The current object in messages, in UTF-8.
  std::string objectName() const { return top_.rowName(); }
  // Closes the top query and frees everything.
  void close() { top_.close(); }

 private:
  const SqlCall call_;
  LevelQuery top_;
  SqlDocument document_;
  int objects_ = 0;
};

}  // namespace orvxml

// SQL mapping: a DAD's SQL_stmt gives rows, ordered by one key column per level; the element tree
// says where the columns go. A top query (one row per object, run by the driver) supplies the
// document's own columns; every element of a deeper level runs a child query, restricted to the
// keys of the levels above it.
#pragma once

#include <memory>

#include "orvxml/composition.h"
#include "orvxml/level_map.h"

namespace orvxml {

// The element is left out because its key is null.
inline constexpr int kKeyIsNull = 525;

// Composes the objects of one call: runs the top query over `baseQuery` and walks its rows. What is
// the same for all objects (the DAD's element tree, child statements with their buffers) is read
// and prepared once. Prepared statements, buffers and locators are released by the destructor.
class SqlComposition {
 public:
  // The texts must live as long as this object.
  SqlComposition(QrkStruct* ctx, SQLHDBC hdbc, const DOM_Element& dadRoot, const char* baseQuery,
                 const level_map* levelMap, int* errCode, char* msg);
  ~SqlComposition();
  SqlComposition(const SqlComposition&) = delete;
  SqlComposition& operator=(const SqlComposition&) = delete;

  // Builds, runs and binds the top query. 0, or the status of the failure.
  int open();
  // Goes to the next object: 0, SQL_NO_DATA at the end, or the status of the failure.
  int nextObject();
  // Appends the document of the current object, which may have `sizeLimit` bytes. 0, kKeyIsNull
  // when the object has none because its root is left out, or the status of the failure.
  int writeDocument(QrkOutbuf* document, uint32_t sizeLimit);
  // Closes the top query and frees everything. 0, or -1 with the diagnostics in `msg`.
  int close();

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace orvxml

// A column of documents is enabled and disabled, inside the caller's unit of work. Nothing is
// undone after a failure. Both return 0, with the message of success.
#pragma once

#include "src/call/procedure_frame.h"

namespace orvxml {

// What enabling is asked for: terminated texts in the database code page.
struct ColumnRequest {
  const char* tableName;
  const char* columnName;
  const char* dad;  // `dadLength` bytes
  int dadLength;
  const char* tableSpace;  // empty: none, as for the two that follow
  const char* defaultView;
  const char* rootID;
};

int enableColumn(Call& call, const ColumnRequest& request);
int disableColumn(Call& call, const char* tableName, const char* columnName);

}  // namespace orvxml

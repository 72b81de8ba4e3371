// What the forms of enabling a database share.
#pragma once

#include "orvxml/context.h"

namespace orvxml {

// Enables the database `dbName`. The outcome goes into `returnCode` and `returnMsg` (kMessageSize
// bytes); null indicators: the value is there. Returns the code.
int qrkEnableDB_STP_Main(QrkStruct* ctx, char* dbName, char* tableSpace, char* tableSpace2,
                         int* returnCode, char* returnMsg, short* dbNameInd, short* tableSpaceInd,
                         short* tableSpace2Ind, short* returnCodeInd, short* returnMsgInd);
// 1 when the database holds double-byte data, 0 when it cannot, -1 when this could not be found
// out. Without a name the probe is dropped with RESTRICT.
int isDBCS_DB(QrkStruct* ctx, char* dbName);

}  // namespace orvxml

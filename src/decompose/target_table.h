// The SQL text that decomposition sends about its target tables.
#pragma once

#include "src/dad/mapping_model.h"

namespace orvxml {

int prepare_tables(QrkStruct* ctx, rel* relinfo, char* tablespace, char* msg);
int create_table(QrkStruct* ctx, tab* table, char* tablespace, char* msg);
int check_table(QrkStruct* ctx, int num_cond, tab* table, char* msg);
// The first column, of col2xml, that check_table refuses; -1 for none.
int faultyColumn(QrkStruct* ctx, tab* table);
// Builds the INSERT text into `stmt` (`size` bytes). 0, or -57 with QRKG001E.
int generate_SQLi(QrkStruct* ctx, tab* table, char* stmt, int size, char* msg);
int isPriKey(QrkStruct* ctx, const char* column, const key_columns* keys);

}  // namespace orvxml

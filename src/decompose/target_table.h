// The SQL text that decomposition sends about its target tables. A text that does not fit its
// buffer is an internal error.
#pragma once

#include "src/dad/mapping_model.h"

namespace orvxml {

void prepare_tables(QrkStruct* ctx, const rel* relinfo, const char* tablespace);
void create_table(QrkStruct* ctx, const tab& table, const char* tablespace);
void check_table(QrkStruct* ctx, int num_cond, const tab& table);
// The first column, of col2xml, that check_table refuses; -1 for none.
int faultyColumn(QrkStruct* ctx, const tab& table);
// Builds the INSERT text into `stmt` (`size` bytes).
void generate_SQLi(QrkStruct* ctx, const tab& table, char* stmt, int size);
bool isPriKey(QrkStruct* ctx, const char* column, const key_columns* keys);

}  // namespace orvxml

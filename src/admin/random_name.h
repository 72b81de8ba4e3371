// Random names for the objects of an enabled column. The generator is the C library's, seeded once
// per process.
#pragma once

#include <array>

#include "orvxml/context.h"

namespace orvxml {

inline constexpr size_t kNameCharacters = 36;

// The permutation of the characters of names that this process uses.
extern std::array<char, kNameCharacters> scrambleTableOfCharacters;

int qrkGetProcessID();
void scrambleTable();
void callRandOnce(QrkStruct* ctx);
// Fills `buf` with `n` upper-case letters and digits; there is no terminator.
void qrk_GetRandName(QrkStruct* ctx, char* buf, int n);

}  // namespace orvxml

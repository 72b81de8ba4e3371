// The message catalog: translated texts by set 1 and message index, found by LANG below the
// installation's message directory.
#include <nl_types.h>

#include <climits>
#include <cstdio>
#include <cstdlib>

#include "orvxml/context.h"

namespace orvxml {
namespace {

constexpr const char* kMessageDirectory = ORVXML_MESSAGE_DIRECTORY;

}  // namespace

void* QRK_catopen(const char* name, int flag) {
  const char* language = std::getenv("LANG");
  if (!language) return catopen(name, flag);
  // Wanted while a failure is reported, so that it needs no memory.
  char path[PATH_MAX];
  const int length = std::snprintf(path, sizeof path, "%s%s/%s", kMessageDirectory, language, name);
  const bool fits = length >= 0 && static_cast<size_t>(length) < sizeof path;
  return catopen(fits ? path : name, flag);
}

const char* QRK_catgets(void* catalog, int set, int number, const char* fallback) {
  return catgets(catalog, set, number, fallback);
}

int QRK_catclose(void* catalog) {
  return catclose(catalog);
}

}  // namespace orvxml

// The message catalog: translated texts by set 1 and message index, found by LANG below the
// installation's message directory.
#include <nl_types.h>

#include <cstdlib>
#include <string>

#include "orvxml/context.h"

namespace orvxml {
namespace {

constexpr const char* kMessageDirectory = ORVXML_MESSAGE_DIRECTORY;

}  // namespace

void* QRK_catopen(const char* name, int flag) {
  const char* language = std::getenv("LANG");
  if (!language) return catopen(name, flag);
  const std::string path = std::string(kMessageDirectory) + language + '/' + name;
  return catopen(path.c_str(), flag);
}

const char* QRK_catgets(void* catalog, int set, int number, const char* fallback) {
  return catgets(catalog, set, number, fallback);
}

int QRK_catclose(void* catalog) {
  return catclose(catalog);
}

}  // namespace orvxml

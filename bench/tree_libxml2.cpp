#include <libxml/parser.h>
#include <libxml/xpath.h>

#include "bench/support.h"
#include "bench/tree_engines.h"

namespace {

size_t values(const std::string& document, const char* xpath) {
  const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> tree(
      xmlReadMemory(document.data(), static_cast<int>(document.size()), "document", nullptr,
                    XML_PARSE_HUGE),
      &xmlFreeDoc);
  bench::require(tree != nullptr, "libxml2 does not parse the document");
  const std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)> context(
      xmlXPathNewContext(tree.get()), &xmlXPathFreeContext);
  const std::unique_ptr<xmlXPathObject, decltype(&xmlXPathFreeObject)> found(
      xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(xpath), context.get()),
      &xmlXPathFreeObject);
  bench::require(found && found->nodesetval, "libxml2 does not evaluate the path");
  const size_t count = static_cast<size_t>(found->nodesetval->nodeNr);
  for (size_t i = 0; i < count; ++i) xmlFree(xmlNodeGetContent(found->nodesetval->nodeTab[i]));
  return count;
}

const bool kListed = (bench::treeEngines().push_back({"libxml2", &values}), true);

}  // namespace

#include <pugixml.hpp>

#include "bench/support.h"
#include "bench/tree_engines.h"

namespace {

size_t values(const std::string& document, const char* xpath) {
  pugi::xml_document tree;
  bench::require(tree.load_buffer(document.data(), document.size()),
                 "pugixml does not parse the document");
  std::vector<std::string> texts;
  for (const pugi::xpath_node& node : tree.select_nodes(xpath)) {
    texts.emplace_back(node.attribute() ? node.attribute().value() : node.node().text().get());
  }
  return texts.size();
}

const bool kListed = (bench::treeEngines().push_back({"pugixml", &values}), true);

}  // namespace

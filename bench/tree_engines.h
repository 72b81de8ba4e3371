// Engines that answer an XPath over a tree of the whole document, to stand beside extraction. Each
// is there when its library was found.
#pragma once

#include <string>
#include <vector>

namespace bench {

struct TreeEngine {
  const char* name;
  // Parses the document, evaluates the path and makes a text of every value. Their number.
  size_t (*values)(const std::string& document, const char* xpath);
};

// What the libraries found have put here.
inline std::vector<TreeEngine>& treeEngines() {
  static std::vector<TreeEngine> engines;
  return engines;
}

}  // namespace bench

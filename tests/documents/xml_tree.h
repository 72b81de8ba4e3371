// A document as another engine reads it: the tree of libxml2, and XPath over it.
//
// The tree knows no name spaces, as location paths do not: a colon in a name stands in it as
// U+00B7, and the declarations are attributes like any other, called `Xmlns`.
#pragma once

#include <libxml/tree.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvxml::test {

class XmlTree {
 public:
  explicit XmlTree(std::string_view text);

  bool isWellFormed() const { return doc_ != nullptr; }
  xmlNode* root() const { return xmlDocGetRootElement(doc_.get()); }
  // The nodes that an XPath expression selects, in document order; fails the test when there is no
  // such expression.
  std::vector<xmlNode*> select(const std::string& xpath) const;
  std::vector<xmlNode*> elements() const { return select("//*"); }

 private:
  struct Free {
    void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
  };
  std::unique_ptr<xmlDoc, Free> doc_;
};

// A name for the tree, and back as the document writes it.
std::string treeName(std::string_view written);
std::string writtenName(const xmlNode* node);

// Of an element: names as written, and values, in the order of the tag.
std::vector<std::pair<std::string, std::string>> attributes(const xmlNode* element);
bool isText(const xmlNode* node);
std::string content(const xmlNode* node);
std::string ownText(const xmlNode* element);

// As documents in columns are written: no empty-element form, five characters escaped.
std::string escaped(std::string_view text);
std::string startTag(const xmlNode* element);
std::string endTag(const xmlNode* element);
std::string markup(const xmlNode* element);

}  // namespace orvxml::test

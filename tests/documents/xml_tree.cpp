#include "tests/documents/xml_tree.h"

#include <gtest/gtest.h>
#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <algorithm>
#include <list>

namespace orvxml::test {
namespace {

constexpr std::string_view kColon = "\xC2\xB7";

const xmlChar* bytes(const std::string& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}

std::string text(const xmlChar* bytes) {
  return bytes ? reinterpret_cast<const char*>(bytes) : "";
}

std::string replaced(std::string name, std::string_view from, std::string_view to) {
  for (size_t at = name.find(from); at != std::string::npos; at = name.find(from, at + to.size())) {
    name.replace(at, from.size(), to);
  }
  return name;
}

// Attributes that the DTD adds stand behind the ones that are written.
void moveDefaultsBehind(xmlNode* element, size_t writtenCount) {
  std::vector<xmlAttr*> all;
  for (xmlAttr* at = element->properties; at; at = at->next) all.push_back(at);
  if (all.size() == writtenCount || writtenCount == 0) return;
  std::rotate(all.begin(), all.end() - static_cast<std::ptrdiff_t>(writtenCount), all.end());
  element->properties = all.front();
  for (size_t i = 0; i < all.size(); ++i) {
    all[i]->prev = i > 0 ? all[i - 1] : nullptr;
    all[i]->next = i + 1 < all.size() ? all[i + 1] : nullptr;
  }
}

void startElement(void* context, const xmlChar* name, const xmlChar** attributes) {
  std::list<std::string> names;  // which stay where they are
  std::vector<const xmlChar*> renamed;
  for (const xmlChar** at = attributes; at && *at; at += 2) {
    renamed.push_back(bytes(names.emplace_back(treeName(text(*at)))));
    renamed.push_back(at[1]);
  }
  renamed.push_back(nullptr);
  const std::string element = treeName(text(name));
  xmlSAX2StartElement(context, bytes(element), names.empty() ? nullptr : renamed.data());
  moveDefaultsBehind(static_cast<xmlParserCtxt*>(context)->node, names.size());
}

void attributeDecl(void* context, const xmlChar* element, const xmlChar* name, int type,
                   int defaultKind, const xmlChar* value, xmlEnumeration* choices) {
  const std::string declared = treeName(text(name));
  xmlSAX2AttributeDecl(context, bytes(treeName(text(element))), bytes(declared), type, defaultKind,
                       value, choices);
}

xmlParserInput* loadNothing(const char*, const char*, xmlParserCtxt*) {
  return nullptr;
}

void ignore(void*, xmlError*) {}

}  // namespace

XmlTree::XmlTree(std::string_view document) {
  xmlInitParser();
  xmlSetExternalEntityLoader(loadNothing);
  xmlSetStructuredErrorFunc(nullptr, ignore);
  xmlParserCtxt* const parser =
      xmlCreateMemoryParserCtxt(document.data(), static_cast<int>(document.size()));
  if (!parser) return;
  xmlCtxtUseOptions(parser, XML_PARSE_SAX1 | XML_PARSE_NOENT | XML_PARSE_DTDATTR | XML_PARSE_HUGE |
                                XML_PARSE_NONET);
  parser->sax->startElement = startElement;
  parser->sax->attributeDecl = attributeDecl;
  xmlParseDocument(parser);
  doc_.reset(parser->myDoc);
  if (!parser->wellFormed) doc_.reset();
  xmlFreeParserCtxt(parser);
  if (doc_) xmlXPathOrderDocElems(doc_.get());
}

std::vector<xmlNode*> XmlTree::select(const std::string& xpath) const {
  const std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)> context(
      xmlXPathNewContext(doc_.get()), xmlXPathFreeContext);
  const std::unique_ptr<xmlXPathObject, decltype(&xmlXPathFreeObject)> result(
      xmlXPathEvalExpression(bytes(xpath), context.get()), xmlXPathFreeObject);
  EXPECT_TRUE(result) << xpath;
  if (!result || !result->nodesetval) return {};
  xmlXPathNodeSetSort(result->nodesetval);
  return {result->nodesetval->nodeTab, result->nodesetval->nodeTab + result->nodesetval->nodeNr};
}

// The parser moves attributes called "xmlns..." to the front.
std::string treeName(std::string_view written) {
  std::string name = replaced(std::string(written), ":", kColon);
  if (name.starts_with("xmlns")) name[0] = 'X';
  return name;
}

std::string writtenName(const xmlNode* node) {
  std::string name = replaced(text(node->name), kColon, ":");
  if (name.starts_with("Xmlns")) name[0] = 'x';
  return name;
}

std::vector<std::pair<std::string, std::string>> attributes(const xmlNode* element) {
  std::vector<std::pair<std::string, std::string>> all;
  for (const xmlAttr* at = element->properties; at; at = at->next) {
    const auto* node = reinterpret_cast<const xmlNode*>(at);
    all.emplace_back(writtenName(node), content(node));
  }
  return all;
}

bool isText(const xmlNode* node) {
  return node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE;
}

std::string content(const xmlNode* node) {
  if (isText(node)) return text(node->content);
  const std::unique_ptr<xmlChar, decltype(xmlFree)> owned(xmlNodeGetContent(node), xmlFree);
  return text(owned.get());
}

std::string ownText(const xmlNode* element) {
  std::string all;
  for (const xmlNode* child = element->children; child; child = child->next) {
    if (isText(child)) all += text(child->content);
  }
  return all;
}

std::string escaped(std::string_view plain) {
  std::string safe;
  for (const char c : plain) {
    switch (c) {
      case '"':
        safe += "&quot;";
        break;
      case '&':
        safe += "&amp;";
        break;
      case '\'':
        safe += "&apos;";
        break;
      case '<':
        safe += "&lt;";
        break;
      case '>':
        safe += "&gt;";
        break;
      default:
        safe += c;
    }
  }
  return safe;
}

std::string startTag(const xmlNode* element) {
  std::string tag = '<' + writtenName(element);
  for (const auto& [name, value] : attributes(element)) {
    tag += ' ' + name + "=\"" + escaped(value) + '"';
  }
  return tag + '>';
}

std::string endTag(const xmlNode* element) {
  return "</" + writtenName(element) + '>';
}

std::string markup(const xmlNode* element) {
  std::string all = startTag(element);
  for (const xmlNode* child = element->children; child; child = child->next) {
    if (isText(child)) all += escaped(text(child->content));
    if (child->type == XML_ELEMENT_NODE) all += markup(child);
  }
  return all + endTag(element);
}

}  // namespace orvxml::test

// Location paths: a small subset of XPath, compiled once (QrkQuery) and matched against the stack
// of open elements (QrkCurrentPath) as a document is read.
//
//   /order/item[@type="book"]/price    elements, from the document element down
//   //price   /order//note             elements at any depth below
//   /order/@id   //@id                 an attribute of the selected elements, of any element
//
// Names are compared as written, prefixes included. "*" stands for any element, a predicate without
// an attribute test ("[2]") is ignored.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <xercesc/sax2/Attributes.hpp>

#include "orvxml/context.h"

namespace orvxml {

// Attributes as they are written, without name spaces and types: what asks for those gets null, -1
// or false.
class PlainAttributes : public xercesc::Attributes {
 public:
  const XMLCh* getURI(XMLSize_t) const override { return nullptr; }
  const XMLCh* getLocalName(XMLSize_t) const override { return nullptr; }
  const XMLCh* getType(XMLSize_t) const override { return nullptr; }
  bool getIndex(const XMLCh*, const XMLCh*, XMLSize_t&) const override { return false; }
  int getIndex(const XMLCh*, const XMLCh*) const override { return -1; }
  bool getIndex(const XMLCh*, XMLSize_t&) const override { return false; }
  int getIndex(const XMLCh*) const override { return -1; }
  const XMLCh* getType(const XMLCh*, const XMLCh*) const override { return nullptr; }
  const XMLCh* getType(const XMLCh*) const override { return nullptr; }
  const XMLCh* getValue(const XMLCh*, const XMLCh*) const override { return nullptr; }
  using xercesc::Attributes::getValue;
};

// Copies of one element's attributes that outlive the parser's callback.
class QrkAttrs : public PlainAttributes {
 public:
  explicit QrkAttrs(QrkStruct* ctx) : ctx_(ctx) {}
  // Replaces the copies held; their memory is used again.
  void initialize(const xercesc::Attributes& attributes);
  XMLSize_t getLength() const override { return count_; }
  const XMLCh* getQName(XMLSize_t index) const override;  // null past the end
  // Past the end these two fail with QRKG001E.
  const XMLCh* getName(XMLSize_t index) const;
  const XMLCh* getValue(XMLSize_t index) const override;
  const XMLCh* getValue(const XMLCh* qname) const override;  // null when there is none
  // The value of the first attribute called `qname`; null when there is none.
  const std::u16string* find(std::u16string_view qname) const;
  using PlainAttributes::getValue;

 private:
  void checkIndex(XMLSize_t index, int line) const;

  size_t count_ = 0;  // the vectors may hold more, left from earlier elements
  std::vector<std::u16string> names_;
  std::vector<std::u16string> values_;
  QrkStruct* ctx_;
};

struct QrkCurrentPathNode {
  std::u16string name;
  QrkAttrs attrs;
  QrkCurrentPathNode* next = nullptr;  // the open child
  QrkCurrentPathNode* parent = nullptr;
};

// The stack of open elements, from the document element (head) to the innermost one (tail).
class QrkCurrentPath {
 public:
  explicit QrkCurrentPath(QrkStruct* context) : ctx(context) {}
  ~QrkCurrentPath();
  QrkCurrentPath(const QrkCurrentPath&) = delete;
  QrkCurrentPath& operator=(const QrkCurrentPath&) = delete;
  void push(const XMLCh* name, const xercesc::Attributes& attributes);
  void pop();  // nothing on an empty stack

  QrkCurrentPathNode* head = nullptr;
  QrkCurrentPathNode* tail = nullptr;
  QrkStruct* ctx;

 private:
  QrkCurrentPathNode* spare_ = nullptr;  // popped nodes, linked by `next`, for the next push
};

enum QrkQueryKind : int32_t { kSelectsAttribute = 0, kSelectsText = 1, kSelectsMarkup = 2 };
enum QrkMatch : int { kNoMatchBelow = 0, kMatchPossibleBelow = 1, kMatch = 2 };

struct QrkQueryChunk;
struct QrkQueryChunks;

// A compiled path. Its steps point into `path`, which must live, unchanged, as long as the query.
// Compiling takes time linear in the length of the path.
class QrkQuery {
 public:
  QrkQuery(QrkStruct* ctx, XMLCh* path);
  ~QrkQuery() { cleanup(); }
  QrkQuery(const QrkQuery&) = delete;
  QrkQuery& operator=(const QrkQuery&) = delete;
  void cleanup();
  // QrkMatch for the innermost open element.
  int tryToMatch(const QrkCurrentPath& open) const;

  int32_t state = 0;  // 0, or the position of the syntax error
  int32_t kind = kSelectsText;
  XMLCh* attrName = nullptr;       // owned; of a path that selects an attribute
  QrkQueryChunk* head = nullptr;   // steps in front of the first "//"
  QrkQueryChunks* body = nullptr;  // segments between the first and the last "//"
  QrkQueryChunk* tail = nullptr;   // steps after the last "//", last step first
  QrkStruct* ctx;
  XMLCh* path;
};

}  // namespace orvxml

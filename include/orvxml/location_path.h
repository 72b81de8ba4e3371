// Location paths: a small subset of XPath, compiled once (QrkQuery) and matched against the stack
// of open elements (QrkCurrentPath) as a document is read.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <xercesc/sax2/Attributes.hpp>

#include "orvxml/context.h"

namespace orvxml {

// Copies of one element's attributes that outlive the parser's callback.
class QrkAttrs : public xercesc::Attributes {
 public:
  explicit QrkAttrs(QrkStruct* ctx) : ctx_(ctx) {}
  void initialize(const xercesc::Attributes& attributes);
  XMLSize_t getLength() const override;
  const XMLCh* getQName(XMLSize_t index) const override;
  const XMLCh* getName(XMLSize_t index) const;
  const XMLCh* getValue(XMLSize_t index) const override;
  const XMLCh* getValue(const XMLCh* qname) const override;   // null when there is none
  // Not supported: null, -1 or false.
  const XMLCh* getURI(XMLSize_t index) const override;
  const XMLCh* getLocalName(XMLSize_t index) const override;
  const XMLCh* getType(XMLSize_t index) const override;
  bool getIndex(const XMLCh* uri, const XMLCh* local, XMLSize_t& index) const override;
  int getIndex(const XMLCh* uri, const XMLCh* local) const override;
  bool getIndex(const XMLCh* qname, XMLSize_t& index) const override;
  int getIndex(const XMLCh* qname) const override;
  const XMLCh* getType(const XMLCh* uri, const XMLCh* local) const override;
  const XMLCh* getType(const XMLCh* qname) const override;
  const XMLCh* getValue(const XMLCh* uri, const XMLCh* local) const override;

 private:
  std::vector<std::u16string> names_;
  std::vector<std::u16string> values_;
  QrkStruct* ctx_;
};

struct QrkCurrentPathNode {
  std::u16string name;
  QrkAttrs attrs;
  QrkCurrentPathNode* next = nullptr;      // the open child
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
  void pop();

  QrkCurrentPathNode* head = nullptr;
  QrkCurrentPathNode* tail = nullptr;
  QrkStruct* ctx;
};

enum QrkQueryKind : int32_t { kSelectsAttribute = 0, kSelectsText = 1, kSelectsMarkup = 2 };
enum QrkMatch : int { kNoMatchBelow = 0, kMatchPossibleBelow = 1, kMatch = 2 };

struct QrkQueryChunk;
struct QrkQueryChunks;

// A compiled path. `path` is cut in place and must live, unchanged, as long as the query.
class QrkQuery {
 public:
  QrkQuery(QrkStruct* ctx, XMLCh* path);
  ~QrkQuery() { cleanup(); }
  QrkQuery(const QrkQuery&) = delete;
  QrkQuery& operator=(const QrkQuery&) = delete;
  void cleanup();
  // QrkMatch for the innermost open element.
  int tryToMatch(const QrkCurrentPath& open) const;

  int32_t state = 0;                       // 0, or the position of the syntax error
  int32_t kind = kSelectsText;
  XMLCh* attrName = nullptr;
  QrkQueryChunk* head = nullptr;
  QrkQueryChunks* body = nullptr;
  QrkQueryChunk* tail = nullptr;           // last step first
  QrkStruct* ctx;
  XMLCh* path;
};

}  // namespace orvxml

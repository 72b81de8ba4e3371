// What a parse told its handler (elements with their attributes, character data), kept so that
// other handlers can be told the same without the document being read again.
//
// The tape is one row of UTF-16 units. An event is its kind and what follows it:
//
//   Start        number of attributes (2 units), name, then name and value of each attribute
//   End          nothing: it closes the innermost element
//   Characters   text
//   WhiteSpace   text
//
// A name, value or text is its length (2 units), its units, and a terminator.
#pragma once

#include <cstddef>
#include <string>

#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/sax2/ContentHandler.hpp>

namespace orvxml {

class EventTape {
 public:
  // Out of memory: std::bad_alloc.
  void startElement(const XMLCh* name, const xercesc::Attributes& attributes);
  void endElement();
  void characters(const XMLCh* text, XMLSize_t length);
  void ignorableWhitespace(const XMLCh* text, XMLSize_t length);

  size_t bytes() const { return units_.size() * sizeof(char16_t); }
  // Forgets the events; the memory is used again.
  void clear() { units_.clear(); }

  // Tells `handler` all events, as a parse without name spaces would: of an element it hears the
  // name as written. What the handler throws ends the run and is passed on.
  void replay(xercesc::ContentHandler& handler) const;

 private:
  enum Kind : char16_t { Start, End, Characters, WhiteSpace };

  void addSize(size_t size);
  void addText(const XMLCh* text, size_t length);

  std::u16string units_;
};

}  // namespace orvxml

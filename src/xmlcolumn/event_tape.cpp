#include "src/xmlcolumn/event_tape.h"

#include <vector>

#include <xercesc/util/XMLString.hpp>

#include "src/xmlcolumn/location_path.h"

namespace orvxml {
namespace {

using xercesc::XMLString;

constexpr int kUnitBits = 16;

struct Text {
  const XMLCh* units;  // terminated
  XMLSize_t length;
};

// The attributes of the element that is being told, where they stand on the tape.
class TapeAttributes : public PlainAttributes {
 public:
  void clear() { all_.clear(); }
  void add(const Text& name, const Text& value) { all_.push_back({name, value}); }

  XMLSize_t getLength() const override { return all_.size(); }
  const XMLCh* getQName(XMLSize_t index) const override {
    return index < all_.size() ? all_[index].name.units : nullptr;
  }
  const XMLCh* getValue(XMLSize_t index) const override {
    return index < all_.size() ? all_[index].value.units : nullptr;
  }
  const XMLCh* getValue(const XMLCh* qname) const override {
    for (const Attribute& one : all_) {
      if (XMLString::equals(one.name.units, qname)) return one.value.units;
    }
    return nullptr;
  }
  using PlainAttributes::getValue;

 private:
  struct Attribute {
    Text name, value;
  };
  std::vector<Attribute> all_;
};

class TapeReader {
 public:
  explicit TapeReader(const std::u16string& units)
      : at_(units.data()), end_(units.data() + units.size()) {}

  bool atEnd() const { return at_ == end_; }
  char16_t kind() { return *at_++; }
  size_t size() {
    const size_t high = *at_++;
    return high << kUnitBits | *at_++;
  }
  Text text() {
    const size_t length = size();
    const Text found{at_, length};
    at_ += length + 1;
    return found;
  }

 private:
  const char16_t* at_;
  const char16_t* end_;
};

}  // namespace

void EventTape::startElement(const XMLCh* name, const xercesc::Attributes& attributes) {
  units_.push_back(Start);
  const XMLSize_t count = attributes.getLength();
  addSize(count);
  addText(name, XMLString::stringLen(name));
  for (XMLSize_t i = 0; i < count; ++i) {
    const XMLCh* const attribute = attributes.getQName(i);
    const XMLCh* const value = attributes.getValue(i);
    addText(attribute, XMLString::stringLen(attribute));
    addText(value, XMLString::stringLen(value));
  }
}

void EventTape::endElement() {
  units_.push_back(End);
}

void EventTape::characters(const XMLCh* text, XMLSize_t length) {
  units_.push_back(Characters);
  addText(text, length);
}

void EventTape::ignorableWhitespace(const XMLCh* text, XMLSize_t length) {
  units_.push_back(WhiteSpace);
  addText(text, length);
}

void EventTape::addSize(size_t size) {
  units_.push_back(static_cast<char16_t>(size >> kUnitBits));
  units_.push_back(static_cast<char16_t>(size));
}

void EventTape::addText(const XMLCh* text, size_t length) {
  addSize(length);
  units_.append(text, length);
  units_.push_back(0);
}

void EventTape::replay(xercesc::ContentHandler& handler) const {
  static constexpr XMLCh kNone[] = u"";
  TapeAttributes attributes;
  std::vector<const XMLCh*> open;
  for (TapeReader reader(units_); !reader.atEnd();) {
    switch (reader.kind()) {
      case Start: {
        const size_t count = reader.size();
        open.push_back(reader.text().units);
        attributes.clear();
        for (size_t i = 0; i < count; ++i) {
          const Text name = reader.text();
          attributes.add(name, reader.text());
        }
        handler.startElement(kNone, kNone, open.back(), attributes);
        break;
      }
      case End:
        handler.endElement(kNone, kNone, open.back());
        open.pop_back();
        break;
      case Characters: {
        const Text text = reader.text();
        handler.characters(text.units, text.length);
        break;
      }
      default: {
        const Text text = reader.text();
        handler.ignorableWhitespace(text.units, text.length);
      }
    }
  }
}

}  // namespace orvxml

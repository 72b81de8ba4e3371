// The parse that extraction is measured against: the library's parser and settings, and a handler
// that does nothing.
#pragma once

#include <string>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/SAX2XMLReaderImpl.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/util/XMLUni.hpp>

namespace bench {

class BareParser {
 public:
  BareParser() {
    using xercesc::XMLUni;
    parser_.setContentHandler(&handler_);
    parser_.setErrorHandler(&handler_);
    parser_.setEntityResolver(&handler_);
    parser_.setDTDHandler(&handler_);
    parser_.setLexicalHandler(&handler_);
    for (const XMLCh* feature :
         {XMLUni::fgSAX2CoreNameSpaces, XMLUni::fgSAX2CoreNameSpacePrefixes,
          XMLUni::fgSAX2CoreValidation, XMLUni::fgXercesSchema, XMLUni::fgXercesLoadExternalDTD}) {
      parser_.setFeature(feature, false);
    }
  }

  void parse(const std::string& text) {
    xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(text.data()), text.size(),
                                      "document");
    source.setCopyBufToStream(false);
    parser_.parse(source);
  }

 private:
  xercesc::SAX2XMLReaderImpl parser_;
  xercesc::DefaultHandler handler_;
};

}  // namespace bench

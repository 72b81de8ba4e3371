#include "src/decompose/dad_header.h"

#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "orvxml/xml_writer.h"

namespace orvxml {

namespace {

// Every error of the header is reported with this code, whatever its message.
constexpr int kHeaderError = -1;

class HeaderReader {
 public:
  HeaderReader(QrkStruct* ctx, DadHeader& header, char* msg)
      : ctx_(ctx), header_(header), msg_(msg) {}

  int readChild(const DOM_Node& node);

 private:
  int readSchemaBindings(const DOM_Node& node);
  int readDtdid(const DOM_Node& node);
  int readValidation(const DOM_Node& node);
  std::string text(std::u16string_view value) const;

  template <class... Args>
  int failHeader(Msg message, const Args&... args) {
    fail(Report{ctx_, msg_}, message, args...);
    return kHeaderError;
  }

  QrkStruct* ctx_;
  DadHeader& header_;
  char* msg_;
};

std::u16string strippedFirstChild(const DOM_Node& node) {
  const DOMString value = node.getFirstChild().getNodeValue();
  std::u16string stripped(value.view());
  const int length = u_stripwhitespace(stripped.data());
  stripped.resize(length > 0 ? static_cast<size_t>(length) : 0);
  return stripped;
}

bool startsWith(const std::u16string& value, const char16_t* word, int32_t length) {
  return u_strncasecmp(value.c_str(), word, length, U_FOLD_CASE_DEFAULT) == 0;
}

int childCount(const DOM_Node& node) {
  int count = 0;
  for (DOM_Node child = node.getFirstChild(); !child.isNull(); child = child.getNextSibling()) {
    ++count;
  }
  return count;
}

std::string HeaderReader::text(std::u16string_view value) const {
  std::string converted;
  if (!toDatabase(ctx_, value, converted)) converted.clear();
  return converted;
}

int HeaderReader::readChild(const DOM_Node& node) {
  const DOMString name = node.getNodeName();
  QRK_TRACE(ctx_, "node name = %s, # of children = %d", text(name.view()).c_str(),
            childCount(node));
  if (name.equals(u"#comment") || name.equals(u"#text") || name.equals(u"Xcollection")) return 0;
  if (name.equals(u"schemabindings")) return readSchemaBindings(node);
  if (name.equals(u"dtdid")) return readDtdid(node);
  if (name.equals(u"validation")) return readValidation(node);
  return failHeader(Msg::QRKQ040E, text(name.view()));
}

int HeaderReader::readSchemaBindings(const DOM_Node& node) {
  if (header_.hasDtdid) return failHeader(Msg::QRKQ057E);
  header_.hasSchema = true;
  header_.schemaLocation.clear();
  for (DOM_Node child = node.getFirstChild(); !child.isNull(); child = child.getNextSibling()) {
    if (!child.isElement() || !child.getNodeName().equals(u"nonamespacelocation")) continue;
    header_.schemaLocation = child.asElement().getAttribute(u"location").view();
  }
  return header_.schemaLocation.empty() ? failHeader(Msg::QRKQ058E) : 0;
}

int HeaderReader::readDtdid(const DOM_Node& node) {
  if (header_.hasSchema) return failHeader(Msg::QRKQ057E);
  header_.hasDtdid = true;
  if (node.getFirstChild().isNull()) return 0;
  header_.dtdid = strippedFirstChild(node);
  QRK_TRACE(ctx_, "dtdid = %s", text(header_.dtdid).c_str());
  return 0;
}

int HeaderReader::readValidation(const DOM_Node& node) {
  const std::u16string value = strippedFirstChild(node);
  QRK_TRACE(ctx_, "validation = %s", text(value).c_str());
  header_.validate = startsWith(value, u"YES", 3);
  if (header_.validate || startsWith(value, u"NO", 2)) return 0;
  return failHeader(Msg::QRKA056E, text(value));
}

}  // namespace

int readDadHeader(QrkStruct* ctx, const DOM_Document& dad, DadHeader& header, char* msg) {
  const DOM_Element root = dad.getDocumentElement();
  QRK_TRACE(ctx, "number children = %d", childCount(root));
  HeaderReader reader(ctx, header, msg);
  for (DOM_Node child = root.getFirstChild(); !child.isNull(); child = child.getNextSibling()) {
    if (int code = reader.readChild(child)) return code;
  }
  return 0;
}

}  // namespace orvxml

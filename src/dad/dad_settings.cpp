#include "src/dad/dad_settings.h"

#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "orvxml/xml_writer.h"

namespace orvxml {

namespace {

class SettingsReader {
 public:
  SettingsReader(const Report& report, const DadSettingLimits& limits, DadSettings& settings)
      : report_(report), ctx_(report.ctx), limits_(limits), settings_(settings) {}

  int readChild(const DOM_Node& node);

 private:
  int readSchemaBindings(const DOM_Node& node);
  int readDtdid(const DOM_Node& node);
  int readValidation(const DOM_Node& node);
  std::string text(std::u16string_view value) const;

  const Report report_;
  QrkStruct* const ctx_;
  const DadSettingLimits& limits_;
  DadSettings& settings_;
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

std::string SettingsReader::text(std::u16string_view value) const {
  return textForMessage(ctx_, value);
}

int SettingsReader::readChild(const DOM_Node& node) {
  const DOMString name = node.getNodeName();
  QRK_TRACE(ctx_, "node name = %s, # of children = %d", text(name.view()).c_str(),
            childCount(node));
  if (name.equals(u"#comment") || name.equals(u"#text") || name.equals(u"Xcollection")) return 0;
  if (name.equals(u"schemabindings")) return readSchemaBindings(node);
  if (name.equals(u"dtdid")) return readDtdid(node);
  if (name.equals(u"validation")) return readValidation(node);
  return limits_.othersRefused ? fail(report_, Msg::QRKQ040E, text(name.view())) : 0;
}

int SettingsReader::readSchemaBindings(const DOM_Node& node) {
  if (settings_.hasDtdid) return fail(report_, Msg::QRKQ057E);
  settings_.hasSchema = true;
  settings_.schemaLocation.clear();
  for (DOM_Node child = node.getFirstChild(); !child.isNull(); child = child.getNextSibling()) {
    if (!child.isElement() || !child.getNodeName().equals(u"nonamespacelocation")) continue;
    settings_.schemaLocation = child.asElement().getAttribute(u"location").view();
    if (settings_.schemaLocation.size() > limits_.schemaLocation) settings_.schemaLocation.clear();
  }
  return settings_.schemaLocation.empty() ? fail(report_, Msg::QRKQ058E) : 0;
}

int SettingsReader::readDtdid(const DOM_Node& node) {
  if (settings_.hasSchema) return fail(report_, Msg::QRKQ057E);
  settings_.hasDtdid = true;
  if (node.getFirstChild().isNull()) return 0;
  settings_.dtdid = strippedFirstChild(node);
  QRK_TRACE(ctx_, "dtdid = %s", text(settings_.dtdid).c_str());
  const bool fits = node.getFirstChild().getNodeValue().view().size() <= limits_.dtdid;
  return fits ? 0 : fail(report_, Msg::QRKA010E, text(settings_.dtdid));
}

int SettingsReader::readValidation(const DOM_Node& node) {
  settings_.hasValidation = true;
  const std::u16string value = strippedFirstChild(node);
  QRK_TRACE(ctx_, "validation = %s", text(value).c_str());
  const bool fits = node.getFirstChild().getNodeValue().view().size() <= limits_.validation;
  settings_.validate = fits && startsWith(value, u"YES", 3);
  if (settings_.validate || (fits && startsWith(value, u"NO", 2))) return 0;
  return fail(report_, Msg::QRKA056E, text(value));
}

}  // namespace

int readDadSettings(QrkStruct* ctx, const DOM_Document& dad, const DadSettingLimits& limits,
                    DadSettings& settings, char* msg, char* sqlState) {
  const DOM_Element root = dad.getDocumentElement();
  QRK_TRACE(ctx, "number children = %d", childCount(root));
  SettingsReader reader(Report{.ctx = ctx, .msg = msg, .sqlState = sqlState}, limits, settings);
  for (DOM_Node child = root.getFirstChild(); !child.isNull(); child = child.getNextSibling()) {
    if (int code = reader.readChild(child)) return code;
  }
  return 0;
}

}  // namespace orvxml

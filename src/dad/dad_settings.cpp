#include "src/dad/dad_settings.h"

#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/dad/dad_walk.h"
#include "src/text/trimming.h"

namespace orvxml {

namespace {

class SettingsReader {
 public:
  SettingsReader(const Report& report, const DadSettingLimits& limits, DadSettings& settings)
      : report_(report), ctx_(report.ctx), limits_(limits), settings_(settings) {}

  int readChild(const DOM_Element& element);

 private:
  int readSchemaBindings(const DOM_Element& element);
  int readDtdid(const DOM_Element& element);
  int readValidation(const DOM_Element& element);
  template <class... Args>
  int refuse(const DOM_Element& element, Msg message, const Args&... args) {
    tellPlace(element.node());
    return fail(report_, message, args...);
  }
  std::string text(std::u16string_view value) const;

  const Report report_;
  QrkStruct* const ctx_;
  const DadSettingLimits& limits_;
  DadSettings& settings_;
};

// The text of an element without the white space around it.
struct SettingText {
  std::u16string stripped;
  size_t length;  // in characters, with that white space
};

SettingText settingText(const DOM_Element& element) {
  SettingText text{dadtree::childText(element.node()), 0};
  text.length = text.stripped.size();
  const int length = u_stripwhitespace(text.stripped.data());
  text.stripped.resize(length > 0 ? static_cast<size_t>(length) : 0);
  return text;
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

int SettingsReader::readChild(const DOM_Element& element) {
  const DOMString name = element.getTagName();
  QRK_TRACE(ctx_, "node name = %s, # of children = %d", text(name.view()).c_str(),
            childCount(element));
  if (name.equals(u"Xcollection")) return 0;
  if (name.equals(u"schemabindings")) return readSchemaBindings(element);
  if (name.equals(u"dtdid")) return readDtdid(element);
  if (name.equals(u"validation")) return readValidation(element);
  return limits_.othersRefused ? refuse(element, Msg::QRKQ040E, text(name.view())) : 0;
}

// The last `nonamespacelocation` counts. QRKQ058E is for one that is not there at all.
int SettingsReader::readSchemaBindings(const DOM_Element& element) {
  if (settings_.hasDtdid) return refuse(element, Msg::QRKQ057E);
  settings_.hasSchema = true;
  DOM_Element last;
  for (DOM_Node child = element.getFirstChild(); !child.isNull(); child = child.getNextSibling()) {
    if (child.isElement() && child.getNodeName().equals(u"nonamespacelocation")) {
      last = child.asElement();
    }
  }
  if (last.isNull()) return refuse(element, Msg::QRKQ058E);
  settings_.schemaLocation = last.getAttribute(u"location").view();
  if (settings_.schemaLocation.empty() ||
      settings_.schemaLocation.size() > limits_.schemaLocation) {
    settings_.schemaLocation.clear();
    return refuse(last, Msg::QRKQ000E, "location of nonamespacelocation");
  }
  return 0;
}

int SettingsReader::readDtdid(const DOM_Element& element) {
  if (settings_.hasSchema) return refuse(element, Msg::QRKQ057E);
  settings_.hasDtdid = true;
  SettingText read = settingText(element);
  settings_.dtdid = std::move(read.stripped);
  QRK_TRACE(ctx_, "dtdid = %s", text(settings_.dtdid).c_str());
  if (read.length <= limits_.dtdid) return 0;
  return refuse(element, Msg::QRKA010E, text(settings_.dtdid));
}

int SettingsReader::readValidation(const DOM_Element& element) {
  settings_.hasValidation = true;
  const SettingText read = settingText(element);
  QRK_TRACE(ctx_, "validation = %s", text(read.stripped).c_str());
  const bool fits = read.length <= limits_.validation;
  settings_.validate = fits && startsWith(read.stripped, u"YES", 3);
  if (settings_.validate || (fits && startsWith(read.stripped, u"NO", 2))) return 0;
  return refuse(element, Msg::QRKA056E, text(read.stripped));
}

}  // namespace

int readDadSettings(QrkStruct* ctx, const DOM_Document& dad, const DadSettingLimits& limits,
                    DadSettings& settings, char* msg, char* sqlState) {
  const DOM_Element root = dad.getDocumentElement();
  QRK_TRACE(ctx, "number children = %d", childCount(root));
  SettingsReader reader(Report{.ctx = ctx, .msg = msg, .sqlState = sqlState}, limits, settings);
  for (DOM_Node child = root.getFirstChild(); !child.isNull(); child = child.getNextSibling()) {
    if (!child.isElement()) continue;
    if (int code = reader.readChild(child.asElement())) return code;
  }
  return 0;
}

}  // namespace orvxml

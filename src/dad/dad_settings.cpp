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
  SettingsReader(QrkStruct* ctx, const DadSettingLimits& limits) : ctx_(ctx), limits_(limits) {}

  void readChild(const DOM_Element& element);
  DadSettings take() { return std::move(settings_); }

 private:
  void readSchemaBindings(const DOM_Element& element);
  void readDtdid(const DOM_Element& element);
  void readValidation(const DOM_Element& element);
  std::string text(std::u16string_view value) const;

  QrkStruct* const ctx_;
  const DadSettingLimits& limits_;
  DadSettings settings_;
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

void SettingsReader::readChild(const DOM_Element& element) {
  const DOMString name = element.getTagName();
  QRK_TRACE(ctx_, "node name = %s, # of children = %d", text(name.view()).c_str(),
            childCount(element));
  if (name.equals(u"Xcollection")) return;
  if (name.equals(u"schemabindings")) return readSchemaBindings(element);
  if (name.equals(u"dtdid")) return readDtdid(element);
  if (name.equals(u"validation")) return readValidation(element);
  if (limits_.othersRefused) {
    throw at(element.node(), Failure(Msg::QRKQ040E, text(name.view())));
  }
}

// The last `nonamespacelocation` counts. QRKQ058E is for one that is not there at all.
void SettingsReader::readSchemaBindings(const DOM_Element& element) {
  if (settings_.hasDtdid) throw at(element.node(), Failure(Msg::QRKQ057E));
  settings_.hasSchema = true;
  DOM_Element last;
  for (DOM_Node child = element.getFirstChild(); !child.isNull(); child = child.getNextSibling()) {
    if (child.isElement() && child.getNodeName().equals(u"nonamespacelocation")) {
      last = child.asElement();
    }
  }
  if (last.isNull()) throw at(element.node(), Failure(Msg::QRKQ058E));
  settings_.schemaLocation = last.getAttribute(u"location").view();
  if (settings_.schemaLocation.empty() ||
      settings_.schemaLocation.size() > limits_.schemaLocation) {
    throw at(last.node(), Failure(Msg::QRKQ000E, "location of nonamespacelocation"));
  }
}

void SettingsReader::readDtdid(const DOM_Element& element) {
  if (settings_.hasSchema) throw at(element.node(), Failure(Msg::QRKQ057E));
  settings_.hasDtdid = true;
  SettingText read = settingText(element);
  settings_.dtdid = std::move(read.stripped);
  QRK_TRACE(ctx_, "dtdid = %s", text(settings_.dtdid).c_str());
  if (read.length > limits_.dtdid) {
    throw at(element.node(), Failure(Msg::QRKA010E, text(settings_.dtdid)));
  }
}

void SettingsReader::readValidation(const DOM_Element& element) {
  settings_.hasValidation = true;
  const SettingText read = settingText(element);
  QRK_TRACE(ctx_, "validation = %s", text(read.stripped).c_str());
  const bool fits = read.length <= limits_.validation;
  settings_.validate = fits && startsWith(read.stripped, u"YES", 3);
  if (settings_.validate || (fits && startsWith(read.stripped, u"NO", 2))) return;
  throw at(element.node(), Failure(Msg::QRKA056E, text(read.stripped)));
}

}  // namespace

DadSettings readDadSettings(QrkStruct* ctx, const DOM_Document& dad,
                            const DadSettingLimits& limits) {
  const DOM_Element root = dad.getDocumentElement();
  QRK_TRACE(ctx, "number children = %d", childCount(root));
  SettingsReader reader(ctx, limits);
  for (DOM_Node child = root.getFirstChild(); !child.isNull(); child = child.getNextSibling()) {
    if (child.isElement()) reader.readChild(child.asElement());
  }
  return reader.take();
}

}  // namespace orvxml

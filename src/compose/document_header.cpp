// The first lines of a composed document: what the DAD says, nothing added.
#include <algorithm>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/compose/xml_writer.h"
#include "src/dad/dad_walk.h"
#include "src/outcome/failure.h"

namespace orvxml {

namespace {

constexpr std::u16string_view kSpace = u" \t\r\n";

// White space around a part is how the mapping is laid out: nothing parses where it stands behind
// "<", nor, but in a doctype, in front of ">".
std::u16string_view trimmed(std::u16string_view text, bool isDoctype) {
  text.remove_prefix(std::min(text.find_first_not_of(kSpace), text.size()));
  return isDoctype ? text : text.substr(0, text.find_last_not_of(kSpace) + 1);
}

// Appends "<text>" of the element called `name` to the header, on a line of its own.
void addPart(QrkStruct* ctx, std::string& header, const DOM_Element& mapping, const char16_t* name,
             bool required) {
  const DOM_Element part = mapping.firstDescendant(name);
  if (part.isNull() && !required) return;
  if (part.isNull() || !part.node()->hasChildNodes()) {
    throw Failure(Msg::QRKQ000E, textForMessage(ctx, name));
  }
  std::u16string line(header.empty() ? u"" : u"\n");
  const std::u16string text = dadtree::childText(part.node());
  line.append(K_UC_L_ABRACE).append(trimmed(text, std::u16string_view(name) == u"doctype"));
  line.append(K_UC_R_ABRACE);
  std::string bytes;
  if (!toDatabase(ctx, line, bytes)) throw Failure::internal();
  if (header.size() + bytes.size() >= kHeaderSize) throw Failure::ofLimit("QRK_HEADER_SIZE");
  header += bytes;
}

}  // namespace

std::string qrkGenDocHeader(QrkStruct* ctx, const DOM_Element& dad) {
  QRK_TRACE(ctx, "Entered");
  const DOM_Element collection = dad.firstDescendant(u"Xcollection");
  const DOM_Element& mapping = collection.isNull() ? dad : collection;
  std::string header;
  addPart(ctx, header, mapping, u"prolog", true);
  addPart(ctx, header, mapping, u"doctype", false);
  addPart(ctx, header, mapping, u"stylesheet", false);
  return header;
}

}  // namespace orvxml

// The first lines of a composed document: what the DAD says, nothing added.
#include <algorithm>
#include <cstring>

#include "orvxml/trace.h"
#include "src/compose/modules.h"
#include "src/compose/xml_writer.h"
#include "src/dad/dad_walk.h"

namespace orvxml {

namespace {

constexpr std::u16string_view kSpace = u" \t\r\n";

// White space around a part is how the mapping is laid out: nothing parses where it stands behind
// "<", nor, but in a doctype, in front of ">".
std::u16string_view trimmed(std::u16string_view text, bool isDoctype) {
  text.remove_prefix(std::min(text.find_first_not_of(kSpace), text.size()));
  return isDoctype ? text : text.substr(0, text.find_last_not_of(kSpace) + 1);
}

// Writes the parts of the header one below the other.
class HeaderWriter {
 public:
  HeaderWriter(const Report& report, char* header) : report_(report), header_(header) {
    header_[0] = 0;
  }

  // "<text>" of the element called `name`, on a line of its own. 0, or -1.
  int add(const DOM_Element& mapping, const char16_t* name, bool required) {
    const DOM_Element part = mapping.firstDescendant(name);
    if (part.isNull() && !required) return 0;
    if (part.isNull() || !part.node()->hasChildNodes()) {
      return failed(report_, Msg::QRKQ000E, textForMessage(report_.ctx, name));
    }
    std::u16string line(used_ ? u"\n" : u"");
    const std::u16string text = dadtree::childText(part.node());
    line.append(K_UC_L_ABRACE).append(trimmed(text, std::u16string_view(name) == u"doctype"));
    line.append(K_UC_R_ABRACE);
    return append(line);
  }

 private:
  int append(const std::u16string& line) {
    std::string bytes;
    if (!toDatabase(report_.ctx, line, bytes)) {
      failInternal(report_, kComposeModule, __LINE__);
      return -1;
    }
    if (used_ + bytes.size() >= kHeaderSize) {
      return failed(report_, Msg::QRKG017E, "QRK_HEADER_SIZE", buildStamp(), kComposeModule,
                    __LINE__);
    }
    std::memcpy(header_ + used_, bytes.c_str(), bytes.size() + 1);
    used_ += bytes.size();
    return 0;
  }

  const Report& report_;
  char* const header_;
  size_t used_ = 0;
};

}  // namespace

int qrkGenDocHeader(QrkStruct* ctx, const DOM_Element& dad, char* header, int* errCode, char* msg) {
  QRK_TRACE(ctx, "Entered");
  const Report report{.ctx = ctx, .msg = msg, .errCode = errCode};
  const DOM_Element collection = dad.firstDescendant(u"Xcollection");
  const DOM_Element& mapping = collection.isNull() ? dad : collection;
  HeaderWriter writer(report, header);
  if (int rc = writer.add(mapping, u"prolog", true)) return rc;
  if (int rc = writer.add(mapping, u"doctype", false)) return rc;
  return writer.add(mapping, u"stylesheet", false);
}

}  // namespace orvxml

// Copies of one element's attributes.
#include "orvxml/trace.h"
#include "orvxml/utilities.h"
#include "src/outcome/failure.h"
#include "src/xmlcolumn/location_path_steps.h"

namespace orvxml {
namespace {

constexpr char kModule[] = "qrk_xml/include/qrkSgDocHandler";

// "Nov 24 2026/20:16:07": date and time of the build.
std::string buildDateAndTime() {
  std::string stamp = buildStamp();
  const size_t blank = stamp.rfind(' ');
  if (blank != std::string::npos) stamp[blank] = '/';
  return stamp;
}

}  // namespace

void QrkAttrs::initialize(const xercesc::Attributes& attributes) {
  count_ = 0;
  const XMLSize_t count = attributes.getLength();
  if (names_.size() < count) names_.resize(count);
  if (values_.size() < count) values_.resize(count);
  for (XMLSize_t i = 0; i < count; ++i) {
    names_[i] = attributes.getQName(i);
    values_[i] = attributes.getValue(i);
  }
  count_ = count;
}

void QrkAttrs::checkIndex(XMLSize_t index, int line) const {
  if (index < count_) return;
  QRK_TRACE(ctx_, "Index (%d) out of range.", static_cast<int>(index));
  throw Failure(Msg::QRKG001E, buildDateAndTime(), kModule, line);
}

const XMLCh* QrkAttrs::getQName(XMLSize_t index) const {
  return index < count_ ? names_[index].c_str() : nullptr;
}

const XMLCh* QrkAttrs::getName(XMLSize_t index) const {
  checkIndex(index, __LINE__);
  return names_[index].c_str();
}

const XMLCh* QrkAttrs::getValue(XMLSize_t index) const {
  checkIndex(index, __LINE__);
  return values_[index].c_str();
}

const std::u16string* QrkAttrs::find(std::u16string_view qname) const {
  for (size_t i = 0; i < count_; ++i) {
    if (names_[i] == qname) return &values_[i];
  }
  return nullptr;
}

const XMLCh* QrkAttrs::getValue(const XMLCh* qname) const {
  const std::u16string* value = qname ? find(qname) : nullptr;
  return value ? value->c_str() : nullptr;
}

}  // namespace orvxml

#include "src/xmlcolumn/schema_scan.h"

#include <algorithm>
#include <array>

#include <xercesc/sax2/Attributes.hpp>

namespace orvxml {
namespace {

constexpr std::u16string_view kWhiteSpace = u" \t\r\n";
constexpr double kManyTimes = 1e9;

std::u16string_view localPart(std::u16string_view name) {
  return name.substr(name.find(u':') + 1);
}

std::u16string_view valueOf(const xercesc::Attributes& attributes, const XMLCh* name) {
  const XMLCh* const value = attributes.getValue(name);
  return value ? value : std::u16string_view();
}

std::u16string keyOf(const char16_t* prefix, std::u16string_view name) {
  return prefix + std::u16string(localPart(name));
}

// Calls `use` with the local part of each name in a list.
template <class Use>
void forEachName(std::u16string_view list, Use use) {
  for (;;) {
    const size_t start = list.find_first_not_of(kWhiteSpace);
    if (start == list.npos) return;
    list.remove_prefix(start);
    const std::u16string_view name = list.substr(0, list.find_first_of(kWhiteSpace));
    use(localPart(name));
    list.remove_prefix(name.size());
  }
}

double number(std::u16string_view digits, double otherwise) {
  if (digits.empty()) return otherwise;
  double value = 0;
  for (const char16_t c : digits) {
    if (c >= u'0' && c <= u'9') value = std::min(value * 10 + (c - u'0'), kManyTimes);
  }
  return value;
}

// How often the parser writes out a group with these occurrences.
double timesOf(const xercesc::Attributes& attributes) {
  const double least = number(valueOf(attributes, u"minOccurs"), 1);
  const std::u16string_view most = valueOf(attributes, u"maxOccurs");
  return std::max({1.0, least, most == u"unbounded" ? 1.0 : number(most, 1)});
}

bool isAnyOf(std::u16string_view kind, std::initializer_list<std::u16string_view> kinds) {
  return std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
}

}  // namespace

void SchemaSize::add(const SchemaSize& other, double times) {
  fixed += other.fixed * times;
  for (const auto& [key, count] : other.of) of.emplace_back(key, count * times);
}

void SchemaScan::startElement(const XMLCh*, const XMLCh*, const XMLCh* name,
                              const xercesc::Attributes& attributes) {
  const std::u16string_view kind = localPart(name);
  ++elements_;
  if (open_.empty()) {
    targetNamespace_ = valueOf(attributes, u"targetNamespace");
  } else if (isAnyOf(kind, {u"include", u"import", u"redefine"})) {
    locations_.emplace_back(valueOf(attributes, u"schemaLocation"));
  } else if (componentDepth_ == 0) {
    componentDepth_ = open_.size() + 1;
    components_.emplace_back().name = localPart(valueOf(attributes, u"name"));
  }
  if (componentDepth_ > 0) {
    SchemaComponent& component = components_.back();
    component.depth =
        std::max(component.depth, static_cast<int>(open_.size() + 2 - componentDepth_));
    noteReferences(attributes);
    noteTexts(kind, attributes);
  }
  if (kind == u"element") {
    const std::u16string_view head = valueOf(attributes, u"substitutionGroup");
    if (!head.empty()) heads_.emplace_back(valueOf(attributes, u"name"), localPart(head));
  }
  open_.push_back(levelOf(kind, attributes));
}

void SchemaScan::noteReferences(const xercesc::Attributes& attributes) {
  static constexpr std::array<const XMLCh*, 6> kReferences = {
      u"ref", u"type", u"base", u"itemType", u"memberTypes", u"substitutionGroup"};
  for (const XMLCh* const attribute : kReferences) {
    forEachName(valueOf(attributes, attribute),
                [&](std::u16string_view name) { components_.back().names.emplace_back(name); });
  }
}

void SchemaScan::noteTexts(std::u16string_view kind, const xercesc::Attributes& attributes) {
  const auto note = [&](std::vector<SchemaText>& texts, const XMLCh* attribute) {
    const XMLCh* const value = attributes.getValue(attribute);
    if (!value) return;
    texts.push_back({value, locator_ ? locator_->getLineNumber() : 0,
                     locator_ ? locator_->getColumnNumber() : 0});
  };
  if (kind == u"pattern") note(patterns_, u"value");
  if (kind == u"enumeration") note(values_, u"value");
  note(values_, u"default");
  note(values_, u"fixed");
}

SchemaScan::Level SchemaScan::levelOf(std::u16string_view kind,
                                      const xercesc::Attributes& attributes) const {
  Level level{.kind = std::u16string(kind), .key = {}, .size = {}, .times = 1};
  const std::u16string_view name = valueOf(attributes, u"name");
  const std::u16string_view reference = valueOf(attributes, u"ref");
  if (kind == u"element") {
    level.size.fixed = 1;
    if (!reference.empty()) level.size.of.emplace_back(keyOf(u"s:", reference), 1);
  } else if (isAnyOf(kind, {u"any", u"sequence", u"choice", u"all"})) {
    level.size.fixed = 1;
  } else if (kind == u"complexType") {
    level.key = keyOf(u"t:", name);
  } else if (kind == u"group") {
    if (!name.empty()) level.key = keyOf(u"g:", name);
    if (!reference.empty()) level.size.of.emplace_back(keyOf(u"g:", reference), 1);
  } else if (kind == u"extension") {
    level.size.of.emplace_back(keyOf(u"t:", valueOf(attributes, u"base")), 1);
  } else if (kind == u"simpleType") {
    level.key = keyOf(u"u:", name);
    level.size.fixed = 1;
  } else if (!open_.empty() && open_.back().kind == u"simpleType") {
    for (const XMLCh* const attribute : {u"memberTypes", u"itemType", u"base"}) {
      forEachName(valueOf(attributes, attribute), [&](std::u16string_view type) {
        level.size.of.emplace_back(keyOf(u"u:", type), 1);
      });
    }
  }
  if (isAnyOf(kind, {u"sequence", u"choice", u"all", u"group"})) level.times = timesOf(attributes);
  return level;
}

void SchemaScan::endElement(const XMLCh*, const XMLCh*, const XMLCh*) {
  if (componentDepth_ == open_.size()) componentDepth_ = 0;
  Level level = std::move(open_.back());
  open_.pop_back();
  if (!level.key.empty()) sizes_.emplace_back(level.key, level.size);
  if (open_.empty()) return;
  const bool isSimple = isAnyOf(open_.back().kind, {u"union", u"list", u"restriction"});
  if (level.kind == u"complexType" || (level.kind == u"simpleType" && !isSimple)) return;
  open_.back().size.add(level.size, level.times);
}

}  // namespace orvxml

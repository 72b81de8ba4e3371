#include "src/xmlcolumn/schema_scan.h"

#include <algorithm>

#include <xercesc/sax2/Attributes.hpp>

namespace orvxml {
namespace {

constexpr double kManyTimes = 1e9;

std::u16string_view localPart(std::u16string_view name) {
  return name.substr(name.find(u':') + 1);
}

std::u16string_view valueOf(const xercesc::Attributes& attributes, const XMLCh* name) {
  const XMLCh* const value = attributes.getValue(name);
  return value ? value : std::u16string_view();
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

std::u16string qualified(char16_t kind, std::u16string_view space, std::u16string_view name) {
  std::u16string all{kind, u'{'};
  return all.append(space).append(u"}").append(name);
}

bool isAnyOf(std::u16string_view kind, std::initializer_list<std::u16string_view> kinds) {
  return std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
}

// The letter of a component, or of the element that refers to one.
char16_t letterOf(std::u16string_view kind) {
  if (isAnyOf(kind, {u"complexType", u"simpleType"})) return u't';
  if (kind == u"attributeGroup") return u'b';
  return kind.empty() ? u' ' : kind.front();
}

}  // namespace

void SchemaSize::add(const SchemaSize& other, double times) {
  fixed += other.fixed * times;
  for (const auto& [key, count] : other.of) of.emplace_back(key, count * times);
}

void SchemaScan::startElement(const XMLCh*, const XMLCh*, const XMLCh* name,
                              const xercesc::Attributes& attributes) {
  const size_t bindings = bindings_.size();
  noteBindings(attributes);
  if (annotationDepth_ > 0 || opensAnnotation(name)) {
    bindings_.resize(bindings);
    ++annotationDepth_;
    return;
  }
  const std::u16string_view kind = localPart(name);
  ++elements_;
  if (open_.empty()) {
    const std::u16string_view own = valueOf(attributes, u"targetNamespace");
    isOfNoSpace_ = own.empty();
    if (!isOfNoSpace_) targetNamespace_ = own;
  } else if (open_.size() == 1 && isAnyOf(kind, {u"include", u"import", u"redefine"})) {
    parts_.push_back({std::u16string(valueOf(attributes, u"schemaLocation")), kind == u"import"});
  } else if (componentDepth_ == 0) {
    componentDepth_ = open_.size() + 1;
    components_.emplace_back().name = defined(letterOf(kind), valueOf(attributes, u"name"));
  }
  if (componentDepth_ > 0) {
    SchemaComponent& component = components_.back();
    component.depth =
        std::max(component.depth, static_cast<int>(open_.size() + 2 - componentDepth_));
    noteReferences(kind, attributes);
    noteTexts(kind, attributes);
  }
  if (kind == u"element") {
    ++declarations_;
    const std::u16string_view head = valueOf(attributes, u"substitutionGroup");
    if (!head.empty()) {
      heads_.emplace_back(defined(u's', valueOf(attributes, u"name")), referred(u's', head));
    }
  }
  open_.push_back(levelOf(kind, attributes));
  open_.back().bindings = bindings;
}

void SchemaScan::noteBindings(const xercesc::Attributes& attributes) {
  constexpr std::u16string_view kDeclaration = u"xmlns";
  for (XMLSize_t i = 0; i < attributes.getLength(); ++i) {
    const std::u16string_view name = attributes.getQName(i);
    if (!name.starts_with(kDeclaration)) continue;
    const std::u16string_view prefix = name.substr(kDeclaration.size());
    if (!prefix.empty() && prefix.front() != u':') continue;
    bindings_.emplace_back(prefix.substr(prefix.empty() ? 0 : 1), attributes.getValue(i));
  }
}

std::u16string_view SchemaScan::spaceOf(std::u16string_view name) const {
  const size_t colon = name.find(u':');
  const std::u16string_view prefix = name.substr(0, colon == name.npos ? 0 : colon);
  const auto found = std::find_if(bindings_.rbegin(), bindings_.rend(),
                                  [&](const auto& binding) { return binding.first == prefix; });
  return found == bindings_.rend() ? std::u16string_view() : found->second;
}

std::u16string SchemaScan::defined(char16_t kind, std::u16string_view name) const {
  return qualified(kind, targetNamespace_, name);
}

std::u16string SchemaScan::referred(char16_t kind, std::u16string_view name) const {
  const std::u16string_view space = spaceOf(name);
  return qualified(kind, space.empty() && isOfNoSpace_ ? targetNamespace_ : space, localPart(name));
}

bool SchemaScan::opensAnnotation(std::u16string_view name) const {
  return localPart(name) == u"annotation" && !open_.empty() &&
         spaceOf(name) == u"http://www.w3.org/2001/XMLSchema";
}

void SchemaScan::noteReferences(std::u16string_view kind, const xercesc::Attributes& attributes) {
  const auto note = [&](char16_t letter, const XMLCh* attribute) {
    takesItems(valueOf(attributes, attribute), [&](std::u16string_view name) {
      components_.back().names.push_back(referred(letter, name));
      return true;
    });
  };
  for (const XMLCh* const attribute : {u"type", u"base", u"itemType", u"memberTypes"}) {
    note(u't', attribute);
  }
  note(letterOf(kind), u"ref");
  note(u'e', u"substitutionGroup");
}

void SchemaScan::noteTexts(std::u16string_view kind, const xercesc::Attributes& attributes) {
  const auto note = [&](std::vector<SchemaText>& texts, const XMLCh* attribute) {
    const XMLCh* const value = attributes.getValue(attribute);
    if (!value) return;
    const std::u16string_view type = valueOf(attributes, u"type");
    texts.push_back(
        {value, components_.size() - 1, type.empty() ? std::u16string() : referred(u't', type),
         locator_ ? locator_->getLineNumber() : 0, locator_ ? locator_->getColumnNumber() : 0});
  };
  note(kind == u"pattern" ? patterns_ : values_, u"value");
  note(values_, u"default");
  note(values_, u"fixed");
}

SchemaScan::Level SchemaScan::levelOf(std::u16string_view kind,
                                      const xercesc::Attributes& attributes) const {
  Level level{.kind = std::u16string(kind), .key = {}, .size = {}, .times = 1, .bindings = 0};
  const std::u16string_view name = valueOf(attributes, u"name");
  const std::u16string_view reference = valueOf(attributes, u"ref");
  if (kind == u"element") {
    level.size.fixed = 1;
    if (!reference.empty()) level.size.of.emplace_back(referred(u's', reference), 1);
  } else if (isAnyOf(kind, {u"any", u"sequence", u"choice", u"all"})) {
    level.size.fixed = 1;
  } else if (kind == u"complexType") {
    level.key = defined(u't', name);
  } else if (kind == u"group") {
    if (!name.empty()) level.key = defined(u'g', name);
    if (!reference.empty()) level.size.of.emplace_back(referred(u'g', reference), 1);
  } else if (kind == u"extension") {
    level.size.of.emplace_back(referred(u't', valueOf(attributes, u"base")), 1);
  } else if (kind == u"simpleType") {
    level.key = defined(u'u', name);
    level.size.fixed = 1;
  } else if (!open_.empty() && open_.back().kind == u"simpleType") {
    for (const XMLCh* const attribute : {u"memberTypes", u"itemType", u"base"}) {
      takesItems(valueOf(attributes, attribute), [&](std::u16string_view type) {
        level.size.of.emplace_back(referred(u'u', type), 1);
        return true;
      });
    }
  }
  if (isAnyOf(kind, {u"sequence", u"choice", u"all", u"group"})) level.times = timesOf(attributes);
  return level;
}

void SchemaScan::endElement(const XMLCh*, const XMLCh*, const XMLCh*) {
  if (annotationDepth_ > 0) {
    --annotationDepth_;
    return;
  }
  if (componentDepth_ == open_.size()) componentDepth_ = 0;
  Level level = std::move(open_.back());
  open_.pop_back();
  bindings_.resize(level.bindings);
  if (!level.key.empty()) sizes_.emplace_back(level.key, level.size);
  if (open_.empty()) return;
  const bool isSimple = isAnyOf(open_.back().kind, {u"union", u"list", u"restriction"});
  if (level.kind == u"complexType" || (level.kind == u"simpleType" && !isSimple)) return;
  open_.back().size.add(level.size, level.times);
}

}  // namespace orvxml

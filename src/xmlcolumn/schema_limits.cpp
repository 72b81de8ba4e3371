#include "src/xmlcolumn/schema_limits.h"

#include <pthread.h>

#include <algorithm>
#include <set>

#include <xercesc/util/KVStringPair.hpp>
#include <xercesc/validators/datatype/ListDatatypeValidator.hpp>
#include <xercesc/validators/datatype/UnionDatatypeValidator.hpp>
#include <xercesc/validators/schema/SchemaSymbols.hpp>

#include "src/xmlcolumn/notice_text.h"

namespace orvxml {
namespace {

constexpr int64_t kMaxElements = 100'000;
constexpr size_t kStackPerLevel = 800;  // of the parser's recursion, with room to spare
constexpr size_t kMostStack = size_t{64} * 1024 * 1024;
constexpr double kMaxModelWork = 1e7;  // squares of content models: some seconds
constexpr double kMaxUnionTypes = 100'000;
constexpr double kMaxHeads = 1'000'000;         // steps from elements to the heads of their groups
constexpr size_t kMaxPatternSize = 10'000'000;  // of all patterns, in positions and edges
constexpr double kMaxLiteralSteps = 1e7;        // values of the schema itself, on its patterns
constexpr double kValueSteps = 1e7;             // of any document
constexpr double kStepsPerByte = 32;            // and of its size
constexpr double kHuge = 1e12;
constexpr size_t kShownUnits = 60;  // of a pattern, in a message

using Files = std::vector<const SchemaScan*>;

// Bytes of this thread's stack that are left.
size_t stackLeft() {
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return 0;
  void* lowest = nullptr;
  size_t size = 0;
  pthread_attr_getstack(&attributes, &lowest, &size);
  pthread_attr_destroy(&attributes);
  const auto* const here = static_cast<const char*>(__builtin_frame_address(0));
  return std::min(static_cast<size_t>(here - static_cast<const char*>(lowest)), kMostStack);
}

// How deep the parser may have to go: through every component that another one refers to and that
// refers to others, and into one of the rest.
size_t recursionOf(const Files& files) {
  std::set<std::u16string_view> names, referred;
  for (const SchemaScan* file : files) {
    for (const SchemaComponent& component : file->components()) {
      names.insert(component.name);
      referred.insert(component.names.begin(), component.names.end());
    }
  }
  size_t chain = 0, deepest = 0;
  for (const SchemaScan* file : files) {
    for (const SchemaComponent& component : file->components()) {
      const auto depth = static_cast<size_t>(component.depth);
      const bool passesOn = referred.contains(component.name) &&
                            std::any_of(component.names.begin(), component.names.end(),
                                        [&](const auto& name) { return names.contains(name); });
      if (passesOn) chain += depth;
      deepest = std::max(deepest, depth);
    }
  }
  return chain + deepest;
}

// Sizes with those of the components that they are made of.
class Sizes {
 public:
  explicit Sizes(const Files& files) {
    for (const SchemaScan* file : files) {
      for (const auto& [key, size] : file->sizes()) known_[key].push_back(&size);
    }
    countMembers(files);
  }

  double headSteps() const { return headSteps_; }
  double of(const SchemaSize& size) {
    double total = size.fixed;
    for (const auto& [key, times] : size.of) total += times * of(key);
    return std::min(total, kHuge);
  }

 private:
  // A definition that is made of itself is none that the parser expands.
  double of(const std::u16string& key) {
    const auto [found, isNew] = sizes_.try_emplace(key, 0);
    if (!isNew) return found->second;
    double largest = members(key);
    if (const auto known = known_.find(key); known != known_.end()) {
      for (const SchemaSize* size : known->second) largest = std::max(largest, of(*size));
    }
    return sizes_[key] = largest;
  }

  double members(const std::u16string& key) const {
    const auto found = members_.find(key);
    return found == members_.end() ? 0 : found->second;
  }

  // Each element stands wherever the head of its substitution group may, and that group's head.
  void countMembers(const Files& files) {
    std::map<std::u16string_view, std::u16string_view> heads;
    for (const SchemaScan* file : files) {
      for (const auto& [name, head] : file->heads()) heads[name] = head;
    }
    for (const auto& [name, head] : heads) {
      size_t left = heads.size();
      for (std::u16string_view at = head; left > 0; --left) {
        members_[u"s:" + std::u16string(at)] += 1;
        if (++headSteps_ > kMaxHeads) return;
        const auto next = heads.find(at);
        if (next == heads.end()) break;
        at = next->second;
      }
    }
  }

  std::map<std::u16string, std::vector<const SchemaSize*>> known_;
  std::map<std::u16string, double> members_, sizes_;
  double headSteps_ = 0;
};

std::optional<SchemaExcess> excessOfModels(const Files& files) {
  Sizes sizes(files);
  if (sizes.headSteps() > kMaxHeads) {
    return SchemaExcess{.file = nullptr,
                        .reason = "The schema's substitution groups are too large."};
  }
  double work = 0;
  for (const SchemaScan* file : files) {
    for (const auto& [key, size] : file->sizes()) {
      const double total = sizes.of(size);
      if (key.starts_with(u'u') && total > kMaxUnionTypes) {
        return SchemaExcess{.file = file, .reason = "A union of the schema has too many types."};
      }
      if (key.starts_with(u't')) work += total * total;
      if (work > kMaxModelWork) {
        return SchemaExcess{.file = file, .reason = "The schema's content models are too large."};
      }
    }
  }
  return std::nullopt;
}

std::optional<SchemaExcess> excessOfPatterns(const Files& files) {
  std::vector<std::unique_ptr<PatternCost>> costly;
  std::set<std::u16string_view> known;
  size_t size = 0;
  for (const SchemaScan* file : files) {
    for (const SchemaText& pattern : file->patterns()) {
      if (!known.insert(pattern.text).second) continue;
      const char* refusal = "";
      auto compiled = PatternCost::compile(pattern.text, refusal);
      if (!compiled) {
        return SchemaExcess{
            file,
            "The pattern '" + utf8Text(pattern.text.substr(0, kShownUnits)) + "' " + refusal + ".",
            pattern.line, pattern.column};
      }
      size += compiled->size();
      if (size > kMaxPatternSize) {
        return SchemaExcess{file, "The schema's patterns are too large.", pattern.line,
                            pattern.column};
      }
      if (!compiled->isPlain()) costly.push_back(std::move(compiled));
    }
  }
  double spent = 0;
  for (const SchemaScan* file : files) {
    for (const SchemaText& value : file->values()) {
      for (const auto& pattern : costly) spent += pattern->steps(value.text, kMaxLiteralSteps);
      if (spent > kMaxLiteralSteps) {
        return SchemaExcess{file, "The schema's patterns take too long to judge its values.",
                            value.line, value.column};
      }
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<SchemaExcess> excessOf(const Files& files) {
  int64_t elements = 0;
  for (const SchemaScan* file : files) elements += file->elements();
  if (elements > kMaxElements)
    return SchemaExcess{.file = nullptr, .reason = "The schema has too many elements."};
  if (recursionOf(files) > stackLeft() / kStackPerLevel) {
    return SchemaExcess{.file = nullptr,
                        .reason = "The schema's definitions build on each other too deeply."};
  }
  if (auto excess = excessOfModels(files)) return excess;
  return excessOfPatterns(files);
}

ValueCosts::ValueCosts(uint64_t documentBytes)
    : limit_(kValueSteps + kStepsPerByte * static_cast<double>(documentBytes)) {}

PatternCost* ValueCosts::compiled(std::u16string_view pattern) {
  const auto found = byText_.find(pattern);
  if (found != byText_.end()) return found->second.get();
  const char* refusal = "";
  return byText_.emplace(pattern, PatternCost::compile(pattern, refusal)).first->second.get();
}

// The type's own tests and those of the types that it derives from.
const ValueCosts::Tests& ValueCosts::testsOf(const Type* type) {
  const auto [found, isNew] = byType_.try_emplace(type);
  Tests& tests = found->second;
  if (!isNew) return tests;
  for (const Type* at = type; at; at = at->getBaseValidator()) {
    const auto* const facets = at->getFacets();
    const xercesc::KVStringPair* const pattern =
        facets ? facets->get(xercesc::SchemaSymbols::fgELT_PATTERN) : nullptr;
    if (pattern) tests.patterns.push_back(compiled(pattern->getValue()));
    if (const auto* list = dynamic_cast<const xercesc::ListDatatypeValidator*>(at)) {
      tests.items = list->getItemTypeDTV();
      // The base of a list is the type of its items.
      const Type* const base = at->getBaseValidator();
      if (!base || base->getType() != Type::List) break;
    }
    if (const auto* choice = dynamic_cast<const xercesc::UnionDatatypeValidator*>(at)) {
      const auto* const members = choice->getMemberTypeValidators();
      if (!tests.members.empty() || !members) continue;
      for (XMLSize_t i = 0; i < members->size(); ++i)
        tests.members.push_back(members->elementAt(i));
    }
  }
  return tests;
}

bool ValueCosts::allows(const Type* type, std::u16string_view value) {
  if (!type) return true;
  const Tests& tests = testsOf(type);
  for (PatternCost* const pattern : tests.patterns) {
    if (!pattern) return false;
    spent_ += pattern->steps(value, limit_);
    if (spent_ > limit_) return false;
  }
  if (tests.items && !allowsItems(tests.items, value)) return false;
  return std::all_of(tests.members.begin(), tests.members.end(),
                     [&](const Type* member) { return allows(member, value); });
}

bool ValueCosts::allowsItems(const Type* type, std::u16string_view value) {
  constexpr std::u16string_view kWhiteSpace = u" \t\r\n";
  while (!value.empty()) {
    const size_t end = std::min(value.find_first_of(kWhiteSpace), value.size());
    if (end > 0 && !allows(type, value.substr(0, end))) return false;
    value.remove_prefix(std::min(end + 1, value.size()));
  }
  return true;
}

}  // namespace orvxml

#include "src/xmlcolumn/schema_limits.h"

#include <pthread.h>

#include <algorithm>
#include <set>
#include <utility>

#include <xercesc/util/KVStringPair.hpp>
#include <xercesc/validators/datatype/ListDatatypeValidator.hpp>
#include <xercesc/validators/datatype/UnionDatatypeValidator.hpp>
#include <xercesc/validators/schema/SchemaSymbols.hpp>

#include "src/xmlcolumn/notice_text.h"

namespace orvxml {
namespace {

constexpr int64_t kMaxElements = 100'000;
constexpr int64_t kMaxDeclarations = 40'000;  // each is sought among all others: some seconds
constexpr size_t kStackPerLevel = 800;        // of the parser's recursion, with room to spare
constexpr size_t kMostStack = size_t{64} * 1024 * 1024;
constexpr double kMaxModelWork = 1e7;  // squares of content models: some seconds
constexpr double kMaxUnionTypes = 100'000;
constexpr double kMaxHeads = 1'000'000;         // steps from elements to the heads of their groups
constexpr size_t kMaxPatternSize = 10'000'000;  // of all patterns, in positions and edges
constexpr double kMaxLiteralSteps = 1e7;        // values of the schema itself, on its patterns
constexpr double kStepsPerComponent = 0.5;      // to find which patterns a value is held against
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

// The components of all files and which ones each of them refers to. Definitions of one name, as a
// redefinition is, refer to each other in their order.
class Components {
 public:
  explicit Components(const Files& files) {
    std::map<std::u16string_view, size_t> latest;
    for (const SchemaScan* file : files) {
      for (const SchemaComponent& component : file->components()) {
        const size_t i = all_.size();
        all_.push_back(&component);
        targets_.emplace_back();
        const auto [before, isFirst] = latest.try_emplace(component.name, i);
        if (isFirst) {
          byName_.emplace(component.name, i);
        } else {
          targets_[std::exchange(before->second, i)].push_back(i);
        }
      }
    }
    for (size_t i = 0; i < all_.size(); ++i) {
      const std::set<std::u16string_view> names(all_[i]->names.begin(), all_[i]->names.end());
      for (const std::u16string_view name : names) {
        if (const auto target = named(name)) targets_[i].push_back(*target);
      }
    }
  }

  size_t count() const { return all_.size(); }
  size_t depth(size_t i) const { return static_cast<size_t>(all_[i]->depth); }
  // The first of the name.
  std::optional<size_t> named(std::u16string_view name) const {
    const auto found = byName_.find(name);
    return found == byName_.end() ? std::nullopt : std::optional<size_t>(found->second);
  }
  const std::vector<size_t>& targets(size_t i) const { return targets_[i]; }

 private:
  std::map<std::u16string_view, size_t> byName_;
  std::vector<const SchemaComponent*> all_;
  std::vector<std::vector<size_t>> targets_;
};

using Links = std::vector<std::vector<size_t>>;

// Takes away, again and again, what has no link to anything that is left: the longest chain in
// that.
size_t peel(const Components& components, const Links& from, const Links& to,
            std::vector<bool>& isGone) {
  std::vector<size_t> left(components.count()), longest(components.count()), ready;
  for (size_t i = 0; i < components.count(); ++i) {
    if (isGone[i]) continue;
    for (const size_t next : from[i]) left[i] += isGone[next] ? 0 : 1;
    if (left[i] == 0) ready.push_back(i);
  }
  size_t most = 0;
  while (!ready.empty()) {
    const size_t i = ready.back();
    ready.pop_back();
    isGone[i] = true;
    longest[i] += components.depth(i);
    most = std::max(most, longest[i]);
    for (const size_t next : to[i]) {
      if (isGone[next]) continue;
      longest[next] = std::max(longest[next], longest[i]);
      if (--left[next] == 0) ready.push_back(next);
    }
  }
  return most;
}

// How deep the parser may have to go: down the longest chain of components that refer to each
// other, and through all that refer to themselves, on whatever way.
size_t recursionOf(const Components& components) {
  Links down(components.count()), up(components.count());
  for (size_t i = 0; i < components.count(); ++i) {
    down[i] = components.targets(i);
    for (const size_t target : down[i]) up[target].push_back(i);
  }
  std::vector<bool> isGone(components.count());
  size_t depth = peel(components, down, up, isGone);
  depth += peel(components, up, down, isGone);
  for (size_t i = 0; i < components.count(); ++i) depth += isGone[i] ? 0 : components.depth(i);
  return depth;
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
    double total = members(key);
    if (const auto known = known_.find(key); known != known_.end()) {
      // A redefinition holds the definition before it.
      for (const SchemaSize* size : known->second) total += of(*size);
    }
    return sizes_[key] = std::min(total, kHuge);
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
        members_[std::u16string(at)] += 1;
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

// The patterns that cost more than the length of a value, each with the components that hold it.
class Patterns {
 public:
  using Costly = std::vector<PatternCost*>;

  // Compiles them: what is wrong with one.
  std::optional<SchemaExcess> add(const SchemaScan& file, const SchemaText& pattern,
                                  size_t holder) {
    const auto [found, isNew] = byText_.try_emplace(pattern.text);
    if (isNew) {
      const char* refusal = "";
      found->second = PatternCost::compile(pattern.text, refusal);
      if (!found->second) {
        return SchemaExcess{
            &file,
            "The pattern '" + utf8Text(pattern.text.substr(0, kShownUnits)) + "' " + refusal + ".",
            pattern.line, pattern.column};
      }
      size_ += found->second->size();
      if (size_ > kMaxPatternSize) {
        return SchemaExcess{&file, "The schema's patterns are too large.", pattern.line,
                            pattern.column};
      }
    }
    if (!found->second->isPlain()) byHolder_[holder].push_back(found->second.get());
    return std::nullopt;
  }
  bool haveCostly() const { return !byHolder_.empty(); }
  const Costly* of(size_t holder) const {
    const auto found = byHolder_.find(holder);
    return found == byHolder_.end() ? nullptr : &found->second;
  }

 private:
  std::map<std::u16string_view, std::unique_ptr<PatternCost>> byText_;
  std::map<size_t, Costly> byHolder_;
  size_t size_ = 0;
};

// Steps for the literals of the schema, each on the patterns that its component builds on.
class LiteralCosts {
 public:
  LiteralCosts(const Components& components, const Patterns& patterns)
      : components_(components), patterns_(patterns), met_(components.count()) {}

  // False when they are too many.
  bool add(const SchemaText& literal, size_t holder) {
    const std::optional<size_t> start =
        literal.type.empty() ? holder : components_.named(literal.type);
    if (!start) return true;
    // What it is for its type: as written, each item of a list, with blanks for white space, or
    // with single ones.
    const Patterns::Costly& patterns = patternsOf(*start);
    std::u16string replaced = literal.text, collapsed;
    if (!add(literal.text, patterns)) return false;
    if (replaced.find_first_of(kWhiteSpace) == replaced.npos) return true;
    for (char16_t& c : replaced) c = kWhiteSpace.find(c) == kWhiteSpace.npos ? c : u' ';
    return takesItems(literal.text,
                      [&](std::u16string_view item) {
                        if (!collapsed.empty()) collapsed += u' ';
                        collapsed += item;
                        return add(item, patterns);
                      }) &&
           add(replaced, patterns) && add(collapsed, patterns);
  }

 private:
  bool add(std::u16string_view value, const Patterns::Costly& patterns) {
    for (PatternCost* const pattern : patterns) {
      spent_ += 1 + pattern->steps(value, kMaxLiteralSteps);
      if (spent_ > kMaxLiteralSteps) return false;
    }
    return spent_ <= kMaxLiteralSteps;
  }

  const Patterns::Costly& patternsOf(size_t start) {
    const auto [found, isNew] = reached_.try_emplace(start);
    if (!isNew) return found->second;
    met_[start] = ++walk_;
    std::vector<size_t> open{start};
    while (!open.empty()) {
      const size_t i = open.back();
      open.pop_back();
      spent_ += kStepsPerComponent;
      if (const Patterns::Costly* own = patterns_.of(i)) {
        found->second.insert(found->second.end(), own->begin(), own->end());
      }
      for (const size_t next : components_.targets(i)) {
        if (std::exchange(met_[next], walk_) != walk_) open.push_back(next);
      }
    }
    return found->second;
  }

  const Components& components_;
  const Patterns& patterns_;
  std::map<size_t, Patterns::Costly> reached_;  // from where
  std::vector<size_t> met_;                     // number of the walk
  size_t walk_ = 0;
  double spent_ = 0;
};

std::optional<SchemaExcess> excessOfPatterns(const Files& files, const Components& components) {
  Patterns patterns;
  size_t first = 0;  // component of the file
  for (const SchemaScan* file : files) {
    for (const SchemaText& pattern : file->patterns()) {
      if (auto excess = patterns.add(*file, pattern, first + pattern.component)) return excess;
    }
    first += file->components().size();
  }
  if (!patterns.haveCostly()) return std::nullopt;
  LiteralCosts costs(components, patterns);
  first = 0;
  for (const SchemaScan* file : files) {
    for (const SchemaText& value : file->values()) {
      if (!costs.add(value, first + value.component)) {
        return SchemaExcess{file, "The schema's patterns take too long to judge its values.",
                            value.line, value.column};
      }
    }
    first += file->components().size();
  }
  return std::nullopt;
}

}  // namespace

std::optional<SchemaExcess> excessOf(const Files& files) {
  int64_t elements = 0, declarations = 0;
  for (const SchemaScan* file : files) {
    elements += file->elements();
    declarations += file->declarations();
  }
  if (elements > kMaxElements || declarations > kMaxDeclarations)
    return SchemaExcess{.file = nullptr, .reason = "The schema has too many elements."};
  const Components components(files);
  if (recursionOf(components) > stackLeft() / kStackPerLevel) {
    return SchemaExcess{.file = nullptr,
                        .reason = "The schema's definitions build on each other too deeply."};
  }
  if (auto excess = excessOfModels(files)) return excess;
  return excessOfPatterns(files, components);
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
  return takesItems(value, [&](std::u16string_view item) { return allows(type, item); });
}

}  // namespace orvxml

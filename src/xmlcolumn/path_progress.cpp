#include "src/xmlcolumn/path_progress.h"

namespace orvxml {
namespace {

bool equals(std::u16string_view text, const XMLCh* terminated) {
  for (const char16_t unit : text) {
    if (*terminated++ != unit) return false;
  }
  return *terminated == 0;
}

bool passes(const QrkQueryFilter& test, const xercesc::Attributes& attributes) {
  for (XMLSize_t i = 0; i < attributes.getLength(); ++i) {
    if (equals(test.attrName, attributes.getQName(i))) {
      return equals(test.attrValue, attributes.getValue(i));
    }
  }
  return false;
}

bool matchExactOne(const QrkQueryFilter& filter, const XMLCh* name,
                   const xercesc::Attributes& attributes) {
  if (filter.name != u"*" && !equals(filter.name, name)) return false;
  return !filter.hasTest || passes(filter, attributes);
}

using Filters = std::vector<const QrkQueryFilter*>;

Filters filtersOf(const QrkQueryChunk* steps) {
  Filters filters;
  for (; steps; steps = steps->next) filters.push_back(&steps->filter);
  return filters;
}

}  // namespace

PathProgress::PathProgress(const QrkQuery& query) {
  addStage(filtersOf(query.head), true, false);
  for (const QrkQueryChunks* segment = query.body; segment; segment = segment->next) {
    addStage(filtersOf(segment->chunks), false, false);
  }
  const Filters tail = filtersOf(query.tail);
  addStage(Filters(tail.rbegin(), tail.rend()), false, true);
  if (!query.body && !query.tail && query.kind != kSelectsMarkup) below_ = kNoMatchBelow;
  levels_.push_back({.stage = 0, .candidates = 0, .match = kMatchPossibleBelow});
}

void PathProgress::addStage(const Filters& filters, bool isAnchored, bool isTail) {
  if (filters.empty()) return;
  stages_.push_back({static_cast<uint32_t>(steps_.size()), isAnchored, isTail});
  for (const QrkQueryFilter* filter : filters) steps_.push_back({filter, filter == filters.back()});
}

QrkMatch PathProgress::push(const XMLCh* name, const xercesc::Attributes& attributes) {
  const Level parent = levels_.back();
  Level level{.stage = parent.stage,
              .candidates = static_cast<uint32_t>(candidates_.size()),
              .match = below_};
  if (parent.stage < stages_.size()) level.match = seek(level, parent, name, attributes);
  levels_.push_back(level);
  return level.match;
}

QrkMatch PathProgress::seek(Level& level, const Level& parent, const XMLCh* name,
                            const xercesc::Attributes& attributes) {
  const Stage& stage = stages_[parent.stage];
  bool isComplete = false;
  for (uint32_t i = parent.candidates; i < level.candidates; ++i) {
    isComplete |= extend(candidates_[i], name, attributes);
  }
  if (!stage.isAnchored || levels_.size() == 1) isComplete |= extend(stage.first, name, attributes);
  if (!isComplete) {
    const bool isLost = stage.isAnchored && candidates_.size() == level.candidates;
    return isLost ? kNoMatchBelow : kMatchPossibleBelow;
  }
  if (stage.isTail) return kMatch;
  candidates_.resize(level.candidates);  // the next stage begins below this element
  ++level.stage;
  return level.stage == stages_.size() ? kMatch : kMatchPossibleBelow;
}

// True when the element fits the last step of a stage.
bool PathProgress::extend(uint32_t step, const XMLCh* name, const xercesc::Attributes& attributes) {
  if (!matchExactOne(*steps_[step].filter, name, attributes)) return false;
  if (steps_[step].isLast) return true;
  candidates_.push_back(step + 1);
  return false;
}

void PathProgress::pop() {
  candidates_.resize(levels_.back().candidates);
  levels_.pop_back();
}

// ---- Against a whole stack of open elements

int QrkQuery::tryToMatch(const QrkCurrentPath& open) const {
  PathProgress progress(*this);
  for (const QrkCurrentPathNode* element = open.head; element; element = element->next) {
    if (progress.push(element->name.c_str(), element->attrs) == kNoMatchBelow) break;
  }
  return progress.match();
}

}  // namespace orvxml

// Matches a compiled location path against the stack of open elements.
#include "src/xmlcolumn/location_path_steps.h"

namespace orvxml {
namespace {

// Where the comparison stands in the stack: the next element to compare (null behind the innermost
// one) and the last one that a step has used (null when none has).
struct Place {
  const QrkCurrentPathNode* next;
  const QrkCurrentPathNode* used = nullptr;

  void advance() {
    used = next;
    next = next->next;
  }
};

bool matchExactOne(const QrkQueryFilter& filter, const QrkCurrentPathNode& element) {
  if (filter.name != u"*" && filter.name != element.name) return false;
  if (!filter.hasTest) return true;
  const std::u16string* value = element.attrs.find(filter.attrName);
  return value && *value == filter.attrValue;
}

// Compares steps and elements one to one from `place` on, and moves it behind the last one.
QrkMatch matchExactAll(const QrkQueryChunk* steps, Place& place) {
  for (; steps; steps = steps->next) {
    if (!place.next) return kMatchPossibleBelow;
    if (!matchExactOne(steps->filter, *place.next)) return kNoMatchBelow;
    place.advance();
  }
  return kMatch;
}

// Finds the shallowest place from `place` on where all steps match, and moves behind it.
bool matchAny(const QrkQueryChunk* steps, Place& place) {
  for (Place start = place; start.next; start.advance()) {
    Place trial = start;
    const QrkMatch match = matchExactAll(steps, trial);
    if (match == kMatch) {
      place = trial;
      return true;
    }
    if (match == kMatchPossibleBelow) return false;  // fewer elements than steps are left
  }
  return false;
}

bool matchBody(const QrkQueryChunks* segments, Place& place) {
  for (; segments; segments = segments->next) {
    if (!matchAny(segments->chunks, place)) return false;
  }
  return true;
}

// Compares the steps, last one first, with the elements from the innermost one upward, down to but
// without the last one used.
bool matchTail(const QrkQueryChunk* steps, const QrkCurrentPathNode* innermost,
               const QrkCurrentPathNode* used) {
  const QrkCurrentPathNode* element = innermost;
  for (; steps; steps = steps->next, element = element->parent) {
    if (!element || element == used || !matchExactOne(steps->filter, *element)) return false;
  }
  return true;
}

}  // namespace

int QrkQuery::tryToMatch(const QrkCurrentPath& open) const {
  if (!open.tail) return kMatchPossibleBelow;
  Place place{.next = open.head};
  if (const QrkMatch match = matchExactAll(head, place); match != kMatch) return match;
  if (!body && !tail) {
    return place.next && kind != kSelectsMarkup ? kNoMatchBelow : kMatch;
  }
  // Most elements fail the last step: no search for the body then.
  if (tail && !matchExactOne(tail->filter, *open.tail)) return kMatchPossibleBelow;
  const bool matches = matchBody(body, place) && matchTail(tail, open.tail, place.used);
  return matches ? kMatch : kMatchPossibleBelow;
}

}  // namespace orvxml

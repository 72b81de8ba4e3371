// How far a location path has come at every open element: what of it the elements down to this one
// have found. It follows from what the parent had found and from the element itself, so that an
// element is compared once, as it opens, and no name or attribute is kept.
//
// A path is a row of stages: the steps in front of the first "//", the segments between the first
// and the last "//", and the steps after it. Each is sought below the element that completed the
// one before. Inside a stage, a candidate is a run of elements, ending with this one, that fits
// the stage's first steps; it is kept as the step that the next element has to fit.
#pragma once

#include <cstdint>
#include <vector>

#include "src/xmlcolumn/location_path_steps.h"

namespace orvxml {

class PathProgress {
 public:
  // The steps of `query` must outlive this object; its kind counts as it is now.
  explicit PathProgress(const QrkQuery& query);

  // Opens an element below the innermost one. Out of memory: std::bad_alloc.
  QrkMatch push(const XMLCh* name, const xercesc::Attributes& attributes);
  void pop();
  // Of the innermost open element; kMatchPossibleBelow when none is open.
  QrkMatch match() const { return levels_.back().match; }

 private:
  struct Step {
    const QrkQueryFilter* filter;
    bool isLast;  // of its stage
  };
  struct Stage {
    uint32_t first;   // step
    bool isAnchored;  // at the document element
    bool isTail;      // every run of elements that fits it is a match
  };
  struct Level {
    uint32_t stage;       // the one sought; their number when all are found
    uint32_t candidates;  // where this level's begin; they end where the next level's begin
    QrkMatch match;
  };

  void addStage(const std::vector<const QrkQueryFilter*>& filters, bool isAnchored, bool isTail);
  QrkMatch seek(Level& level, const Level& parent, const XMLCh* name,
                const xercesc::Attributes& attributes);
  bool extend(uint32_t step, const XMLCh* name, const xercesc::Attributes& attributes);

  std::vector<Step> steps_;
  std::vector<Stage> stages_;
  QrkMatch below_ = kMatch;    // of elements below the one that completed the last stage
  std::vector<Level> levels_;  // the first one stands for the document
  std::vector<uint32_t> candidates_;
};

}  // namespace orvxml

// The rules that find the traps of a mapping, and the list that they add to.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "src/dad/mapping_survey.h"

namespace orvxml {

class TrapList {
 public:
  // `rule`: its name, a literal. `node`: what to point at in the mapping. `text`: what will happen
  // and what to do about it, in UTF-8.
  void add(const char* rule, const xercesc::DOMNode* node, std::string_view text);
  // Tells them in the order of the mapping.
  void tellAll();

 private:
  struct Trap {
    const char* rule;
    const xercesc::DOMNode* node;
    std::string text;
  };
  std::vector<Trap> traps_;
};

// What the mapping says and is not listened to, or not as it looks.
void findIgnoredParts(const MappingSurvey& survey, TrapList& traps);
// Tables that are not joined, or not to what they stand in.
void findLooseTables(const MappingSurvey& survey, TrapList& traps);
// Documents into rows: values that go nowhere, elsewhere, or into a row of their own.
void findLostValues(const MappingSurvey& survey, TrapList& traps);
// Documents into rows: foreign keys that something on the way takes.
void findCaughtKeys(const MappingSurvey& survey, TrapList& traps);
// Rows into documents: elements that are not written for each of their rows.
void findLostRows(const MappingSurvey& survey, TrapList& traps);

// Whether no condition joins the table to one that its rows stand inside. `onOneElement`: those on
// the same element count as well.
bool isUnjoined(const MappingSurvey& survey, int table, bool onOneElement);
// Whether a condition joins the table to one whose row is there before its own.
bool isJoinedUpward(const MappingSurvey& survey, int table);

// A table, a column and a leaf as notices name them: "S.T", "S.T.C", "attribute no of <invoice>".
std::string shownTable(const MappingSurvey& survey, int table);
std::string shownColumn(const MappingSurvey& survey, int table, int column);
std::string shownLeaf(const MappedLeaf& leaf);
std::string shownElement(const xercesc::DOMElement* element);

}  // namespace orvxml

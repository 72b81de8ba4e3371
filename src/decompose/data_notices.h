// Notices about a document's data: texts in UTF-8, and warnings that are told a few times with
// their places and then counted.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "orvxml/notices.h"
#include "src/dad/mapping_notices.h"
#include "src/dad/mapping_survey.h"

namespace orvxml {

// "'value'" as notices show a value; the second form takes it in the database code page.
std::string quotedValue(std::u16string_view value);
std::string quotedValue(QrkStruct* ctx, std::string_view value);
// "table S.T" or "table S.T, column C"; `column` -1: none.
std::string placeInTable(const MappingSurvey& survey, int table, int column);

// What does not count as data of a document: declarations of name spaces and of schemas among its
// attributes, white space alone among its texts.
bool isDeclaration(std::u16string_view attribute);
bool isBlank(std::u16string_view text);

class DataWarnings {
 public:
  DataWarnings(NoticeListener& listener, const MappingSurvey& survey)
      : listener_(listener), survey_(survey) {}

  // `makeText` is only asked while the warning is still one to tell; what it gives stands behind
  // table and column.
  void warn(const char* rule, int table, int column, const xercesc::DOMNode* documentNode,
            const xercesc::DOMNode* dadNode, const std::function<std::string()>& makeText);
  // Tells them, and how often each rule was met beyond that. Places are looked for now, in one walk
  // over the document.
  void tellAll();

 private:
  using Key = std::tuple<std::string_view, int, int>;

  struct Warning {
    const char* rule;
    std::string text;
    const xercesc::DOMNode* documentNode;
    const xercesc::DOMNode* dadNode;  // or null
  };

  NoticeListener& listener_;
  const MappingSurvey& survey_;
  std::vector<Warning> warnings_;
  struct Met {
    size_t count = 0;
    const xercesc::DOMNode* firstUntold = nullptr;
  };
  std::map<Key, Met> met_;
};

}  // namespace orvxml

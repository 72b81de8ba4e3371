// Notices about a document's data: texts in UTF-8, and warnings that are told a few times with
// their places and then counted.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <tuple>

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

  // `makeText` is only asked while the warning is still told; what it gives stands behind table and
  // column.
  void warn(const char* rule, int table, int column, const xercesc::DOMNode* documentNode,
            const xercesc::DOMNode* dadNode, const std::function<std::string()>& makeText);
  // How often each rule was met beyond what was told.
  void tellCounts();

 private:
  using Key = std::tuple<std::string_view, int, int>;

  NoticeListener& listener_;
  const MappingSurvey& survey_;
  struct Met {
    size_t count = 0;
    size_t firstUntold = 0;  // the number of its element in the document
  };
  std::map<Key, Met> met_;
};

}  // namespace orvxml

// Values that the statements of a script name: ":dad" stands for the text that the command line
// gives under the name "dad", either itself or as a file with a mapping or a document. Inside
// quotation marks and comments a colon is a colon.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace orvxml::command {

class StatementValues {
 public:
  // Texts as "NAME=TEXT" and files as "NAME=FILE"; a file may be in any encoding that it declares.
  // Throws Failure: with kWrongUse for what is no such pair and for a name that occurs twice, and
  // for a file that cannot be read.
  StatementValues(const std::vector<std::string>& texts, const std::vector<std::string>& files);

  // The statement with texts in place of the names. Throws Failure, with `where` in front, for a
  // name without a value, with kWrongUse.
  std::string applyTo(const std::string& statement, const std::string& where) const;

 private:
  void add(const std::string& name, const std::string& value);

  std::map<std::string, std::string> texts_;  // as SQL has them
};

}  // namespace orvxml::command

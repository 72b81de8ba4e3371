// Compares what the library extracts from a document with what another engine selects.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include "tests/documents/document_calls.h"
#include "tests/documents/path_rules.h"
#include "tests/documents/random_documents.h"
#include "tests/documents/xml_tree.h"

namespace orvxml::test {

class ValueComparison {
 public:
  // Prints the numbers, and expects that more than half of the paths select something.
  ~ValueComparison() {
    std::cout << "[ compared ] " << compared_ << " paths, " << values_ << " values; " << likeXpath_
              << " as in XPath, " << compared_ - likeXpath_ << " by the rules of location paths\n";
    EXPECT_GE(selecting_ * 2, compared_);
  }

  // Text and markup of one path.
  void compare(unittest::CallContext& call, const std::string& document, const XmlTree& tree,
               const LocationPath& path) {
    for (const Form form : {Form::Text, Form::Markup}) {
      SCOPED_TRACE(path.text() + (form == Form::Markup ? " as markup" : ""));
      const Extracted got = extract(call, document, path.text(), form);
      EXPECT_EQ(got.rc, 0) << got.message;
      const Expected expected = expectedValues(tree, path, form);
      expectSame(got.values, expected.values);
      count(path, form, expected);
    }
  }

 private:
  using Values = std::vector<std::string>;

  // Tells the first value that differs: there may be thousands.
  static void expectSame(const Values& got, const Values& expected) {
    EXPECT_EQ(got.size(), expected.size());
    const size_t common = std::min(got.size(), expected.size());
    for (size_t i = 0; i < common; ++i) {
      if (got[i] == expected[i]) continue;
      ADD_FAILURE() << "value " << i << ": \"" << got[i] << "\"\nexpected \"" << expected[i] << '"';
      return;
    }
  }

  void count(const LocationPath& path, Form form, const Expected& expected) {
    ++compared_;
    values_ += expected.values.size();
    selecting_ += expected.values.empty() ? 0 : 1;
    if (expected.values == expected.plain) {
      ++likeXpath_;
    } else {
      EXPECT_FALSE(allowedDifferences(path, form).empty()) << "not what XPath selects";
    }
  }

  size_t compared_ = 0;
  size_t values_ = 0;
  size_t selecting_ = 0;
  size_t likeXpath_ = 0;
};

}  // namespace orvxml::test

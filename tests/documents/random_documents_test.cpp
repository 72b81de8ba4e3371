// Extraction and update over documents and paths made from seeds.
#include "tests/documents/random_documents.h"

#include "tests/documents/value_comparison.h"

namespace orvxml::test {
namespace {

constexpr uint32_t kDocuments = 300;
constexpr int kPaths = 20;

TEST(RandomDocuments, PathsSelectWhatAnotherEngineSelects) {
  unittest::CallContext call;
  ValueComparison comparison;
  for (uint32_t seed = 0; seed < kDocuments && !testing::Test::HasFailure(); ++seed) {
    Random random(seed);
    const std::string document = randomDocument(random);
    SCOPED_TRACE("seed " + std::to_string(seed) + '\n' + document);
    const XmlTree tree(document);
    ASSERT_TRUE(tree.isWellFormed());
    const PathSource paths(tree);
    for (int i = 0; i < kPaths; ++i) comparison.compare(call, document, tree, paths.draw(random));
  }
}

TEST(RandomDocuments, UpdatesChangeWhatThePathSelectsAndNothingElse) {
  unittest::CallContext call;
  const std::string value = "new <\xE6\x97\xA5> & \"old\"";
  for (uint32_t seed = 0; seed < kDocuments && !testing::Test::HasFailure(); ++seed) {
    Random random(seed);
    const std::string document = randomDocument(random);
    const XmlTree tree(document);
    const LocationPath path = PathSource(tree).draw(random);
    SCOPED_TRACE("seed " + std::to_string(seed) + ' ' + path.text() + '\n' + document);
    const Updated updated = update(call, document, path.text(), value);
    ASSERT_EQ(updated.rc, 0) << updated.message;
    const std::string end = "\n<!-- last -->\n";
    EXPECT_EQ(updated.document,
              "<?xml version='1.0' encoding='UTF-8'?>\n<!-- first -->\n<!DOCTYPE a>\n" +
                  expectedUpdate(tree, path, value) + (document.ends_with(end) ? end : ""));
  }
}

}  // namespace
}  // namespace orvxml::test

// Documents of other projects, as their packages install them.
#include "tests/documents/installed_documents.h"

#include "tests/documents/value_comparison.h"

namespace orvxml::test {
namespace {

struct Installed {
  const char* label;
  const char* file;
  int paths;
};

void PrintTo(const Installed& document, std::ostream* out) {
  *out << document.label;
}

constexpr Installed kInstalled[] = {
    {"W3cSignatureSchema", "/usr/share/xml/xmltooling/xmldsig-core-schema.xsd", 40},
    {"W3cEncryptionSchema", "/usr/share/xml/xmltooling/xenc-schema.xsd", 40},
    {"W3cNamespaceSchema", "/usr/share/xml/xmltooling/xml.xsd", 40},
    {"SoapEnvelope", "/usr/share/xml/xmltooling/soap-envelope.xsd", 40},
    {"Currencies", "/usr/share/xml/iso-codes/iso_4217.xml", 40},
    {"Languages", "/usr/share/xml/iso-codes/iso_639_3.xml", 20},
    {"MediaTypes", "/usr/share/mime/packages/freedesktop.org.xml", 20},
    {"DocBookInGreek", "/usr/share/genius/help/el/genius.xml", 30},
    {"DocBookInRussian", "/usr/share/genius/help/ru/genius.xml", 30},
    {"SecurityChecklists", "/usr/share/xml/scap/ssg/content/ssg-debian11-ds.xml", 12},
};

void compareSome(unittest::CallContext& call, const std::string& document, const XmlTree& tree,
                 int paths) {
  ValueComparison comparison;
  const PathSource source(tree);
  Random random(1);
  for (int i = 0; i < paths && !testing::Test::HasFailure(); ++i) {
    const LocationPath path = source.draw(random);
    if (!source.isTooMuch(path)) comparison.compare(call, document, tree, path);
  }
}

class InstalledDocument : public testing::TestWithParam<Installed> {};

TEST_P(InstalledDocument, GivesWhatAnotherEngineSelects) {
  ORVXML_REQUIRE_DOCUMENTS(GetParam().file);
  const std::string document = readFile(GetParam().file);
  const XmlTree tree(document);
  ASSERT_TRUE(tree.isWellFormed());
  unittest::CallContext call;
  compareSome(call, document, tree, GetParam().paths);
  // An update that selects nothing loses nothing.
  const Updated updated = update(call, document, "/none", "value");
  ASSERT_EQ(updated.rc, 0) << updated.message;
  EXPECT_TRUE(updated.document.find(expectedUpdate(tree, {{{false, "none", "", ""}}, {}, false},
                                                   "value")) != std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(All, InstalledDocument, testing::ValuesIn(kInstalled),
                         [](const auto& which) { return which.param.label; });

// The English manual takes one file into another: an entity of the outside, which is not read.
TEST(DocBookInEnglish, IsReadButForWhatItTakesFromOutside) {
  const std::string file = "/usr/share/genius/help/C/genius.xml";
  ORVXML_REQUIRE_DOCUMENTS(file);
  std::string document = readFile(file);
  unittest::CallContext call;
  const Extracted refused = extract(call, document, "//title");
  EXPECT_EQ(refused.rc, -1);
  EXPECT_EQ(refused.state, "38X13");
  EXPECT_EQ(refused.message.substr(0, 40), "QRKQ047E  Parser error on line 58 column")
      << refused.message;

  const std::string_view outside = "<!ENTITY legal SYSTEM \"legal.xml\">";
  document.replace(document.find(outside), outside.size(), "<!ENTITY legal \"(c) &date;\">");
  const XmlTree tree(document);
  ASSERT_TRUE(tree.isWellFormed());
  compareSome(call, document, tree, 30);
}

}  // namespace
}  // namespace orvxml::test

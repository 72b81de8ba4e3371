#include "tests/documents/random_documents.h"

#include <algorithm>

namespace orvxml::test {
namespace {

constexpr const char* kNames[] = {"a", "b", "b", "c", "p:a", "\xC3\xA9t\xC3\xA9-1"};
constexpr const char* kAttributes[] = {"id", "x", "p:x", "xmlns", "xmlns:p"};
constexpr const char* kValues[] = {"1",     "2",       "",         "a/b",          "x&amp;y=z",
                                   "&lt;'", "\n t\t ", "&#8364;]", "\xE6\x97\xA5", "[2]"};
constexpr const char* kPieces[] = {"text",
                                   " ",
                                   "\r\n\t",
                                   "&e;",
                                   "&m;",
                                   "&lt;&amp;&gt;&quot;&apos;",
                                   "&#233;&#x1F600;",
                                   "<![CDATA[<b>&e;]]>",
                                   "<!-- <b/> & -->",
                                   "<?p some <data?>",
                                   "\"quoted\" 'text'",
                                   "\xE6\x97\xA5\xE6\x9C\xAC"};
constexpr const char* kSubset =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- first -->\n<!DOCTYPE a [\n"
    "<!ENTITY e 'inner &#38;#60;text'>\n<!ENTITY m 'x<b id=\"m\">y<c/>&e;</b>z'>\n"
    "<!ATTLIST c x CDATA 'default' id NMTOKEN #IMPLIED>\n]>\n";
constexpr int kDepth = 7;
constexpr size_t kLarge = 5'000;  // elements

class Writer {
 public:
  explicit Writer(Random& random) : random_(random) {}

  std::string text = kSubset;

  void element(int depth) {
    const std::string name = random_.anyOf(kNames);
    text += '<' + name;
    attributes();
    if (random_.oneIn(6)) {
      text += random_.oneIn(2) ? "/>" : "\n/>";
      return;
    }
    text += '>';
    for (size_t parts = random_.below(depth == 0 ? 12 : 7); parts > 0; --parts) {
      if (depth < kDepth && random_.oneIn(2)) {
        element(depth + 1);
      } else {
        text += random_.anyOf(kPieces);
      }
    }
    text += "</" + name + (random_.oneIn(5) ? " >" : ">");
  }

 private:
  void attributes() {
    for (const char* name : kAttributes) {
      if (!random_.oneIn(4)) continue;
      const char quote = random_.oneIn(2) ? '"' : '\'';
      std::string value = random_.anyOf(kValues);
      if (quote == '\'') std::replace(value.begin(), value.end(), '\'', '~');
      text += std::string(" ") + name + (random_.oneIn(5) ? " = " : "=") + quote + value + quote;
    }
  }

  Random& random_;
};

// Values that a test can name: a quotation mark would end it; "@" and "//" mean something wherever
// they stand, and a "]" where steps end.
bool isTestable(const std::string& value) {
  return value.find_first_of("\"@]") == std::string::npos && value.find("//") == std::string::npos;
}

PathStep stepTo(Random& random, const xmlNode* element) {
  PathStep step{false, writtenName(element), "", ""};
  if (random.oneIn(5)) step.name = "*";
  const auto all = attributes(element);
  if (!all.empty() && random.oneIn(4)) {
    const auto& [name, value] = random.anyOf(all);
    if (isTestable(value)) {
      step.attribute = name;
      step.value = random.oneIn(6) ? "wrong" : value;
    }
  }
  // A step swallowed down to its position would leave its test behind.
  step.hasPosition = step.attribute.empty() && random.oneIn(12);
  if (random.oneIn(40)) step.name = "none";
  return step;
}

// Leaves out steps: what is left then stands at any depth.
std::vector<PathStep> loosened(Random& random, const std::vector<PathStep>& all) {
  const size_t chance = 1 + random.below(4);
  std::vector<PathStep> kept;
  bool skipped = false;
  for (size_t i = 0; i < all.size(); ++i) {
    if (i + 1 < all.size() && chance < 4 && random.oneIn(chance)) {
      skipped = true;
      continue;
    }
    kept.push_back(all[i]);
    kept.back().anyDepth = std::exchange(skipped, false) || random.oneIn(15);
  }
  return kept;
}

}  // namespace

std::string randomDocument(Random& random) {
  Writer writer(random);
  writer.element(0);
  if (random.oneIn(3)) writer.text += "\n<!-- last -->\n";
  return writer.text;
}

LocationPath PathSource::draw(Random& random) const {
  const xmlNode* const target = random.anyOf(elements_);
  std::vector<PathStep> all;
  for (const xmlNode* node = target; node && node->type == XML_ELEMENT_NODE; node = node->parent) {
    all.push_back(stepTo(random, node));
  }
  std::reverse(all.begin(), all.end());
  LocationPath path{loosened(random, all), {}, false};
  if (!random.oneIn(3)) return path;
  const auto own = attributes(target);
  path.attribute = own.empty() ? "id" : random.anyOf(own).first;
  if (random.oneIn(4)) path.attribute = "*";
  path.attributeAtAnyDepth = random.oneIn(5);
  if (path.attributeAtAnyDepth && random.oneIn(2)) path.steps.clear();
  return path;
}

bool PathSource::isTooMuch(const LocationPath& path) const {
  return elements_.size() > kLarge &&
         std::count_if(path.steps.begin(), path.steps.end(),
                       [](const PathStep& step) { return step.anyDepth; }) > 1;
}

}  // namespace orvxml::test

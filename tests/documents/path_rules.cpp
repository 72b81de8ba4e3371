#include "tests/documents/path_rules.h"

#include <algorithm>
#include <unordered_set>

namespace orvxml::test {
namespace {

using Elements = std::unordered_set<const xmlNode*>;

std::string written(const PathStep& step, bool forTree) {
  const auto name = [&](const std::string& text) { return forTree ? treeName(text) : text; };
  // libxml2 takes a name in front only when it begins with a letter of ASCII.
  const char* const axis = forTree ? "child::" : "";
  std::string text = std::string(step.anyDepth ? "//" : "/") + axis + name(step.name);
  if (step.hasPosition) text += "[2]";
  if (!step.attribute.empty()) text += "[@" + name(step.attribute) + "=\"" + step.value + "\"]";
  return text;
}

std::string written(const LocationPath& path, bool forTree) {
  std::string text;
  for (const PathStep& step : path.steps) text += written(step, forTree);
  if (!path.attribute) return text;
  const std::string name = forTree ? treeName(*path.attribute) : *path.attribute;
  return text + (path.attributeAtAnyDepth ? "//@" : "/@") + name;
}

// The elements that a path selects, or that have the attribute it selects.
Elements elementsOf(const XmlTree& tree, LocationPath path) {
  if (path.attribute && path.attributeAtAnyDepth) path.steps.push_back({true, "*", "", ""});
  path.attribute.reset();
  const std::vector<xmlNode*> nodes = tree.select(path.ruledXpath());
  return {nodes.begin(), nodes.end()};
}

// Own texts. The selection is followed through the document, for what is selected at a place
// depends on what came before it.
class Texts {
 public:
  Texts(const XmlTree& tree, const LocationPath& path)
      : endsAtChild_(path.hasAnyDepth()), selected_(elementsOf(tree, path)) {
    element(tree.root(), false);
  }

  std::vector<std::string> values;

 private:
  // Returns whether the selection holds at the end of the element's content.
  bool element(const xmlNode* node, bool before) {
    const bool isSelected = selected_.contains(node);
    if (isSelected && !before) values.emplace_back();
    bool now = isSelected;
    for (const xmlNode* child = node->children; child; child = child->next) {
      if (isText(child) && now) values.back() += content(child);
      if (child->type != XML_ELEMENT_NODE) continue;
      const bool inChild = element(child, now);
      now = isSelected && (inChild || !endsAtChild_);
    }
    return now;
  }

  bool endsAtChild_;
  Elements selected_;
};

// Elements with all that stands in them; the ones inside a selected element are part of it.
std::vector<std::string> outerMarkup(const XmlTree& tree, const LocationPath& path) {
  const Elements selected = elementsOf(tree, path);
  const auto isInside = [&](const xmlNode* node) {
    while (node->parent && !selected.contains(node->parent)) node = node->parent;
    return node->parent != nullptr;
  };
  std::vector<std::string> values;
  for (const xmlNode* node : tree.elements()) {
    if (selected.contains(node) && !isInside(node)) values.push_back(markup(node));
  }
  return values;
}

class Update {
 public:
  Update(const XmlTree& tree, const LocationPath& path, const std::string& value)
      : attribute_(path.attribute),
        isAtAnyDepth_(path.attributeAtAnyDepth),
        selected_(elementsOf(tree, path)),
        value_(escaped(value)) {
    element(tree.root(), false);
  }

  std::string document;

 private:
  void element(const xmlNode* node, bool isInside) {
    const bool isChanged = (!isInside || isAtAnyDepth_) && selected_.contains(node);
    document += isChanged && attribute_ ? changedTag(node) : startTag(node);
    if (isChanged && !attribute_) document += value_;
    isInside = isInside || isChanged;
    for (const xmlNode* child = node->children; child; child = child->next) {
      if (child->type == XML_ELEMENT_NODE) {
        element(child, isInside);
      } else if (!isText(child)) {
        document += otherMarkup(child);
      } else if (attribute_ || !isInside) {
        document += escaped(content(child));
      }
    }
    document += endTag(node);
  }

  static std::string otherMarkup(const xmlNode* node) {
    if (node->type == XML_COMMENT_NODE) return "<!--" + content(node) + "-->";
    return "<?" + writtenName(node) + ' ' + content(node) + "?>";
  }

  std::string changedTag(const xmlNode* node) const {
    std::string tag = '<' + writtenName(node);
    for (const auto& [name, old] : attributes(node)) {
      tag += ' ' + name + "=\"" + (name == *attribute_ ? value_ : escaped(old)) + '"';
    }
    return tag + '>';
  }

  std::optional<std::string> attribute_;
  bool isAtAnyDepth_;  // of elements inside selected ones as well
  Elements selected_;
  std::string value_;
};

std::vector<std::string> attributeValues(const XmlTree& tree, const std::string& xpath) {
  std::vector<std::string> values;
  for (const xmlNode* node : tree.select(xpath)) values.push_back(escaped(content(node)));
  return values;
}

std::vector<std::string> elementValues(const XmlTree& tree, const std::string& xpath, Form form) {
  std::vector<std::string> values;
  for (const xmlNode* node : tree.select(xpath)) {
    values.push_back(form == Form::Markup ? markup(node) : ownText(node));
  }
  return values;
}

}  // namespace

std::string LocationPath::text() const {
  return written(*this, false);
}

std::string LocationPath::xpath() const {
  return written(*this, true);
}

bool LocationPath::hasAnyDepth() const {
  return attributeAtAnyDepth || std::any_of(steps.begin(), steps.end(),
                                            [](const PathStep& step) { return step.anyDepth; });
}

std::vector<PathStep> LocationPath::effectiveSteps() const {
  std::vector<PathStep> kept;
  for (size_t i = 0; i < steps.size(); ++i) {
    kept.push_back(steps[i]);
    kept.back().hasPosition = false;
    if (steps[i].attribute.empty() || steps[i].value.find('/') != std::string::npos) continue;
    for (size_t next = i + 1; next < steps.size() && !steps[next].anyDepth; ++next) {
      if (steps[next].attribute.empty() && !steps[next].hasPosition) continue;
      i = next;
      break;
    }
  }
  return kept;
}

std::string LocationPath::ruledXpath() const {
  LocationPath ruled = *this;
  ruled.steps = effectiveSteps();
  if (attribute && attributeAtAnyDepth) {
    ruled.steps.push_back({true, "*", "", ""});
    ruled.attributeAtAnyDepth = false;
  }
  return ruled.xpath();
}

Expected expectedValues(const XmlTree& tree, const LocationPath& path, Form form) {
  const std::vector<std::string> plain = path.attribute ? attributeValues(tree, path.xpath())
                                                        : elementValues(tree, path.xpath(), form);
  if (form == Form::Markup) return {outerMarkup(tree, path), plain};
  if (path.attribute) return {attributeValues(tree, path.ruledXpath()), plain};
  return {Texts(tree, path).values, plain};
}

std::set<Difference> allowedDifferences(const LocationPath& path, Form form) {
  std::set<Difference> reasons;
  for (const PathStep& step : path.steps) {
    if (step.hasPosition) reasons.insert(Difference::Position);
  }
  if (path.effectiveSteps().size() != path.steps.size()) {
    reasons.insert(Difference::SwallowedSteps);
  }
  if (path.attribute && path.attributeAtAnyDepth && !path.steps.empty()) {
    reasons.insert(Difference::AttributeOfDescendants);
  }
  if (!path.attribute && path.hasAnyDepth()) {
    reasons.insert(Difference::SelectionWithinSelection);
  }
  if (path.attribute && form == Form::Markup) reasons.insert(Difference::MarkupOfAttribute);
  return reasons;
}

std::string expectedUpdate(const XmlTree& tree, const LocationPath& path,
                           const std::string& value) {
  return Update(tree, path, value).document;
}

}  // namespace orvxml::test

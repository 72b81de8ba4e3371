// A DAD element_node read for one table: which values of a document element go into which columns,
// and into which child elements the search for values goes on. Names are read and resolved once
// for all document elements.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "src/decompose/walk_state.h"

namespace orvxml {

enum class StepKind {
  Attribute,          // the value of an attribute
  Text,               // the element's own text
  Element,            // child elements of this name, by the plan below
  NamelessAttribute,  // the DAD is wrong here: stops the walk when it gets here
  NamelessElement,
};

struct DadPlan;

struct DadStep {
  StepKind kind;
  std::string name;  // in the database code page
  std::u16string xmlName;
  int column = -1;                            // entry of col2xml, or -1 when there is none
  std::u16string joinName;                    // of an attribute: its join attribute
  xercesc::DOMElement* dadElement = nullptr;  // of a child element
  std::unique_ptr<DadPlan> below;             // of a child element, once one was met
};

struct DadPlan {
  std::string name;  // of the element_node
  const xercesc::DOMElement* dadElement = nullptr;
  std::vector<DadStep> steps;     // in DAD order
  bool searchesChildren = false;  // some step is for child elements
  bool wholeElement = false;      // the element itself, written out, is the value
  int wholeElementColumn = -1;
};

// The name attribute of a DAD element in the database code page; empty when it has none or it does
// not convert.
std::string dadName(QrkStruct* ctx, const xercesc::DOMElement* dadElement);

DadPlan planElement(WalkState& walk, int tableIndex, const xercesc::DOMElement* dadElement,
                    std::string name);

}  // namespace orvxml

// Builds the model of a column's mapping and compares its side tables with what the document
// itself lists; then makes the SQL texts of its objects, in which every constant must read back as
// what it stands for. The first character chooses the code page of the database, the rest is the
// mapping.
#include <algorithm>
#include <memory>
#include <vector>

#include "fuzz/fuzz_call.h"
#include "orvxml/code_pages.h"
#include "orvxml/column_dad.h"
#include "orvxml/sql_literal.h"
#include "src/admin/trigger_texts.h"
#include "src/parser/parser.h"

namespace orvxml::fuzz {
namespace {

// The attribute in the database code page, where that has it.
std::string attribute(FunctionCall& call, const xercesc::DOMElement& element,
                      const char16_t* name) {
  std::string text;
  require(toDatabase(&call.ctx, element.getAttribute(name), text), "the model has the text");
  return text;
}

void compareColumns(FunctionCall& call, const xercesc::DOMElement& element,
                    const side_table& table) {
  const xercesc::DOMNodeList& listed = *element.getElementsByTagName(u"column");
  const side_column* column = table.columns;
  for (XMLSize_t i = 0; i < listed.getLength(); ++i, column = column->next) {
    const auto& one = static_cast<const xercesc::DOMElement&>(*listed.item(i));
    require(column != nullptr, "the model has every column");
    require(attribute(call, one, u"name") == column->name, "the column's name is whole");
    require(attribute(call, one, u"type") == column->type, "the column's type is whole");
    require(attribute(call, one, u"path") == column->path, "the column's path is whole");
    require(std::string_view(column->multi_occurrence).size() <= 3, "the occurrence is one");
  }
  require(column == nullptr, "the model has no other columns");
}

void compareTables(FunctionCall& call, const std::string& text, const dad& model) {
  // It reads the same again: what is thrown here ends the run.
  const DOM_Document document = qrkDOM(&call.ctx, text.c_str(), 1, 1);
  const xercesc::DOMElement* xcolumn = nullptr;
  for (auto* child = document.getDocumentElement().node()->getFirstChild(); child;
       child = child->getNextSibling()) {
    if (child->getNodeType() == xercesc::DOMNode::ELEMENT_NODE &&
        std::u16string_view(child->getNodeName()) == u"Xcolumn") {
      xcolumn = static_cast<const xercesc::DOMElement*>(child);
    }
  }
  require(xcolumn != nullptr, "a model has an Xcolumn");
  const xercesc::DOMNodeList& listed = *xcolumn->getElementsByTagName(u"table");
  const side_table* table = model.sideTables;
  for (XMLSize_t i = 0; i < listed.getLength(); ++i, table = table->next) {
    const auto& one = static_cast<const xercesc::DOMElement&>(*listed.item(i));
    require(table != nullptr, "the model has every side table");
    require(attribute(call, one, u"name") == table->name, "the side table's name is whole");
    compareColumns(call, one, *table);
  }
  require(table == nullptr, "the model has no other side tables");
}

// Whether `text` holds the constant `value`, which ends where the constant does.
bool holdsConstant(const std::string& text, const std::string& value) {
  const std::string constant = literalText(value);
  std::string read;
  for (size_t i = 1; i + 1 < constant.size(); ++i) {
    read += constant[i];
    if (constant[i] == '\'') require(constant[++i] == '\'', "a quote is doubled");
  }
  require(read == value, "a constant reads back as its value");
  return text.find(", " + constant) != text.npos;
}

void checkTexts(FunctionCall& call, dad& model) {
  std::vector<const side_column*> filled;
  for (const side_table* table = model.sideTables; table; table = table->next) {
    if (!table->columns) return;  // is never enabled
    for (const side_column* column = table->columns; column; column = column->next) {
      if (column == table->columns || !isMultiOccurrence(*table)) filled.push_back(column);
    }
    const std::string text = sideTableText(*table, "", "", "");
    require(text.find(table->name) != text.npos, "a side table is made by its name");
  }
  const std::string inserts = insertTriggerText(&call.ctx, model, "S", "ABCDEFG", "NO");
  const std::string updates = updateTriggerText(&call.ctx, model, "S", "ABCDEFG", "NO");
  for (const side_column* column : filled) {
    require(holdsConstant(inserts, column->path), "a column is filled from its path");
    require(holdsConstant(updates, column->path), "a column is kept current from its path");
  }
  if (!model.isSchema) {
    require(holdsConstant(dtdCheckText(model, "f"), model.dtdid), "the DTD is asked for by its id");
  }
}

void run(FunctionCall& call, std::string text) {
  QrkOutbuf buffer{};
  buffer.data = text.data();
  buffer.loctype = QRK_LOC_MEMORY;
  int32_t noXcolumn = 0;
  const std::unique_ptr<dad, FreeModel> model(
      dad_popu(&call.ctx, "t", "C", &buffer, 1, call.msg, call.state, &noXcolumn));
  call.judge(model ? 0 : -1);
  require((noXcolumn != 0) == (std::string_view(call.state) == "38X11"),
          "no Xcolumn has its own SQLSTATE");
  if (!model) return;
  require(model->dtdid != nullptr, "a model has a text for the DTD");
  compareTables(call, text, *model);
  checkTexts(call, *model);
}

}  // namespace
}  // namespace orvxml::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace orvxml::fuzz;
  if (size < 1) return 0;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  FunctionCall call("UTF-8", chosen(input[0]).codePage);
  run(call, std::string(input.substr(1)));
  return 0;
}

#include "src/dad/column_model.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "orvxml/notices.h"
#include "orvxml/trace.h"
#include "src/dad/dad_settings.h"
#include "src/dad/dad_walk.h"
#include "src/dad/element_order.h"
#include "src/outcome/edge.h"
#include "src/outcome/traced_call.h"

namespace orvxml {

namespace {

constexpr size_t kDtdidSize = 1025;  // bytes, terminator included
constexpr DadSettingLimits kLimits{.schemaLocation = 1000,
                                   .validation = kNoSettingLimits.validation,
                                   .dtdid = 508,
                                   .othersRefused = false};
// Of all side tables. A table inside another one has its columns for both: a small mapping could
// name millions.
constexpr int kMaxSideColumns = 10'000;

struct FreeColumns {
  void operator()(side_column* column) const {
    while (column) delete std::exchange(column, column->next);
  }
};

struct FreeTables {
  void operator()(side_table* table) const {
    while (table) {
      FreeColumns()(table->columns);
      delete std::exchange(table, table->next);
    }
  }
};

size_t shownNumber(const xercesc::DOMElement* element) {
  return noticeListener() ? elementNumber(element) : 0;
}

// A heap copy of `size` bytes, the terminator among them.
char* heapCopy(const void* source, size_t size) {
  auto* copy = static_cast<char*>(std::malloc(size));
  if (!copy) throw std::bad_alloc();
  std::memcpy(copy, source, size);
  return copy;
}

template <size_t N>
bool copyName(const char* name, char (&field)[N]) {
  const size_t length = std::strlen(name);
  if (length >= N) return false;
  std::memcpy(field, name, length + 1);
  return true;
}

// Calls `take` with each element called `tag` below `root` in document order.
template <class Take>
void eachElement(xercesc::DOMNode* root, std::u16string_view tag, Take&& take) {
  xercesc::DOMNode* node = root;
  while ((node = nextInDocumentOrder(root, node)) != nullptr) {
    if (dadtree::hasTag(node, tag)) take(dadtree::asElement(node));
  }
}

class ModelBuilder {
 public:
  ModelBuilder(QrkStruct* ctx, dad& model) : ctx_(ctx), model_(model) {}

  // The steps, in their order.
  void takeSettings(const DOM_Document& document);
  void takeNames(const char* tableName, const char* columnName);
  void takeSideTables(xercesc::DOMNode* xcolumn);

 private:
  void takeSideTable(xercesc::DOMElement* element, side_table& table);
  void takeColumn(const xercesc::DOMElement* element, side_column& column);

  // Takes an attribute into its field. `failure` makes the failure of one that is missing or does
  // not fit, from the text for the message.
  template <size_t N, class MakeFailure>
  void takeAttribute(const xercesc::DOMElement* element, const char16_t* name, char (&field)[N],
                     MakeFailure&& failure) {
    field[0] = 0;
    const char16_t* text = element->getAttribute(name);
    if (!text || !*text) throw at(element, failure("(NULL)"));
    std::string converted;
    if (!toDatabase(ctx_, text, converted)) {
      throw at(element, failure(textForMessage(ctx_, text)));
    }
    if (!copyName(converted.c_str(), field)) throw at(element, failure(converted));
  }

  QrkStruct* const ctx_;
  dad& model_;
  int columns_ = 0;  // taken so far
};

void ModelBuilder::takeSettings(const DOM_Document& document) {
  const DadSettings settings = readDadSettings(ctx_, document, kLimits);
  model_.validation = settings.validate ? 1 : 0;
  model_.isSchema = settings.hasSchema ? 1 : 0;
  if (settings.hasSchema) {
    const size_t size = (settings.schemaLocation.size() + 1) * sizeof(char16_t);
    model_.dtdid = heapCopy(settings.schemaLocation.c_str(), size);
    return;
  }
  std::string dtdid;
  if (!toDatabase(ctx_, settings.dtdid, dtdid) || dtdid.size() >= kDtdidSize) {
    throw at(document.getDocumentElement().firstDescendant(u"dtdid").node(),
             Failure(Msg::QRKA010E, textForMessage(ctx_, settings.dtdid)));
  }
  model_.dtdid = heapCopy(dtdid.c_str(), dtdid.size() + 1);
}

void ModelBuilder::takeNames(const char* tableName, const char* columnName) {
  if (!copyName(tableName, model_.tableName)) throw Failure(Msg::QRKQ031E);
  if (!copyName(columnName, model_.columnName)) throw Failure(Msg::QRKQ032E);
}

// side_table_popu
void ModelBuilder::takeSideTables(xercesc::DOMNode* xcolumn) {
  side_table** end = &model_.sideTables;
  eachElement(xcolumn, u"table", [&](xercesc::DOMElement* element) {
    side_table* const table = *end = new side_table{};
    end = &table->next;
    takeSideTable(element, *table);
  });
}

void ModelBuilder::takeSideTable(xercesc::DOMElement* element, side_table& table) {
  table.element = shownNumber(element);
  takeAttribute(element, u"name", table.name,
                [](const std::string& name) { return Failure(Msg::QRKA057E, name); });
  QRK_TRACE(ctx_, " Populating side table: '%s'", table.name);
  side_column** end = &table.columns;
  eachElement(element, u"column", [&](const xercesc::DOMElement* below) {
    if (++columns_ > kMaxSideColumns) throw at(below, Failure(Msg::QRKQ039E));
    side_column* const column = *end = new side_column{};
    end = &column->next;
    takeColumn(below, *column);
  });
}

void ModelBuilder::takeColumn(const xercesc::DOMElement* element, side_column& column) {
  column.element = shownNumber(element);
  const auto of = [&column](Msg message) {
    return [=, &column](const std::string& value) { return Failure(message, value, column.name); };
  };
  takeAttribute(element, u"name", column.name,
                [](const std::string& name) { return Failure(Msg::QRKA058E, name); });
  QRK_TRACE(ctx_, " Populating column: '%s'", column.name);
  takeAttribute(element, u"type", column.type, of(Msg::QRKA059E));
  takeAttribute(element, u"path", column.path, of(Msg::QRKA060E));
  char(&occurrence)[sizeof column.multi_occurrence] = column.multi_occurrence;
  takeAttribute(element, u"multi_occurrence", occurrence, of(Msg::QRKA061E));
  if (qrk_toupper(ctx_, occurrence, occurrence, sizeof occurrence)) {
    throw at(element, Failure(Msg::QRKA061E, occurrence, column.name));
  }
}

// The last child of the DAD's root that is an `Xcolumn`; null when there is none.
xercesc::DOMNode* findXcolumn(const DOM_Document& document) {
  xercesc::DOMNode* found = nullptr;
  const DOM_Element root = document.getDocumentElement();
  for (auto* child = root.node()->getFirstChild(); child; child = child->getNextSibling()) {
    if (dadtree::hasTag(child, u"Xcolumn")) found = child;
  }
  return found;
}

void build(QrkStruct* ctx, const DOM_Document& document, const char* tableName,
           const char* columnName, dad& model) {
  ModelBuilder builder(ctx, model);
  builder.takeSettings(document);
  builder.takeNames(tableName, columnName);
  xercesc::DOMNode* const xcolumn = findXcolumn(document);
  model.noXcolumn = xcolumn ? 0 : 1;
  if (!xcolumn) throw at(document.getDocumentElement().node(), Failure(Msg::QRKA009E));
  builder.takeSideTables(xcolumn);
}

}  // namespace

ModelOwner columnModel(QrkStruct* ctx, const char* tableName, const char* columnName,
                       QrkOutbuf* dadBuffer, bool inDbEncoding) {
  return about(FailureText::kMapping, [&] {
    const int inMemory = dadBuffer->loctype == QRK_LOC_FILE ? 0 : 1;
    const auto parse = [&] { return qrkDOM(ctx, dadBuffer->data, inDbEncoding, inMemory); };
    const DOM_Document document = traced(ctx, "called qrkDOM(). rc:%ld", parse, "dad_popu");
    ModelOwner model(new dad{});
    build(ctx, document, tableName, columnName, *model);
    return model;
  });
}

dad* dad_popu(QrkStruct* ctx, const char* tableName, const char* columnName, QrkOutbuf* dadBuffer,
              int useDbEncoding, char* msg, char* sqlstate, int32_t* noXcolumn, int* errCode) {
  ModelOwner model;
  const Report report{.ctx = ctx, .msg = msg, .errCode = errCode, .sqlState = sqlstate};
  const int code = atEdge(report, [&] {
    model = columnModel(ctx, tableName, columnName, dadBuffer, useDbEncoding == 1);
  });
  if (noXcolumn) *noXcolumn = code == codeOf(Msg::QRKA009E) ? 1 : 0;
  return model.release();
}

void freedad(QrkStruct*, dad* model) {
  if (!model) return;
  FreeTables()(model->sideTables);
  std::free(model->dtdid);
  delete model;
}

}  // namespace orvxml

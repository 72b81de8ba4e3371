#include "orvxml/column_dad.h"

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

namespace orvxml {

namespace {

constexpr size_t kDtdidSize = 1025;  // bytes, terminator included
constexpr DadSettingLimits kLimits{.schemaLocation = 1000,
                                   .validation = kNoSettingLimits.validation,
                                   .dtdid = 508,
                                   .othersRefused = false};
constexpr char kMissing[] = "(NULL)";
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

// Calls `take` with each element called `tag` below `root` in document order, up to a failure.
template <class Take>
int eachElement(xercesc::DOMNode* root, std::u16string_view tag, Take&& take) {
  xercesc::DOMNode* node = root;
  while ((node = nextInDocumentOrder(root, node)) != nullptr) {
    if (dadtree::hasTag(node, tag) && take(dadtree::asElement(node))) return -1;
  }
  return 0;
}

class ModelBuilder {
 public:
  ModelBuilder(const Report& report, dad& model)
      : report_(report), ctx_(report.ctx), model_(model) {}

  // The steps, in their order: 0 or -1.
  int takeSettings(const DOM_Document& document);
  int takeNames(const char* tableName, const char* columnName);
  int takeSideTables(xercesc::DOMNode* xcolumn);

 private:
  int takeSideTable(xercesc::DOMElement* element, side_table& table);
  int takeColumn(const xercesc::DOMElement* element, side_column& column);
  int takeOccurrence(const xercesc::DOMElement* element, side_column& column);

  // Takes an attribute into its field. `refuse` reports an attribute that is missing or does not
  // fit; it gets the text for the message. The element is told as the place.
  template <size_t N, class Refuse>
  int takeAttribute(const xercesc::DOMElement* element, const char16_t* name, char (&field)[N],
                    Refuse&& refuse) {
    field[0] = 0;
    const char16_t* text = element->getAttribute(name);
    std::string converted;
    const bool isThere = text && *text;
    const bool converts = isThere && toDatabase(ctx_, text, converted);
    if (converts && copyName(converted.c_str(), field)) return 0;
    tellPlace(element);
    if (!isThere) return refuse(std::string(kMissing));
    return refuse(converts ? converted : textForMessage(ctx_, text));
  }

  const Report report_;
  QrkStruct* const ctx_;
  dad& model_;
  int columns_ = 0;  // taken so far
};

int ModelBuilder::takeSettings(const DOM_Document& document) {
  DadSettings settings;
  if (readDadSettings(ctx_, document, kLimits, settings, report_.msg, report_.sqlState)) return -1;
  model_.validation = settings.validate ? 1 : 0;
  model_.isSchema = settings.hasSchema ? 1 : 0;
  if (settings.hasSchema) {
    const size_t size = (settings.schemaLocation.size() + 1) * sizeof(char16_t);
    model_.dtdid = heapCopy(settings.schemaLocation.c_str(), size);
    return 0;
  }
  std::string dtdid;
  if (!toDatabase(ctx_, settings.dtdid, dtdid) || dtdid.size() >= kDtdidSize) {
    return failAt(document.getDocumentElement().firstDescendant(u"dtdid").node(), {}, report_,
                  Msg::QRKA010E, textForMessage(ctx_, settings.dtdid));
  }
  model_.dtdid = heapCopy(dtdid.c_str(), dtdid.size() + 1);
  return 0;
}

int ModelBuilder::takeNames(const char* tableName, const char* columnName) {
  if (!copyName(tableName, model_.tableName)) return failed(report_, Msg::QRKQ031E);
  if (!copyName(columnName, model_.columnName)) return failed(report_, Msg::QRKQ032E);
  return 0;
}

// side_table_popu
int ModelBuilder::takeSideTables(xercesc::DOMNode* xcolumn) {
  side_table** end = &model_.sideTables;
  return eachElement(xcolumn, u"table", [&](xercesc::DOMElement* element) {
    side_table* const table = *end = new side_table{};
    end = &table->next;
    return takeSideTable(element, *table);
  });
}

int ModelBuilder::takeSideTable(xercesc::DOMElement* element, side_table& table) {
  table.element = shownNumber(element);
  const auto refused = [&](const std::string& name) {
    return failed(report_, Msg::QRKA057E, name);
  };
  if (takeAttribute(element, u"name", table.name, refused)) return -1;
  QRK_TRACE(ctx_, " Populating side table: '%s'", table.name);
  side_column** end = &table.columns;
  return eachElement(element, u"column", [&](const xercesc::DOMElement* below) {
    if (++columns_ > kMaxSideColumns) return failAt(below, {}, report_, Msg::QRKQ039E);
    side_column* const column = *end = new side_column{};
    end = &column->next;
    return takeColumn(below, *column);
  });
}

int ModelBuilder::takeColumn(const xercesc::DOMElement* element, side_column& column) {
  column.element = shownNumber(element);
  const auto refusedName = [&](const std::string& name) {
    return failed(report_, Msg::QRKA058E, name);
  };
  const auto refusedType = [&](const std::string& type) {
    return failed(report_, Msg::QRKA059E, type, column.name);
  };
  const auto refusedPath = [&](const std::string& path) {
    return failed(report_, Msg::QRKA060E, path, column.name);
  };
  if (takeAttribute(element, u"name", column.name, refusedName)) return -1;
  QRK_TRACE(ctx_, " Populating column: '%s'", column.name);
  if (takeAttribute(element, u"type", column.type, refusedType)) return -1;
  if (takeAttribute(element, u"path", column.path, refusedPath)) return -1;
  return takeOccurrence(element, column);
}

int ModelBuilder::takeOccurrence(const xercesc::DOMElement* element, side_column& column) {
  const auto refused = [&](const std::string& value) {
    return failed(report_, Msg::QRKA061E, value, column.name);
  };
  char(&field)[sizeof column.multi_occurrence] = column.multi_occurrence;
  if (takeAttribute(element, u"multi_occurrence", field, refused)) return -1;
  return qrk_toupper(ctx_, field, field, sizeof field) ? refused(field) : 0;
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

int build(const Report& report, const DOM_Document& document, const char* tableName,
          const char* columnName, dad& model) {
  ModelBuilder builder(report, model);
  if (builder.takeSettings(document)) return -1;
  if (builder.takeNames(tableName, columnName)) return -1;
  xercesc::DOMNode* const xcolumn = findXcolumn(document);
  model.noXcolumn = xcolumn ? 0 : 1;
  if (!xcolumn) return failAt(document.getDocumentElement().node(), {}, report, Msg::QRKA009E);
  return builder.takeSideTables(xcolumn);
}

}  // namespace

dad* dad_popu(QrkStruct* ctx, const char* tableName, const char* columnName, QrkOutbuf* dadBuffer,
              int useDbEncoding, char* msg, char* sqlstate, int32_t* noXcolumn, int* errCode) try {
  const Report report{.ctx = ctx, .msg = msg, .errCode = errCode, .sqlState = sqlstate};
  if (noXcolumn) *noXcolumn = 0;
  DOM_Document document;
  const int inMemory = dadBuffer->loctype == QRK_LOC_FILE ? 0 : 1;
  const int rc = qrkDOM(ctx, dadBuffer->data, useDbEncoding, inMemory, document, sqlstate, msg);
  QRK_TRACE(ctx, "called qrkDOM(). rc:%d", rc);
  if (rc < 0) {
    if (errCode) *errCode = parseCode(ctx, rc, sqlstate);
    return nullptr;
  }
  ModelOwner model(new dad{});
  const int built = build(report, document, tableName, columnName, *model);
  if (noXcolumn) *noXcolumn = model->noXcolumn;
  return built ? nullptr : model.release();
} catch (const std::bad_alloc&) {
  fail(Report{.ctx = ctx, .msg = msg, .errCode = errCode, .sqlState = sqlstate}, Msg::QRKG002E);
  return nullptr;
}

void freedad(QrkStruct*, dad* model) {
  if (!model) return;
  FreeTables()(model->sideTables);
  std::free(model->dtdid);
  delete model;
}

}  // namespace orvxml

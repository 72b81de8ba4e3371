#include "src/compose/sql_mapping.h"

#include "orvxml/trace.h"
#include "src/compose/sql_document.h"

namespace orvxml {

class SqlComposition::Impl {
 public:
  Impl(const Report& report, SQLHDBC hdbc, const DOM_Element& dadRoot, const char* baseQuery,
       const level_map* levelMap)
      : call_{report, hdbc, levelMap},
        top_(call_, nullptr, 0, baseQuery),
        document_(call_, dadRoot, top_) {}

  LevelQuery& top() { return top_; }
  SqlDocument& document() { return document_; }

  int nextObject() {
    const int rc = top_.qrkFetchNextObj();
    if (rc && rc != SQL_NO_DATA) {
      QRK_TRACE(call_.report.ctx, "Cannot fetch data from '%s', i=%d.", top_.text().c_str(),
                objects_);
    }
    if (rc == 0) ++objects_;
    return rc;
  }

 private:
  SqlCall call_;
  LevelQuery top_;
  SqlDocument document_;
  int objects_ = 0;
};

SqlComposition::SqlComposition(QrkStruct* ctx, SQLHDBC hdbc, const DOM_Element& dadRoot,
                               const char* baseQuery, const level_map* levelMap, int* errCode,
                               char* msg)
    : impl_(std::make_unique<Impl>(Report{.ctx = ctx, .msg = msg, .errCode = errCode}, hdbc,
                                   dadRoot, baseQuery, levelMap)) {}

SqlComposition::~SqlComposition() = default;

int SqlComposition::open() {
  return impl_->top().open();
}

int SqlComposition::nextObject() {
  return impl_->nextObject();
}

int SqlComposition::writeDocument(QrkOutbuf* document, uint32_t sizeLimit) {
  return impl_->document().qrkGenXMLDoc(document, sizeLimit);
}

int SqlComposition::close() {
  return impl_->top().close();
}

}  // namespace orvxml

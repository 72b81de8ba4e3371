// Limits on schemas: the parser compiles them by recursion, expands their content models and judges
// values by their patterns, all without bound.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <xercesc/validators/datatype/DatatypeValidator.hpp>

#include "src/xmlcolumn/pattern_cost.h"
#include "src/xmlcolumn/schema_scan.h"

namespace orvxml {

struct SchemaExcess {
  const SchemaScan* file = nullptr;  // null: all together
  std::string reason;
  uint64_t line = 0;
  uint64_t column = 0;
};

// What in a schema of these files is out of proportion; nothing when the parser may have it.
std::optional<SchemaExcess> excessOf(const std::vector<const SchemaScan*>& files);

// What the patterns of a schema cost on the values of one document.
class ValueCosts {
 public:
  explicit ValueCosts(uint64_t documentBytes);
  // Before the parser judges a value of the type: false when that may take too long.
  bool allows(const xercesc::DatatypeValidator* type, std::u16string_view value);

 private:
  using Type = xercesc::DatatypeValidator;
  // What a value of a type is held against. A pattern is null when it is refused, as several
  // together may be.
  struct Tests {
    std::vector<PatternCost*> patterns;
    const Type* items = nullptr;       // of a list: the type of each item
    std::vector<const Type*> members;  // of a union: the types that are tried in turn
  };

  const Tests& testsOf(const Type* type);
  PatternCost* compiled(std::u16string_view pattern);
  bool allowsItems(const Type* type, std::u16string_view value);

  double limit_;
  double spent_ = 0;
  std::unordered_map<const Type*, Tests> byType_;
  std::map<std::u16string, std::unique_ptr<PatternCost>, std::less<>> byText_;
};

}  // namespace orvxml

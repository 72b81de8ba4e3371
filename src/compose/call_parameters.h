// The parameters of a composition procedure by position, whichever convention brings them: a
// descriptor area, whose types have to be checked, or single pointers with null indicators.
#pragma once

#include <cstring>
#include <span>

#include "orvxml/procedures.h"
#include "src/call/procedure_frame.h"

namespace orvxml {

struct ParameterBytes {
  const char* data = nullptr;
  int length = 0;
};

// Where a composed document goes. The length word need not be aligned.
struct DocumentArea {
  char* data = nullptr;
  int32_t capacity = 0;  // bytes
  char* length = nullptr;

  void setLength(int32_t bytes) { std::memcpy(length, &bytes, sizeof bytes); }
};

// Results are 0, or the code of the message that has been stored in the call.
class CallParameters {
 public:
  virtual ~CallParameters() = default;
  virtual bool isNull(int position) const = 0;
  // A text, or a large object. The parameter is not null.
  virtual int bytes(Call& call, int position, ParameterBytes& value) = 0;
  virtual int integer(Call& call, int position, int32_t& value) = 0;
  // Checks that an output can be set with `setInteger`.
  virtual int checkIntegerOutput(Call& call, int position) = 0;
  virtual int documentOutput(Call& call, int position, DocumentArea& area) = 0;
  virtual void setInteger(int position, int32_t value) = 0;
  virtual short* indicator(int position) = 0;  // may be null
};

class DescriptorParameters : public CallParameters {
 public:
  explicit DescriptorParameters(sqlda* area) : area_(area) {}
  bool isNull(int position) const override;
  int bytes(Call& call, int position, ParameterBytes& value) override;
  int integer(Call& call, int position, int32_t& value) override;  // null: QRKA019E
  int checkIntegerOutput(Call& call, int position) override;
  int documentOutput(Call& call, int position, DocumentArea& area) override;
  void setInteger(int position, int32_t value) override;
  short* indicator(int position) override { return area_->sqlvar[position].sqlind; }

 private:
  sqlda* area_;
};

// One parameter of an "_STP" form: a value of one of its types and its null indicator.
struct ListParameter {
  ListParameter(clob* value, short* ind) : object(value), indicator(ind) {}
  ListParameter(const char* value, short* ind) : text(value), indicator(ind) {}
  ListParameter(const int* value, short* ind) : number(value), indicator(ind) {}
  ListParameter(int* value, short* ind) : number(value), result(value), indicator(ind) {}

  clob* object = nullptr;
  const char* text = nullptr;
  const int* number = nullptr;
  int* result = nullptr;  // an output
  short* indicator = nullptr;
};

class ListParameters : public CallParameters {
 public:
  explicit ListParameters(std::span<const ListParameter> list) : list_(list) {}
  bool isNull(int position) const override;
  int bytes(Call& call, int position, ParameterBytes& value) override;
  int integer(Call& call, int position, int32_t& value) override;  // null: 0
  int checkIntegerOutput(Call&, int) override { return 0; }
  int documentOutput(Call& call, int position, DocumentArea& area) override;
  void setInteger(int position, int32_t value) override;
  short* indicator(int position) override { return at(position).indicator; }

 private:
  const ListParameter& at(int position) const { return list_[static_cast<size_t>(position)]; }

  std::span<const ListParameter> list_;
};

}  // namespace orvxml

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

class CallParameters {
 public:
  virtual ~CallParameters() = default;
  virtual bool isNull(int position) const = 0;
  // A text, or a large object. The parameter is not null.
  virtual ParameterBytes bytes(QrkStruct* ctx, int position) = 0;
  virtual int32_t integer(QrkStruct* ctx, int position) = 0;
  // Checks that an output can be set with `setInteger`.
  virtual void checkIntegerOutput(QrkStruct* ctx, int position) = 0;
  virtual DocumentArea documentOutput(QrkStruct* ctx, int position) = 0;
  virtual void setInteger(int position, int32_t value) = 0;
  virtual short* indicator(int position) = 0;  // may be null
};

class DescriptorParameters : public CallParameters {
 public:
  explicit DescriptorParameters(sqlda* area) : area_(area) {}
  bool isNull(int position) const override;
  ParameterBytes bytes(QrkStruct* ctx, int position) override;
  int32_t integer(QrkStruct* ctx, int position) override;  // null: QRKA019E
  void checkIntegerOutput(QrkStruct* ctx, int position) override;
  DocumentArea documentOutput(QrkStruct* ctx, int position) override;
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
  ParameterBytes bytes(QrkStruct* ctx, int position) override;
  int32_t integer(QrkStruct* ctx, int position) override;  // null: 0
  void checkIntegerOutput(QrkStruct*, int) override {}
  DocumentArea documentOutput(QrkStruct* ctx, int position) override;
  void setInteger(int position, int32_t value) override;
  short* indicator(int position) override { return at(position).indicator; }

 private:
  const ListParameter& at(int position) const { return list_[static_cast<size_t>(position)]; }

  std::span<const ListParameter> list_;
};

}  // namespace orvxml

#include "src/outcome/failure.h"

namespace orvxml {

namespace {

std::string numberOrNothing(std::optional<uint64_t> number) {
  return number ? std::to_string(*number) : std::string();
}

}  // namespace

std::string moduleOf(const SourcePlace& where) {
  std::string_view file = where.file;
  file.remove_prefix(file.find_last_of('/') + 1);
  return std::string(file.substr(0, file.find('.')));
}

FailureKind Failure::kindOf(Msg message) {
  switch (message) {
    case Msg::QRKQ053E:
    case Msg::QRKG006E:
    case Msg::QRKA073E:
    case Msg::QRKQ052E:
      return FailureKind::kDatabase;
    case Msg::QRKG017E:
      return FailureKind::kSize;
    case Msg::QRKG000E:
    case Msg::QRKG001E:
    case Msg::QRKG002E:
    case Msg::QRKG008E:
    case Msg::QRKA076E:
    case Msg::QRKC000E:
    case Msg::QRKC001E:
    case Msg::QRKC002E:
    case Msg::QRKC003E:
      return FailureKind::kSystem;
    default:
      return FailureKind::kUnknown;
  }
}

Failure Failure::internal(const char* module, SourcePlace where) {
  const std::string file = moduleOf(where);
  Failure failure(Msg::QRKG001E, buildStamp(), module ? module : file, where.line);
  if (module) {
    failure.origin_ = "thrown in " + file + ".cpp, line " + std::to_string(where.line);
  }
  return failure;
}

Failure Failure::ofLimit(std::string_view limit, SourcePlace where) {
  return Failure(Msg::QRKG017E, limit, buildStamp(), moduleOf(where), where.line);
}

Failure Failure::said(int code, std::string text) {
  Failure failure;
  failure.code_ = code;
  failure.arguments_.push_back(std::move(text));
  return failure;
}

Failure Failure::ofParser(std::optional<uint64_t> line, std::optional<uint64_t> column,
                          const std::string& text) {
  Failure failure(Msg::QRKQ047E, numberOrNothing(line), numberOrNothing(column), text);
  failure.code_ = kParserCode;
  failure.sqlState_ = kParserState;
  failure.place_.line = line.value_or(0);
  failure.place_.column = column.value_or(0);
  return failure;
}

Failure Failure::behind(const sqlca& area) && {
  area_ = area;
  sqlcode_ = area.sqlcode;
  kind_ = FailureKind::kDatabase;
  return std::move(*this);
}

Failure Failure::withCode(int code) && {
  code_ = code;
  return std::move(*this);
}

Failure Failure::withState(std::string_view sqlState) && {
  sqlState_ = sqlState;
  return std::move(*this);
}

Failure Failure::with(std::string text) && {
  return std::move(*this).with(said(0, std::move(text)));
}

Failure Failure::with(Failure other) && {
  also_.push_back(std::move(other));
  return std::move(*this);
}

Failure& Failure::about(FailureText text) {
  if (place_.text == FailureText::kNone) place_.text = text;
  if (kind_ == FailureKind::kUnknown) {
    kind_ = place_.text == FailureText::kMapping ? FailureKind::kMapping : FailureKind::kDocument;
  }
  return *this;
}

Failure& Failure::atElement(FailureText text, size_t number, std::string lacks) {
  size_t& element = text == FailureText::kMapping ? place_.mappingElement : place_.documentElement;
  if (element == 0) element = number;
  if (place_.lacks.empty()) place_.lacks = std::move(lacks);
  return about(text);
}

Failure& Failure::inFile(std::string file, std::string lacks) {
  place_.file = std::move(file);
  place_.lacks = std::move(lacks);
  return *this;
}

Failure Failure::ofStatement(int sqlcode, std::string words) && {
  kind_ = FailureKind::kDatabase;
  sqlcode_ = sqlcode;
  serverWords_ = std::move(words);
  return std::move(*this);
}

Failure Failure::ofKind(FailureKind kind) && {
  kind_ = kind;
  return std::move(*this);
}

}  // namespace orvxml

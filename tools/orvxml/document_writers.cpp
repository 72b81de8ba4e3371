#include "document_writers.h"

#include <strings.h>

#include <cstdio>
#include <utility>

#include "console.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

// The XML declaration with UTF-8 in place of another encoding's name, which moves to `named`: what
// is written is UTF-8.
std::string namingUtf8(std::string_view header, std::string& named) {
  constexpr std::string_view kUtf8 = "UTF-8";
  std::string text(header);
  const std::string_view value = declaredEncoding(header);
  if (value.empty() || strcasecmp(std::string(value).c_str(), kUtf8.data()) == 0) return text;
  named = value;
  return text.replace(static_cast<size_t>(value.data() - header.data()), value.size(), kUtf8);
}

}  // namespace

// ---- What all have in common.
template <class Step>
bool DocumentWriter::guarded(Step&& step) {
  try {
    step();
    return true;
  } catch (...) {
    problem_ = std::current_exception();
    return false;
  }
}

bool DocumentWriter::beginDocument(std::string_view header) {
  return guarded([&] { begin(namingUtf8(header, otherEncoding_)); });
}

bool DocumentWriter::text(std::string_view part) {
  return guarded([&] { write(part); });
}

bool DocumentWriter::endDocument(int valid) {
  return guarded([&] {
    end();
    if (valid >= 0) ++(valid ? valid_ : invalid_);
  });
}

void DocumentWriter::rethrow() const {
  if (problem_) std::rethrow_exception(problem_);
}

// ---- The first document.
FirstDocument::FirstDocument(const std::string& path) {
  if (!path.empty()) file_.emplace(path);
}

void FirstDocument::write(std::string_view part) {
  if (file_) {
    file_->write(part);
  } else {
    kept_.append(part);
  }
}

void FirstDocument::complete() {
  if (file_ && isThere_) file_->commit();
}

// ---- A folder.
void NumberedDocuments::begin(const std::string& header) {
  file_ = folder_.next();
  file_->write(header);
}

void NumberedDocuments::end() {
  folder_.commit(*file_);
  file_.reset();
}

// ---- One element around them.
WrappedDocuments::WrappedDocuments(std::string element, const std::string& path)
    : element_(std::move(element)) {
  if (!path.empty()) file_.emplace(path);
}

void WrappedDocuments::open() {
  if (std::exchange(isOpen_, true)) return;
  write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<" + element_ + '>');
}

void WrappedDocuments::begin(const std::string&) {
  open();
}

void WrappedDocuments::write(std::string_view part) {
  if (file_) return file_->write(part);
  if (std::fwrite(part.data(), 1, part.size(), stdout) != part.size()) checkOutput();
}

void WrappedDocuments::complete() {
  open();
  write("\n</" + element_ + ">\n");
  if (file_) file_->commit();
}

}  // namespace orvxml::command

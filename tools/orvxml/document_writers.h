// What becomes of the documents of a composition: the first one, a file for each, or all of them
// inside one element.
#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "orvxml/compose_documents.h"
#include "output_file.h"

namespace orvxml::command {

// Counts the documents, and keeps what goes wrong with a target for the end of the call.
class DocumentWriter : public DocumentReceiver {
 public:
  virtual ~DocumentWriter() = default;
  bool beginDocument(std::string_view header) final;
  bool text(std::string_view part) final;
  bool endDocument(int valid) final;
  bool leaveOut(const char* message) final { return leaveOut_ && leaveOut_(message); }

  // Decides about documents that a value makes impossible; without it they end the call. `message`
  // is in the database code page.
  void whenUnwritable(std::function<bool(const char* message)> leaveOut) {
    leaveOut_ = std::move(leaveOut);
  }
  // Throws what a target threw.
  void rethrow() const;
  // After a call that succeeded: the target is complete.
  virtual void complete() = 0;

  size_t valid() const { return valid_; }
  size_t invalid() const { return invalid_; }
  // The encoding that the mapping's prolog names when that is not UTF-8.
  const std::string& otherEncoding() const { return otherEncoding_; }

 protected:
  virtual void begin(const std::string& header) = 0;
  virtual void write(std::string_view part) = 0;
  virtual void end() = 0;

 private:
  template <class Step>
  bool guarded(Step&& step);

  std::function<bool(const char*)> leaveOut_;
  std::exception_ptr problem_;
  size_t valid_ = 0;
  size_t invalid_ = 0;
  std::string otherEncoding_;
};

// The first document, into a file or kept for the caller.
class FirstDocument : public DocumentWriter {
 public:
  // Without a path the document is kept.
  explicit FirstDocument(const std::string& path);
  const std::string& kept() const { return kept_; }
  void complete() override;

 protected:
  void begin(const std::string& header) override { write(header); }
  void write(std::string_view part) override;
  void end() override { isThere_ = true; }

 private:
  std::optional<OutputFile> file_;
  std::string kept_;
  bool isThere_ = false;
};

// All documents as files of a folder.
class NumberedDocuments : public DocumentWriter {
 public:
  explicit NumberedDocuments(const std::string& folder) : folder_(folder) {}
  void complete() override { folder_.keep(); }

 protected:
  void begin(const std::string& header) override;
  void write(std::string_view part) override { file_->write(part); }
  void end() override;

 private:
  OutputFolder folder_;
  std::unique_ptr<OutputFile> file_;
};

// All documents, without their headers, inside one element: into a file or to standard output.
class WrappedDocuments : public DocumentWriter {
 public:
  WrappedDocuments(std::string element, const std::string& path);
  void complete() override;

 protected:
  void begin(const std::string& header) override;
  void write(std::string_view part) override;
  void end() override {}

 private:
  void open();

  const std::string element_;
  std::optional<OutputFile> file_;
  bool isOpen_ = false;
};

}  // namespace orvxml::command

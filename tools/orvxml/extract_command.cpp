#include "extract_command.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>

#include "document_report.h"
#include "location_paths.h"
#include "orvxml/extraction.h"
#include "orvxml/utilities.h"
#include "result_writer.h"

namespace orvxml::command {

namespace {

void put(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

// The values of one document.
class AllValues {
 public:
  explicit AllValues(LocalContext& context) : context_(context) {}
  ~AllValues() { qrkFreeArray(context_.get(), &result_); }
  AllValues(const AllValues&) = delete;
  AllValues& operator=(const AllValues&) = delete;
  QrkExtractResult* get() { return &result_; }
  std::span<char* const> list() const {
    size_t count = 0;
    while (result_.values[count] != nullptr) ++count;
    return {result_.values, count};
  }

 private:
  LocalContext& context_;
  QrkExtractResult result_{};
};

class ExtractRun {
 public:
  ExtractRun(const Settings& settings, const ExtractOptions& options)
      : settings_(settings), options_(options), path_(options.path) {
    requirePath(context_, path_);
  }

  ExitStatus run() {
    return forEachDocument(settings_, options_.documents, [this](StreamedFile& document) {
      return options_.one ? readOne(document) : readAll(document);
    });
  }

 private:
  int format() const { return options_.markup ? kExtractMarkup : kExtractText; }

  Problem problem(const StreamedFile& document) const {
    return problemIn(document.name(), context_);
  }

  std::optional<Problem> readAll(StreamedFile& document) {
    AllValues values(context_);
    const int status = context_.call([&] {
      return extractAll(context_.get(), document.location(), 0, 0, format(), path_.data(),
                        values.get(), INT_MAX, context_.sqlState, context_.message);
    });
    document.requireUnchanged();
    if (status != 0) return problem(document);
    print(document.name(), values.list());
    return std::nullopt;
  }

  std::optional<Problem> readOne(StreamedFile& document) {
    char* value = nullptr;
    const int status = context_.call([&] {
      return extractOne(context_.get(), document.location(), 0, 0, format(), path_.data(), &value,
                        INT_MAX, context_.sqlState, context_.message);
    });
    const std::unique_ptr<char, FreeMemory> owner(value);
    document.requireUnchanged();
    // An empty value has no string.
    const bool isEmpty = status != 0 && std::strcmp(context_.sqlState, "00000") == 0;
    if (status != 0 && !isEmpty) return problem(document);
    char empty[] = "";
    char* only = isEmpty ? empty : value;
    print(document.name(), {&only, 1});
    return std::nullopt;
  }

  void print(const std::string& document, std::span<char* const> values) const {
    if (settings_.json) return printJson(document, values);
    const std::string front = options_.documents.size() > 1 ? document + ": " : "";
    for (const char* value : values) {
      put(front);
      put(value);
      std::putchar(options_.nullSeparated ? '\0' : '\n');
    }
  }

  static void printJson(const std::string& document, std::span<char* const> values) {
    put(jsonHead(document, true) + ", \"values\": [");
    const char* separator = "";
    for (const char* value : values) {
      put(separator + jsonString(value));
      separator = ", ";
    }
    put("]}\n");
  }

  const Settings& settings_;
  const ExtractOptions& options_;
  LocalContext context_;
  std::string path_;
};

}  // namespace

ExitStatus runExtract(const Settings& settings, const ExtractOptions& options) {
  if (options.documents.empty()) throw Failure("", "no document given", kWrongUse);
  if (settings.json && options.nullSeparated) {
    throw Failure("", "give --json or -0, not both", kWrongUse);
  }
  return ExtractRun(settings, options).run();
}

}  // namespace orvxml::command

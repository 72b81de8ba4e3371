#include "update_command.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "console.h"
#include "document_report.h"
#include "location_paths.h"
#include "orvxml/update.h"
#include "orvxml/utilities.h"
#include "output_file.h"
#include "result_writer.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

constexpr const char* kValueName = "--value";

bool isXmlCharacter(int32_t c) {
  return c >= 0x20 ? c != 0xFFFE && c != 0xFFFF : c == '\t' || c == '\n' || c == '\r';
}

// A value with any other character would make a document that nobody can read.
void requireXmlCharacters(const std::string& value) {
  size_t at = 0;
  while (at < value.size()) {
    const int32_t character = nextCharacter(value, at);
    if (isXmlCharacter(character)) continue;
    char name[16];
    std::snprintf(name, sizeof name, "U+%04X", static_cast<unsigned>(character));
    throw Failure(kValueName, std::string("the character ") + name + " has no place in XML",
                  kWrongUse);
  }
}

class UpdateRun {
 public:
  UpdateRun(const Settings& settings, const UpdateOptions& options)
      : settings_(settings), options_(options) {
    std::string path = options.path;
    requirePath(context_, path);
    path_ = utf16Of(path);
    const std::string value = plainTextAsUtf8(kValueName, *options.value);
    requireXmlCharacters(value);
    value_ = utf16Of(value);
  }

  ExitStatus run() {
    return forEachDocument(settings_, {options_.document},
                           [this](StreamedFile& document) { return update(document); });
  }

 private:
  std::optional<Problem> update(StreamedFile& document) {
    std::optional<OutputFile> file;
    if (!options_.output.empty()) file.emplace(options_.output);
    char* result = nullptr;
    const int status = context_.call([&] {
      return qrkUpdate(context_.get(), document.location(), 0, 0, path_.data(), value_.data(),
                       &result, INT_MAX, context_.sqlState, context_.message);
    });
    const std::unique_ptr<char, FreeMemory> owner(result);
    document.requireUnchanged();
    if (status != 0) return problemIn(document.name(), context_);
    std::string text = result;
    if (!text.ends_with('\n')) text += '\n';
    if (file) {
      file->write(inDeclaredEncoding(document.name(), text));
      file->commit();
    }
    print(document.name(), text);
    return std::nullopt;
  }

  void print(const std::string& document, const std::string& text) const {
    std::string out;
    if (settings_.json) {
      const bool toFile = !options_.output.empty();
      out = jsonHead(document, true) + (toFile ? ", \"output\": " : ", \"text\": ") +
            jsonString(toFile ? options_.output : text) + "}\n";
    } else if (options_.output.empty()) {
      out = inDeclaredEncoding(document, text);
    }
    std::fwrite(out.data(), 1, out.size(), stdout);
  }

  const Settings& settings_;
  const UpdateOptions& options_;
  LocalContext context_;
  std::u16string path_, value_;
};

}  // namespace

ExitStatus runUpdate(const Settings& settings, const UpdateOptions& options) {
  if (!options.value) throw Failure("", "give --value", kWrongUse);
  if (options.document.empty()) throw Failure("", "no document given", kWrongUse);
  return UpdateRun(settings, options).run();
}

}  // namespace orvxml::command

#include "validate_command.h"

#include <cstdio>

#include "console.h"
#include "document_report.h"
#include "local_context.h"
#include "orvxml/validation.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

// Names a DTD and is of a name that no document has.
constexpr const char* kProbe = "<!DOCTYPE orvxml-probe SYSTEM 'orvxml-probe'><orvxml-probe/>";
constexpr const char* kUnreadableDtd = "<!";
constexpr const char* kUndeclared = "no declaration found";
constexpr const char* kNoDtdNamed =
    "\nthe DTD takes the place of the one that the document's DOCTYPE names; this document names "
    "none";

// What follows line and column in a message of the parser.
std::string_view reasonOf(std::string_view message) {
  const size_t column = message.find(" column ");
  const size_t reason = message.find(": ", column);
  return column == std::string_view::npos || reason == std::string_view::npos
             ? message
             : message.substr(reason);
}

class Validator {
 public:
  Validator(StreamedFile& grammar, bool isSchema)
      : grammar_(grammar), isSchema_(isSchema), schema_(utf16Of(grammar.location())) {}

  std::optional<Problem> check(StreamedFile& document) {
    const bool isValid = judge(document.location(), false);
    document.requireUnchanged();
    grammar_.requireUnchanged();
    if (isValid) return std::nullopt;
    Problem problem = problemIn(document.name(), context_.message, context_.sqlState);
    if (problem.position) explain(document, problem);
    return problem;
  }

 private:
  // True for a valid document; else the context has the outcome.
  bool judge(char* document, bool isText) {
    *context_.message = 0;
    if (isSchema_) {
      return qrkValidateSchema(context_.get(), document, isText, 0, schema_.data(),
                               context_.sqlState, context_.message) == 1;
    }
    return judgeByDtd(document, isText, grammar_.location(), false);
  }

  bool judgeByDtd(char* document, bool isText, char* dtd, bool isDtdText) {
    return qrkValidate(context_.get(), document, isText, 0, dtd, 0, nullptr, context_.sqlState,
                       context_.message, isDtdText) == 1;
  }

  // The parser tells errors in the grammar as it tells those in the document, with a place that may
  // count in either.
  void explain(StreamedFile& document, Problem& problem) {
    const std::string message = context_.message;
    std::string probe = kProbe;
    judge(probe.data(), true);
    if (reasonOf(message) == reasonOf(context_.message)) {
      const bool samePlace = message == context_.message;
      problem.where = samePlace ? located(grammar_.name(), *problem.position) : grammar_.name();
      problem.position.reset();
    } else if (!isSchema_ && message.find(kUndeclared) != std::string::npos) {
      std::string dtd = kUnreadableDtd;
      judgeByDtd(document.location(), false, dtd.data(), true);
      if (message == context_.message) problem.message += kNoDtdNamed;
    }
  }

  StreamedFile& grammar_;
  bool isSchema_;
  std::u16string schema_;
  LocalContext context_;
};

}  // namespace

ExitStatus runValidate(const Settings& settings, const ValidateOptions& options) {
  if (options.dtd.empty() == options.schema.empty()) {
    throw Failure("", "give either --dtd or --schema", kWrongUse);
  }
  if (options.documents.empty()) throw Failure("", "no document given", kWrongUse);
  const bool isSchema = !options.schema.empty();
  StreamedFile grammar(isSchema ? options.schema : options.dtd);
  Validator validator(grammar, isSchema);
  return forEachDocument(settings, options.documents, [&](StreamedFile& document) {
    std::optional<Problem> problem = validator.check(document);
    if (problem) return problem;
    if (settings.json) {
      std::printf("%s}\n", jsonHead(document.name(), true).c_str());
    } else if (!settings.quiet) {
      std::printf("%s: valid\n", document.name().c_str());
    }
    return problem;
  });
}

}  // namespace orvxml::command

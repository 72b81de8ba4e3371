#include "validate_command.h"

#include <cstdio>

#include "console.h"
#include "document_report.h"
#include "local_context.h"
#include "notice_log.h"
#include "orvxml/validation.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

class Validator {
 public:
  Validator(StreamedFile& grammar, bool isSchema)
      : grammar_(grammar), isSchema_(isSchema), schema_(utf16Of(grammar.location())) {}

  std::optional<Problem> check(StreamedFile& document) {
    const int verdict = context_.call([&] { return judge(document); });
    document.requireUnchanged();
    grammar_.requireUnchanged();
    if (verdict == kValid) return std::nullopt;
    Problem problem = problemIn(document.name(), context_);
    const Notice* const failure = context_.failure();
    if (failure && !failure->file.empty()) blame(nameOf(failure->file), failure->text, problem);
    return problem;
  }

 private:
  int judge(StreamedFile& document) {
    if (isSchema_) {
      return qrkJudgeBySchema(context_.get(), document.location(), 0, 0, schema_.data(),
                              context_.sqlState, context_.message);
    }
    return qrkJudge(context_.get(), document.location(), 0, 0, grammar_.location(), 0, nullptr,
                    context_.sqlState, context_.message, 0);
  }

  std::string nameOf(const std::string& file) const {
    return file == grammar_.location() ? grammar_.name() : file;
  }

  // The place is in that file, and not in the document.
  static void blame(const std::string& file, const std::string& note, Problem& problem) {
    if (!note.empty()) problem.message += "\n" + note;
    problem.where = problem.position ? located(file, *problem.position) : file;
    problem.position.reset();
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
  StreamedFile grammar(isSchema ? options.schema : options.dtd, kLargestMapping);
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

#include "composer.h"

#include <utility>

#include "orvxml/context.h"
#include "procedure_values.h"
#include "text_encoding.h"

namespace orvxml::command {

Composer::Composer(orv::Session& session, Mapping mapping, Override override)
    : session_(session), mapping_(std::move(mapping)), override_(std::move(override)) {
  databaseMapping_ =
      toDatabase(mapping_.name, mapping_.isCollection ? mapping_.name : mapping_.dad);
  databaseOverride_ = toDatabase("<override>", override_.text);
}

std::string Composer::toDatabase(const std::string& where, const std::string& text) const {
  return toCodePage(where, text, session_.codePage());
}

bool Composer::fitsParameters() const {
  return databaseMapping_.size() <= (mapping_.isCollection ? kNameParameter : kDadParameter) &&
         databaseOverride_.size() <= kOverrideParameter;
}

orv::Argument Composer::overrideText() const {
  return override_.type == Override::kNone ? orv::Argument{} : orv::Argument{override_.text};
}

// The outcome in the last three outputs; nothing when there is no such procedure.
std::optional<ComposeOutcome> Composer::call(std::vector<orv::Argument> arguments) {
  constexpr size_t kOutputs = 3;
  arguments.resize(arguments.size() + kOutputs);
  const orv::CallResult result =
      session_.call("ORVXML", mapping_.isCollection ? "QRKRETRIEVEXML" : "QRKGENXML", arguments);
  if (result.outcome.sqlcode == kNoSuchRoutine) return std::nullopt;
  if (result.outcome.failed()) {
    return ComposeOutcome{result.outcome.sqlcode, result.outcome.message, 0};
  }
  const orv::ResultValue* const outputs = &result.outputs.back() - (kOutputs - 1);
  return ComposeOutcome{numberOf(outputs[1]), outputs[2].value_or(""), numberOf(outputs[0])};
}

// The parameter-list form: the mapping leads its arguments, its indicator their indicators.
template <class ByDad, class ByName, class... Arguments>
int Composer::callEither(ByDad* byDad, ByName* byName, Arguments... arguments) {
  if (mapping_.isCollection) return byName(databaseMapping_.c_str(), arguments...);
  ClobValue dad(databaseMapping_);
  return byDad(dad.get(), arguments...);
}

// ---- Documents.
ComposeOutcome Composer::composeDocuments(DocumentReceiver& receiver, bool firstOnly, int maxRows) {
  ComposeRequest request;
  if (mapping_.isCollection) {
    request.collection = databaseMapping_.c_str();
  } else {
    request.dad = databaseMapping_.data();
    request.dadSize = databaseMapping_.size();
  }
  request.overrideType = override_.type;
  request.override = databaseOverride_.c_str();
  request.maxRows = maxRows;
  request.firstOnly = firstOnly;
  ComposeResult result;
  qrkComposeDocuments(request, receiver, result);
  return {result.code, fromCodePage(result.message, session_.codePage()), result.documents};
}

// ---- Rows.
ComposeOutcome Composer::composeRows(const ResultTable& table, int maxRows) {
  const bool fits = toDatabase("<table>", table.name).size() <= kNameParameter &&
                    toDatabase("<column>", table.column).size() <= kNameParameter &&
                    toDatabase("<column>", table.validColumn).size() <= kNameParameter;
  if (fits && fitsParameters()) {
    std::vector<orv::Argument> arguments{source(), {table.name}};
    if (!table.column.empty()) {
      arguments.push_back({table.column});
      arguments.push_back({table.validColumn});
    }
    arguments.push_back({std::to_string(override_.type)});
    arguments.push_back(overrideText());
    arguments.push_back({std::to_string(maxRows)});
    if (auto outcome = call(arguments)) return *std::move(outcome);
  }
  return composeRowsDirectly(table, maxRows);
}

ComposeOutcome Composer::composeRowsDirectly(const ResultTable& table, int maxRows) {
  ComposeOutcome outcome;
  char message[kMessageSize] = "";
  short indicators[10] = {};
  short* const ind = indicators;
  const std::string name = toDatabase("<table>", table.name);
  const std::string column = toDatabase("<column>", table.column);
  const std::string validColumn = toDatabase("<column>", table.validColumn);
  if (table.column.empty()) {
    callEither(qrkGenXML1_STP, qrkRetrieveXML1_STP, name.c_str(), &override_.type,
               databaseOverride_.c_str(), &maxRows, &outcome.documents, &outcome.code, message,
               &ind[0], &ind[1], &ind[2], &ind[3], &ind[4], &ind[5], &ind[6], &ind[7]);
  } else {
    callEither(qrkGenXML_STP, qrkRetrieveXML_STP, name.c_str(), column.c_str(), validColumn.c_str(),
               &override_.type, databaseOverride_.c_str(), &maxRows, &outcome.documents,
               &outcome.code, message, &ind[0], &ind[1], &ind[2], &ind[3], &ind[4], &ind[5],
               &ind[6], &ind[7], &ind[8], &ind[9]);
  }
  outcome.message = fromCodePage(message, session_.codePage());
  return outcome;
}

}  // namespace orvxml::command

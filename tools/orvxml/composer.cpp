#include "composer.h"

#include <utility>

#include "orvxml/context.h"
#include "procedure_values.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

std::optional<bool> validity(int valid) {
  return valid < 0 ? std::nullopt : std::optional<bool>(valid != 0);
}

}  // namespace

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
std::optional<ComposeOutcome> Composer::call(const std::string& name,
                                             std::vector<orv::Argument> arguments, size_t inputs,
                                             size_t outputs) {
  arguments.resize(inputs + outputs);
  const std::string procedure = (mapping_.isCollection ? "QRKRETRIEVE" : "QRKGEN") + name;
  orv::CallResult result = session_.call("ORVXML", procedure, arguments);
  if (result.outcome.sqlcode == kNoSuchRoutine) return std::nullopt;
  ComposeOutcome outcome;
  if (result.outcome.failed()) {
    outcome.code = result.outcome.sqlcode;
    outcome.message = result.outcome.message;
    return outcome;
  }
  std::vector<orv::ResultValue>& values = result.outputs;
  outcome.message = values.back().value_or("");
  outcome.code = numberOf(values[values.size() - 2]);
  outcome.documents = numberOf(values[values.size() - 3]);
  if (outputs == 3) return outcome;
  outcome.document = std::move(values[inputs]).value_or("");
  if (values[inputs + 1]) outcome.valid = validity(numberOf(values[inputs + 1]));
  return outcome;
}

// The parameter-list form: the mapping leads its arguments, its indicator their indicators.
template <class ByDad, class ByName, class... Arguments>
int Composer::callEither(ByDad* byDad, ByName* byName, Arguments... arguments) {
  if (mapping_.isCollection) return byName(databaseMapping_.c_str(), arguments...);
  ClobValue dad(databaseMapping_);
  return byDad(dad.get(), arguments...);
}

// ---- The first document.
ComposeOutcome Composer::composeDocument() {
  if (fitsParameters()) {
    const std::vector<orv::Argument> arguments{
        source(), {std::to_string(override_.type)}, overrideText()};
    if (auto outcome = call("XMLCLOB", arguments, arguments.size(), 5)) return *std::move(outcome);
  }
  return composeDocumentDirectly();
}

ComposeOutcome Composer::composeDocumentDirectly() {
  ComposeOutcome outcome;
  char message[kMessageSize] = "";
  int valid = -1;
  short indicators[8] = {};
  short* const ind = indicators;
  ClobValue document("", kDocumentParameter);
  callEither(qrkGenXMLClob_STP, qrkRetrieveXMLClob_STP, &override_.type, databaseOverride_.c_str(),
             document.get(), &valid, &outcome.documents, &outcome.code, message, &ind[0], &ind[1],
             &ind[2], &ind[3], &ind[4], &ind[5], &ind[6], &ind[7]);
  outcome.message = fromCodePage(message, session_.codePage());
  outcome.document = fromCodePage(
      {document.get()->data, static_cast<size_t>(document.get()->length)}, session_.codePage());
  outcome.valid = validity(valid);
  return outcome;
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
    if (auto outcome = call("XML", arguments, arguments.size(), 3)) return *std::move(outcome);
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

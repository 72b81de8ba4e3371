// The command `orvxml`: makes databases, enables them, their columns and collections, binds the
// library's packages, runs SQL, decomposes and composes documents, extracts from, updates and
// validates them, and switches the trace.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <limits>
#include <new>

#include "admin_commands.h"
#include "compose_command.h"
#include "console.h"
#include "dtd_command.h"
#include "enable_commands.h"
#include "extract_command.h"
#include "load_command.h"
#include "settings.h"
#include "shred_command.h"
#include "signals.h"
#include "sql_command.h"
#include "status_command.h"
#include "text_encoding.h"
#include "update_command.h"
#include "validate_command.h"

namespace {

using namespace orvxml::command;

struct CommandLine {
  Settings settings;
  int codePage = kUtf8CodePage;
  bool enable = false;
  EnableOptions enabling;
  std::string dtdId, dtdFile;
  SqlOptions sql;
  LoadOptions load;
  ShredOptions shred;
  ComposeOptions compose;
  ExtractOptions extract;
  UpdateOptions update;
  ValidateOptions validate;
  std::string traceDirectory;
  ExitStatus status = kDone;
};

void addGlobalOptions(CLI::App& app, CommandLine& line) {
  app.set_version_flag("--version", std::string("orvxml " ORVXML_VERSION));
  app.add_option("--db", line.settings.database, "Database: a path or sqlite:PATH")
      ->envname("ORVXML_DB")
      ->type_name("URL");
  app.add_flag("--json", line.settings.json, "Write data as JSON");
  app.add_flag("--quiet", line.settings.quiet, "Write data, warnings and errors only");
  app.require_subcommand(0, 1);
  app.fallthrough();
}

void addAdministration(CLI::App& app, CommandLine& line) {
  CLI::App* create = app.add_subcommand("create", "Make a new database with the packages bound");
  create->add_option("--code-page", line.codePage, "Code page of the database")
      ->capture_default_str();
  create->add_flag("--enable", line.enable, "Enable it as enable-db does");
  create->callback([&line] { createDatabase(line.settings, line.codePage, line.enable); });

  CLI::App* bind = app.add_subcommand("bind", "Bind the library's packages again");
  bind->callback([&line] { bindDatabase(line.settings); });

  CLI::App* trace = app.add_subcommand("trace", "Turn the trace of the instance on or off");
  trace->require_subcommand(1);
  CLI::App* on = trace->add_subcommand("on", "Write a trace file into a directory");
  on->add_option("DIRECTORY", line.traceDirectory, "Where the trace file goes")->required();
  on->callback([&line] { traceOn(line.settings, line.traceDirectory); });
  CLI::App* off = trace->add_subcommand("off", "Write no trace any more");
  off->callback([&line] { traceOff(line.settings); });
}

void addEnabling(CLI::App& app, CommandLine& line) {
  EnableOptions& options = line.enabling;
  const auto command = [&](const char* name, const char* text,
                           void (*run)(const Settings&, const EnableOptions&)) {
    CLI::App* added = app.add_subcommand(name, text);
    added->callback([&line, run] { run(line.settings, line.enabling); });
    return added;
  };
  const auto tableSpace = [&](CLI::App* added, const char* text) {
    added->add_option("--table-space", options.tableSpace, text)->type_name("TS");
  };
  const auto mapping = [&](CLI::App* added) {
    added->add_option("--dad", options.dad, "File with the mapping")->type_name("FILE");
  };
  const auto columnOf = [&](CLI::App* added) {
    added->add_option("TABLE", options.table, "Table with the documents")->required();
    added->add_option("COLUMN", options.name, "Column with the documents")->required();
  };
  const auto schema = [&](CLI::App* added) {
    added->add_option("--schema", options.schema, "Schema of names without one; else APP")
        ->type_name("NAME");
  };
  const auto collection = [&](CLI::App* added) {
    added->add_option("NAME", options.name, "Name of the collection")->required();
  };

  CLI::App* added = command(
      "enable-db", "Make types, functions, procedures and administrative tables", enableDatabase);
  tableSpace(added, "Table space of the administrative tables");
  added->add_option("--table-space2", options.tableSpace2, "Another one for ORVXML.XML_USAGE alone")
      ->type_name("TS");
  command("disable-db", "Drop what enable-db made", disableDatabase);

  added = command("enable-column", "Keep side tables of a column of documents", enableColumn);
  columnOf(added);
  mapping(added);
  tableSpace(added, "Table space of the side tables");
  added->add_option("--view", options.view, "View that joins the table with its side tables")
      ->type_name("NAME");
  added->add_option("--root-id", options.rootId, "Primary key that joins them; else QRKROOT_ID")
      ->type_name("COLUMN");
  schema(added);
  added = command("disable-column", "Drop side tables, triggers and view", disableColumn);
  columnOf(added);
  schema(added);

  added = command("enable-collection", "Keep a mapping under a name and make its tables",
                  enableCollection);
  collection(added);
  mapping(added);
  tableSpace(added, "Table space of the tables that are made");
  collection(command("disable-collection", "Forget a mapping and its name; its tables stay",
                     disableCollection));
}

void addRegistered(CLI::App& app, CommandLine& line) {
  CLI::App* dtd = app.add_subcommand("dtd", "Register, list and remove DTDs");
  dtd->require_subcommand(1);
  CLI::App* add = dtd->add_subcommand("add", "Register a DTD under an id");
  add->add_option("ID", line.dtdId, "Id by which mappings name it")->required();
  add->add_option("FILE", line.dtdFile, "File with the DTD; - is standard input")->required();
  add->callback([&line] { addDtd(line.settings, line.dtdId, line.dtdFile); });
  CLI::App* list = dtd->add_subcommand("list", "Show ids, uses and lengths");
  list->callback([&line] { listDtds(line.settings); });
  CLI::App* remove = dtd->add_subcommand("remove", "Remove a DTD that is not used");
  remove->add_option("ID", line.dtdId, "Id of the DTD")->required();
  remove->callback([&line] { removeDtd(line.settings, line.dtdId); });

  CLI::App* status = app.add_subcommand(
      "status", "Show what is enabled in the database, with side tables, triggers and DTDs");
  status->callback([&line] { showStatus(line.settings); });
}

void addSql(CLI::App& app, CommandLine& line) {
  CLI::App* sql = app.add_subcommand(
      "sql", "Run SQL in one unit of work: from the arguments, a file, or standard input");
  sql->add_option("STATEMENT", line.sql.statements, "Statements, separated by semicolons");
  sql->add_option("--file", line.sql.file, "Read the statements from a file")->type_name("FILE");
  sql->add_flag("--csv", line.sql.csv, "Write results as CSV");
  const auto values = [sql](const char* name, std::vector<std::string>& into, const char* text) {
    return sql->add_option(name, into, text)->allow_extra_args(false);
  };
  values("--set", line.sql.texts, "Let :NAME stand for a text")->type_name("NAME=TEXT");
  values("--set-file", line.sql.textFiles, "Let :NAME stand for the text of a file")
      ->type_name("NAME=FILE");
  sql->callback([&line] { runSql(line.settings, line.sql); });
}

void addLoad(CLI::App& app, CommandLine& line) {
  LoadOptions& options = line.load;
  CLI::App* load = app.add_subcommand(
      "load", "Put files as documents into a column, each in a row and a unit of work of its own");
  load->add_option("TABLE", options.table, "Table with the documents")->required();
  load->add_option("COLUMN", options.column, "Column with the documents")->required();
  load->add_option("FILE", options.files, "XML documents; - is standard input");
  const auto values = [load](const char* name, auto& into, const char* text, const char* type) {
    load->add_option(name, into, text)->type_name(type)->allow_extra_args(false);
  };
  values("--set", options.texts, "Give a column a value", "COLUMN=VALUE");
  values("--take", options.paths, "Give a column the value of a path", "COLUMN=PATH");
  values("--number", options.number, "Give a column numbers from FIRST on", "COLUMN=FIRST");
  values("--name-column", options.nameColumn, "Give a column the file's name", "COLUMN");
  load->add_flag("--keep-going", options.keepGoing, "Go on after a document that was refused");
  load->add_flag("--all-or-nothing", options.allOrNothing, "One unit of work for all documents");
  load->callback([&line] { line.status = runLoad(line.settings, line.load); });
}

void addShred(CLI::App& app, CommandLine& line) {
  CLI::App* shred = app.add_subcommand(
      "shred", "Decompose documents into rows, each document in a unit of work of its own");
  shred->add_option("--dad", line.shred.dad, "File with the mapping")->type_name("FILE");
  shred->add_option("--collection", line.shred.collection, "Enabled collection with the mapping")
      ->type_name("NAME");
  shred->add_flag("--keep-going", line.shred.keepGoing, "Go on after a document that failed");
  shred->add_flag("--strict", line.shred.strict,
                  "Refuse a document with a warning or with anything that the mapping leaves out");
  shred->add_flag("--verify", line.shred.verify,
                  "Refuse a document that does not come back from its rows");
  shred->add_option("DOCUMENT", line.shred.documents, "XML documents; - is standard input");
  shred->callback([&line] { line.status = runShred(line.settings, line.shred); });
}

void addCompose(CLI::App& app, CommandLine& line) {
  CLI::App* compose = app.add_subcommand(
      "compose",
      "Compose documents from rows: the first one, or all with --output-dir, --wrap, --into");
  ComposeOptions& options = line.compose;
  const auto add = [compose](const char* name, auto& value, const char* text, const char* type) {
    compose->add_option(name, value, text)->type_name(type);
  };
  add("--dad", options.dad, "File with the mapping", "FILE");
  add("--collection", options.collection, "Enabled collection with the mapping", "NAME");
  add("--override-sql", options.overrideSql, "Statement in place of the mapping's", "TEXT");
  add("--override-xml", options.overrideXml, "Conditions by location path", "TEXT");
  add("--max-rows", options.maxRows, "Documents to compose at most; 0: all", "N");
  compose->get_option("--max-rows")->check(CLI::Range(0, std::numeric_limits<int>::max(), "N"));
  add("--output", options.output, "Write to a file: the first document, or all with --wrap",
      "FILE");
  add("--wrap", options.wrap, "Write all documents inside one element", "NAME");
  compose->get_option("--wrap")->check(
      [](const std::string& name) { return name.empty() ? "takes the name of an element" : ""; });
  add("--output-dir", options.outputDir, "Write all documents into a folder", "DIR");
  add("--into", options.into, "Insert all documents into a table", "TABLE");
  add("--column", options.column, "Column of that table for the documents", "COLUMN");
  add("--valid-column", options.validColumn, "Column for their validation results", "COLUMN");
  compose->add_flag("--keep-going", options.keepGoing,
                    "Leave out documents with values that XML cannot carry");
  compose->callback([&line] { line.status = runCompose(line.settings, line.compose); });
}

void addExtract(CLI::App& app, CommandLine& line) {
  ExtractOptions& options = line.extract;
  CLI::App* extract =
      app.add_subcommand("extract", "Show the values that a location path selects in documents");
  extract->add_option("--path", options.path, "Location path")->type_name("PATH");
  extract->add_flag("--markup", options.markup, "Show elements with their markup");
  extract->add_flag("--one", options.one, "Take exactly one value from each document");
  extract->add_flag("-0", options.nullSeparated, "End values with a NUL character");
  extract->add_option("FILE", options.documents, "XML documents; - is standard input");
  extract->callback([&line] { line.status = runExtract(line.settings, line.extract); });
}

void addUpdate(CLI::App& app, CommandLine& line) {
  UpdateOptions& options = line.update;
  CLI::App* update = app.add_subcommand(
      "update", "Replace the text or the attribute that a location path selects in a document");
  update->add_option("--path", options.path, "Location path")->type_name("PATH");
  update->add_option("--value", options.value, "New text or attribute value")->type_name("VALUE");
  update->add_option("--output", options.output, "Write to a file, which may be the document's")
      ->type_name("FILE");
  update->add_option("FILE", options.document, "XML document; - is standard input");
  update->callback([&line] { line.status = runUpdate(line.settings, line.update); });
}

void addValidate(CLI::App& app, CommandLine& line) {
  ValidateOptions& options = line.validate;
  CLI::App* validate = app.add_subcommand("validate", "Judge documents by a DTD or a schema");
  validate->add_option("--dtd", options.dtd, "DTD in place of the one that the documents name")
      ->type_name("FILE");
  validate->add_option("--schema", options.schema, "XML schema")->type_name("FILE");
  validate->add_option("FILE", options.documents, "XML documents; - is standard input");
  validate->callback([&line] { line.status = runValidate(line.settings, line.validate); });
}

int run(int argc, char** argv) {
  CommandLine line;
  CLI::App app{"The XML Annex of the ORV server from the command line.", "orvxml"};
  addGlobalOptions(app, line);
  addAdministration(app, line);
  addEnabling(app, line);
  addRegistered(app, line);
  addSql(app, line);
  addLoad(app, line);
  addShred(app, line);
  addCompose(app, line);
  addExtract(app, line);
  addUpdate(app, line);
  addValidate(app, line);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const bool wrong = error.get_exit_code() != 0;
    app.exit(error);
    return wrong ? kWrongUse : kDone;
  }
  if (app.get_subcommands().empty()) {
    throw Failure("", "no command given; orvxml --help lists them", kWrongUse);
  }
  checkOutput();
  return line.status;
}

}  // namespace

int main(int argc, char** argv) {
  // Without an instance name no procedure runs; a first try should not need to know that.
  setenv("ORVINSTANCE", ("orvxml" + std::to_string(geteuid())).c_str(), 0);
  handleSignals();
  try {
    return run(argc, argv);
  } catch (const Failure& failure) {
    printMessage(failure.where(), failure.what());
    return failure.status();
  } catch (const std::bad_alloc&) {
    printMessage("orvxml", kOutOfMemory);
    return kFailed;
  } catch (const std::exception& error) {
    printMessage("orvxml", error.what());
    return kFailed;
  }
}

// The database that a subcommand works on, and the library's packages in it.
#pragma once

#include <memory>
#include <string>

#include "orv/session.h"
#include "settings.h"

namespace orvxml::command {

// Opens the database of the settings and makes its session current. Throws Failure; without a
// database in the settings with kWrongUse.
std::unique_ptr<orv::Session> openDatabase(const Settings& settings);

// The URL of the settings; Failure with kWrongUse when there is none.
const std::string& requireDatabase(const Settings& settings);

// Binds the library's packages into the current session's database; commits nothing.
void bindPackages();

// Throws Failure with the server's message unless the outcome is a success or a warning.
void require(const orv::Outcome& outcome, const std::string& where);

// Behind the message of a failure that undid what the command had begun.
inline constexpr char kRolledBack[] = "\nnothing was changed: the unit of work is rolled back";

// Runs one statement; Failure, with `where` in front, when it fails.
orv::Result runStatement(orv::Session& session, const std::string& where,
                         const std::string& statement);

// Whether the session's database is enabled for documents in columns and for collections.
bool isEnabled(orv::Session& session, const std::string& where);

// A well-formed text in UTF-8 as an SQL expression: a literal, or literals that make a CLOB
// together.
std::string sqlText(const std::string& text);

}  // namespace orvxml::command

// Bind files: the static sections of one module, to be recorded in a database.
//
//   file    := "ORVBIND 1\n" "package " word "\n" "token " word "\n" "sections " count "\n"
//   section*
//              "end\n"
//   section := "section " bytes-of-name " " bytes-of-text "\n" name "\n" text "\n"
//
// Names and texts are raw bytes of the stated lengths.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "server/resolve/catalog.h"

namespace orv {

struct BindFile {
  Package package;  // the qualifier is left empty
  std::vector<PackageSection> sections;
};

std::string formatBindFile(const BindFile& file);
// -4930 with `name` and what is wrong when the content is no well-formed bind file.
BindFile parseBindFile(std::string_view content, const std::string& name);

}  // namespace orv

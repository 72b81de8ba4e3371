// Writes the library's bind files and their list into a folder. Run by the build.
#include <cstdio>
#include <fstream>
#include <string>

#include "orvxml/packages.h"

namespace {

std::string fileName(std::string package) {
  for (char& c : package) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return package + ".bnd";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: bindfiles DIRECTORY\n");
    return 2;
  }
  const std::string directory = argv[1];
  std::ofstream list(directory + "/@qrkbind.lst");
  for (const orv::esql::Module* module : orvxml::packages()) {
    const std::string name = fileName(module->package);
    if (!orv::esql::writeBindFile(*module, directory + "/" + name)) {
      std::fprintf(stderr, "bindfiles: cannot write %s/%s\n", directory.c_str(), name.c_str());
      return 1;
    }
    list << name << '\n';
  }
  list.close();
  return list ? 0 : 1;
}

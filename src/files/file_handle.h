// An open stream that is closed at the end of its scope.
#pragma once

#include <cstdio>
#include <memory>

namespace orvxml {

struct CloseFile {
  void operator()(FILE* file) const { std::fclose(file); }
};
using FileHandle = std::unique_ptr<FILE, CloseFile>;

}  // namespace orvxml

// Documents that other people made. scripts/test installs them and says so in the environment: then
// one that is missing fails its test, else it is skipped. What it fetches may be missing there,
// too.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace orvxml::test {

// The folder of the fetched documents.
inline std::string fetchedDocuments() {
  const char* const folder = std::getenv("ORVXML_TEST_DOCUMENTS");
  return folder ? folder : ORVXML_SOURCE_DIR "/build/documents";
}

// Ends the test when an installed file or folder is not there.
#define ORVXML_REQUIRE_DOCUMENTS(path)                                             \
  do {                                                                             \
    if (!std::filesystem::exists(path)) {                                          \
      if (std::getenv("ORVXML_TEST_DOCUMENTS")) FAIL() << (path) << " is missing"; \
      GTEST_SKIP() << (path) << " is not here: scripts/test installs it";          \
    }                                                                              \
  } while (false)

}  // namespace orvxml::test

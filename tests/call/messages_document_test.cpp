// docs/messages.md lists every message as the library gives it.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "orvxml/messages.h"

namespace orvxml {
namespace {

TEST(MessagesDocument, ListsEveryMessageAsItIsGiven) {
  std::vector<std::string> expected;
  for (size_t i = 0; i < kMessageCount; ++i) {
    const std::string text = qrkMsgTable[i];
    if (text.empty()) continue;
    expected.push_back("| " + text.substr(0, 8) + " | " + std::to_string(qrkErrCodeTable[i]) +
                       " | " + qrkSqlStateTable[i] + " | " + text.substr(10) + " |");
  }
  std::ifstream document(ORVXML_SOURCE_DIR "/docs/messages.md");
  std::vector<std::string> listed;
  bool inTable = false;
  for (std::string line; std::getline(document, line);) {
    if (line.starts_with("## All messages")) inTable = true;
    if (inTable && line.starts_with("| QRK")) listed.push_back(line);
  }
  EXPECT_EQ(listed, expected);
}

}  // namespace
}  // namespace orvxml

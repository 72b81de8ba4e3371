// Writes query results to standard output as aligned tables, CSV or JSON. CSV and JSON are written
// row by row; a table needs the widths first and keeps its rows until the end.
#pragma once

#include <cstdio>
#include <memory>
#include <vector>

#include "orv/session.h"

namespace orvxml::command {

enum class ResultFormat {
  Table,  // columns aligned by display width, numbers to the right, null as NULL
  Csv,    // RFC 4180 with a header line; null is empty, an empty text is ""
  Json,   // an array of objects; numbers with all their digits, null as null
};

class ResultWriter {
 public:
  virtual ~ResultWriter() = default;
  // One result: begin, any number of rows, end. Binary values are written as hexadecimal digits.
  virtual void begin(const std::vector<orv::ResultColumn>& columns) = 0;
  virtual void row(const std::vector<orv::ResultValue>& values) = 0;
  virtual void end() = 0;
};

std::unique_ptr<ResultWriter> makeResultWriter(ResultFormat format, std::FILE* out);

// A text as a JSON string, with its quotation marks.
std::string jsonString(std::string_view utf8);

}  // namespace orvxml::command

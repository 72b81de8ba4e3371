// A call context without a server: the code pages of a function call, the messages of a procedure.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "orvxml/context.h"
#include "src/outcome/edge.h"
#include "tests/support/environment.h"
#include "tests/support/temporary_folder.h"

namespace orvxml::unittest {

using Folder = test::TemporaryFolder;
using test::readFile;
using test::Variable;

struct CallContext {
  explicit CallContext(const char* encoding = "UTF-8", int codePage = 1208,
                       CALL_FROM messages = CALL_FROM_STP) {
    sqludf_dbinfo database{};
    database.codepage = codePage;
    std::string name = encoding;
    rc = qrkInit(&ctx, CALL_FROM_UDF, &database, state, name.data());
    ctx.callFrom = messages;
  }
  ~CallContext() { qrkExit(&ctx, state); }
  CallContext(const CallContext&) = delete;
  CallContext& operator=(const CallContext&) = delete;

  Variable instance{"ORVINSTANCE", test::instanceName().c_str()};
  // Runs `work` at an edge: `code` (returned), `msg` and `state` are what it reports.
  template <class Work>
  int report(Work&& work) {
    *msg = '\0';
    return code = atEdge(Report{&ctx, msg, nullptr, state}, std::forward<Work>(work));
  }

  QrkStruct ctx{};
  char state[kSqlStateSize] = "";
  char msg[kMessageSize] = "";
  int code = 0;
  int rc = 0;
};

}  // namespace orvxml::unittest

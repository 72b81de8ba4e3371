// `orvxml load`, run as a user runs it: files become documents in a column, or are refused with the
// reason.
#include <nlohmann/json.hpp>

#include "tests/support/command_runner.h"

namespace orvxml::test {
namespace {

const std::string kMail = ORVXML_SOURCE_DIR "/examples/mail/";

std::string mail(const std::string& sender, const std::string& size) {
  return "<!DOCTYPE mail SYSTEM \"mail.dtd\">\n<mail sent=\"2026-11-24\"><from>" + sender +
         "</from><subject/><size>" + size + "</size><to>t</to></mail>";
}

class CommandLoad : public testing::Test {
 protected:
  CommandLoad() {
    run({"create", "--enable"});
    run({"dtd", "add", "mail.dtd", kMail + "mail.dtd"});
    run({"sql",
         "create table mail (id integer, file varchar(20), \"a=b\" varchar(9), doc orvxml.XMLCLOB);"
         "create table names (doc orvxml.XMLFile)"});
    run({"enable-column", "mail", "doc", "--dad", kMail + "mail.dad", "--view", "v"});
    place_.write("a.xml", mail("Ada", "1"));
    place_.write("b.xml", mail("B &amp;amp; \"B\"", "2"));
    place_.write("invalid.xml", "<!DOCTYPE mail SYSTEM \"mail.dtd\">\n<mail sent=\"2026-11-24\"/>");
    place_.write("value.xml", mail("Eve", "much"));
    place_.write("cut.xml", "<mail>");
    place_.directory = place_.path("");
  }
  std::string run(const std::vector<std::string>& arguments) const {
    const CommandResult result = place_.orvxml(arguments);
    EXPECT_EQ(result.status, 0) << result.err;
    return result.out;
  }
  CommandResult load(std::vector<std::string> arguments, const std::string& input = "") const {
    arguments.insert(arguments.begin(), {"load", "mail", "doc"});
    return place_.orvxml(arguments, input);
  }
  std::string rows(const std::string& query) const { return run({"sql", "--csv", query}); }

  Workplace place_;
};

TEST_F(CommandLoad, FilesBecomeRowsWithTheirOtherColumns) {
  const CommandResult loaded =
      load({"a.xml", "-", place_.path("b.xml"), "--number", "id=7", "--set", "\"a=b\"=x=y",
            "--name-column", "file"},
           "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>" + mail("\xC4", "3"));
  EXPECT_EQ(loaded.status, 0) << loaded.err;
  EXPECT_EQ(loaded.out, "a.xml: loaded\n<stdin>: loaded\n" + place_.path("b.xml") + ": loaded\n");
  EXPECT_EQ(rows("select id, file, \"a=b\", sender, kb from v order by id"),
            "ID,FILE,a=b,SENDER,KB\r\n7,a.xml,x=y,Ada,1.00\r\n8,<stdin>,x=y,Ä,3.00\r\n"
            "9,b.xml,x=y,\"B &amp; \"\"B\"\"\",2.00\r\n");
  run({"sql", "delete from mail"});
  EXPECT_EQ(load({"b.xml", "--quiet", "--take", "file=/mail/from", "--take", "\"a=b\"=/mail/@sent",
                  "--set", "id=1"})
                .status,
            1);  // a day has ten characters
  EXPECT_EQ(load({"b.xml", "--take", "file=/mail[@sent=\"2026-11-24\"]/from", "--take",
                  "id=/mail/size", "--take", "\"a=b\"=/mail/subject"})
                .err,
            "");
  EXPECT_EQ(rows("select id, file, \"a=b\" from v"),
            "ID,FILE,a=b\r\n2,\"B &amp; \"\"B\"\"\",\"\"\r\n");
}

TEST_F(CommandLoad, WhatIsRefusedIsToldWithPlaceAndReason) {
  struct Case {
    std::vector<std::string> arguments;
    std::string text;
    int status = 1;
  };
  const Case kCases[] = {
      {{"invalid.xml"}, "invalid.xml:2:26: ORV0438E"},
      {{"invalid.xml"},
       "reason: line 2, column 26: element 'mail' is not allowed for content model"},
      {{"value.xml"},
       "value.xml: ORV0420E  The text \"much\" is not a valid \"DECIMAL\" value.  SQLSTATE=22018\n"
       "reason, probably: the value of /mail/size, for column kb of side table mail_size of APP.MAIL.DOC\n"},
      {{"cut.xml"}, "cut.xml:1:7: QRKQ047E"},
      {{"absent.xml"}, "absent.xml: No such file"},
      {{"a.xml", "--set", "id=x"}, "a.xml: ORV0420E"},
      {{"a.xml", "--set", "nix=1"}, "test.db: ORV0206E"},
      {{"a.xml", "--take", "id=/mail/none"}, "a.xml: /mail/none: QRKD003W"},
      {{"a.xml", "--take", "id=mail"}, "a.xml: mail: QRKD002E"},
      {{}, "no document given", 2},
      {{"a.xml", "--set", "id"}, "--set: not COLUMN=...: id", 2},
      {{"a.xml", "--number", "id=x"}, "--number: not COLUMN=NUMBER: id=x", 2},
      {{"a.xml", "--keep-going", "--all-or-nothing"}, "not both", 2},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.text);
    const CommandResult result = load(c.arguments);
    EXPECT_EQ(result.status, c.status);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find(c.text), result.err.npos) << result.err;
  }
  EXPECT_NE(place_.orvxml({"load", "names", "doc", "a.xml"}).err.find("holds names of files"),
            std::string::npos);
  EXPECT_EQ(rows("select count(*) as n from mail"), "N\r\n0\r\n");

  // A schema that is damaged afterwards is told as the schema's fault.
  const std::string schema =
      place_.write("s.xsd", "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'/>");
  run({"sql", "create table lax (doc orvxml.XMLVarchar)"});
  run({"enable-column", "lax", "doc", "--dad",
       place_.write("s.dad",
                    "<DAD><schemabindings><nonamespacelocation location='" + schema +
                        "'/></schemabindings><validation>YES</validation><Xcolumn/></DAD>")});
  place_.write("s.xsd", "<schema/>");
  const CommandResult damaged = place_.orvxml({"load", "lax", "doc", "a.xml"});
  EXPECT_EQ(damaged.err.find("a.xml: ORV0443E"), 0u) << damaged.err;
  EXPECT_NE(damaged.err.find("\nreason: " + schema + ":1:"), damaged.err.npos) << damaged.err;
}

TEST_F(CommandLoad, AFailureEndsTheRunOrOneDocumentOrUndoesAll) {
  struct Case {
    const char* option;
    std::string out;
    const char* count;
  };
  const Case kCases[] = {
      {"--quiet", "", "1"},
      {"--keep-going", "a.xml: loaded\nb.xml: loaded\n", "2"},
      {"--all-or-nothing", "", "0"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.option);
    const CommandResult result = load({"a.xml", "invalid.xml", "b.xml", c.option});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, c.out);
    EXPECT_EQ(rows("select count(*) as n from mail"), std::string("N\r\n") + c.count + "\r\n");
    run({"sql", "delete from mail"});
  }
  EXPECT_EQ(load({"a.xml", "b.xml", "--all-or-nothing"}).out, "a.xml: loaded\nb.xml: loaded\n");
  const CommandResult json = load({"--json", "invalid.xml"});
  const nlohmann::json object = nlohmann::json::parse(json.out);
  EXPECT_EQ(object["ok"], false);
  EXPECT_EQ(object["code"], -438);
  EXPECT_EQ(object["line"], 2);
  EXPECT_EQ(load({"--json", "a.xml"}).out, "{\"document\": \"a.xml\", \"ok\": true}\n");
}

}  // namespace
}  // namespace orvxml::test

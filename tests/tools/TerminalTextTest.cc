// Texts of databases and arguments, which may hold what a terminal obeys.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// The control characters in a text, line ends and the dump's tabs apart.
std::string ControlsIn(const std::string& text) {
  std::string controls;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const bool isC1 = byte == 0xC2U && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0U;
    if ((byte < 0x20U && byte != '\n' && byte != '\t') || byte == 0x7FU || isC1) { controls += text[i]; }
  }
  return controls;
}

std::ptrdiff_t LinesOf(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }

/// A run whose type, event builders and serials hold a sequence that clears the screen (in both forms), one
/// that turns the direction, and a line end with a forged line.
class ForgedTexts : public testing::Test {
protected:
  static constexpr const char* kForged = R"(U&'A\001B[2J\009B2J\202E\000A  POT             1e+20\007F')";
  static constexpr const char* kVisible = R"(A\x1b[2J\xc2\x9b2J\xe2\x80\xae\n  POT             1e+20\x7f)";

  ForgedTexts() {
    const std::string forged = kForged;
    databases_.Execute("UPDATE daq.runs SET runtype = " + forged + " WHERE run = 13000");
    databases_.Execute("UPDATE daq.daqresourcesbyrun SET appname = appname || " + forged +
                       " WHERE run = 13000 AND resource_type <> 'dcm'");
  }
  CommandResult Ask(const Arguments& arguments) const {
    return RunHistoryCommand(OnDatabases(databases_.Template(), "Birch", arguments));
  }

  ScratchDatabases databases_{"small", {"birch"}};
};

TEST_F(ForgedTexts, AreVisibleInTextFormsAndForgeNoLine) {
  for (const auto& arguments : {Arguments{"show", "--run", "13000"}, Arguments{"dump", "--run", "13000"},
                                Arguments{"diff", "13000", "13001", "--full"}}) {
    SCOPED_TRACE(arguments[0]);
    const auto result = Ask(arguments);
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_THAT(result.output, HasSubstr(kVisible));
    EXPECT_THAT(ControlsIn(result.output + result.error), IsEmpty());
    EXPECT_THAT(result.output, Not(HasSubstr("\n  POT             1e+20")));
    EXPECT_THAT(result.output, Not(HasSubstr("\xe2\x80\xae")));
  }
  EXPECT_EQ(LinesOf(Ask({"show", "--run", "13000"}).output),
            LinesOf(OnSmall("Birch", {"show", "--run", "13000"}).output));
  EXPECT_EQ(LinesOf(Ask({"dump", "--run", "13000"}).output),
            LinesOf(OnSmall("Birch", {"dump", "--run", "13000"}).output));
}

TEST_F(ForgedTexts, AreEscapedInJsonAndReadBackAsTheyAre) {
  const auto result = Ask({"show", "--run", "13000", "--json"});
  EXPECT_THAT(ControlsIn(result.output), IsEmpty());
  EXPECT_EQ(nlohmann::json::parse(result.output)["type"],
            "A\x1b[2J\xc2\x9b"
            "2J\xe2\x80\xae\n  POT             1e+20\x7f");
}

TEST(ForgedMessages, OfAServerStayOnOneLine) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute(
      "CREATE FUNCTION public.cry() RETURNS boolean LANGUAGE plpgsql AS $$ BEGIN RAISE EXCEPTION USING "
      R"(MESSAGE = U&'no\001B[2J\000Arunhistory: all is well'; END $$;)"
      "ALTER TABLE daq.runs RENAME TO real_runs;"
      "CREATE VIEW daq.runs AS SELECT * FROM daq.real_runs WHERE public.cry();"
      "GRANT SELECT ON daq.runs TO brio_reader");
  for (const auto& arguments :
       {Arguments{"show", "--run", "13000"}, Arguments{"show", "--run", "13000", "-v"},
        Arguments{"dump", "--run", "13000"}, Arguments{"check"}}) {
    SCOPED_TRACE(arguments[0]);
    const auto result = RunHistoryCommand(OnDatabases(databases.Template(), "Birch", arguments));
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output + result.error, HasSubstr(R"(no\x1b[2J runhistory: all is well)"));
    EXPECT_THAT(ControlsIn(result.output + result.error), IsEmpty());
    EXPECT_THAT(result.error, Not(HasSubstr("\nrunhistory: all is well")));
  }
}

TEST(ForgedArguments, AreVisible) {
  const std::string forged = "x\x1b[2J\nrunhistory: all is well\xff";
  const std::string visible = R"(x\x1b[2J)";
  for (const auto& arguments :
       {Arguments{"channel", forged, "--detector", "Birch", "--run", "5"},
        Arguments{"show", "--detector", forged, "--run", "5"},
        Arguments{"show", "--detector", "Birch", "-r", forged},
        Arguments{"map", forged, "--detector", "Birch", "--run", "5"},
        Arguments{"map", "installed", "--detector", "Birch", "--run", "5", "-o", "/nonexistent/" + forged},
        Arguments{"show", "--detector", "Birch", "--run", "5", "--" + forged}, Arguments{forged}}) {
    SCOPED_TRACE(arguments[0]);
    const auto result = RunHistoryCommand(arguments);
    EXPECT_NE(result.status, 0);
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_THAT(ControlsIn(result.error), IsEmpty());
    EXPECT_THAT(result.error, Not(HasSubstr("\nrunhistory: all is well")));
    EXPECT_THAT(result.error, HasSubstr(visible));
  }
}

}  // namespace
}  // namespace brio::test

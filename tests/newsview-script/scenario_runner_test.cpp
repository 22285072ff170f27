#include <sstream>

#include <gtest/gtest.h>

#include "apps/newsview-script/probe_view.h"
#include "apps/newsview-script/scenario_runner.h"
#include "apps/newsview-script/script.h"
#include "host/framework/runtime_class.h"

namespace {

using scenario::parseScript;

TEST(ScenarioScriptTest, BlocksTakeDeeperLinesIncludingBlankAndHashLines) {
    const auto statements = parseScript("\xEF\xBB\xBF# comment\r\n"
                                        "expect file a.txt\r\n"
                                        "    # not a comment here\r\n"
                                        "\r\n"
                                        "      indented more\r\n"
                                        "\r\n"
                                        "print caption\n"
                                        "  # a comment line is never a statement\n");
    ASSERT_EQ(statements.size(), 2u);
    EXPECT_EQ(statements[0].line, 2);
    EXPECT_EQ(statements[0].block, (std::vector<std::string>{"# not a comment here", "", "  indented more"}))
        << "the blank line between block lines belongs to the block, the one after it does not";
    EXPECT_EQ(statements[0].blockFirstLine, 3);
    EXPECT_EQ(statements[1].line, 7);
    EXPECT_EQ(statements[1].block, std::vector<std::string>{"# a comment line is never a statement"});
}

TEST(ScenarioScriptTest, LinesOfCarriageReturnsAreBlank) {
    // A line holding only CRs (one of them before the newline) is as blank as an empty line.
    EXPECT_TRUE(parseScript("\x0d\x0d\x0a").empty());
    const auto statements = parseScript("\r\r\n  \r \t\r\nprint caption\r\r\n\r\n\r");
    ASSERT_EQ(statements.size(), 1u);
    EXPECT_EQ(statements[0].line, 3);
    EXPECT_EQ(statements[0].text, "print caption");
    EXPECT_TRUE(statements[0].block.empty()) << "blank lines after a statement are no block";
}

TEST(ScenarioScriptTest, WordsUnquoteAndUnescapeAndBadQuotesNameTheLine) {
    const auto words = scenario::splitWords(R"(type 3008 "a \"b\" \\ \x41\b" tail)", 1);
    ASSERT_EQ(words.size(), 4u);
    EXPECT_EQ(words[2].text, "a \"b\" \\ A\b");
    EXPECT_TRUE(words[2].quoted);
    EXPECT_FALSE(words[3].quoted);
    EXPECT_THROW(parseScript("service 1 \"open\nview X\n"), scenario::ScriptError);
    try {
        parseScript("print a\nlang K \"open\n");
    } catch (const scenario::ScriptError& e) {
        EXPECT_NE(std::string(e.what()).find("line 2"), std::string::npos) << e.what();
    }

    int service = 0;
    int seq = 0;
    EXPECT_TRUE(scenario::parseHeadlineRef("255#0", service, seq));
    EXPECT_EQ(service, 255);
    EXPECT_FALSE(scenario::parseHeadlineRef("256#1", service, seq));
    EXPECT_FALSE(scenario::parseHeadlineRef("1#", service, seq));
    EXPECT_FALSE(scenario::parseHeadlineRef("#1", service, seq));
    EXPECT_FALSE(scenario::parseHeadlineRef("1#1x", service, seq));
}

class ScenarioRunnerTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { RuntimeClassRegistry::instance().add(CScenarioProbeView::GetThisClass()); }

    int run(const std::string& script) {
        scenario::ScenarioRunner runner({}, m_out, m_err);
        return runner.runText(script, "t.nvs");
    }
    static constexpr const char* kSetup = "service 1 One One date 20240102\n"
                                          "headline 1#1 09:30 Alpha\n"
                                          "view CScenarioProbeView size 400x300\n";

    std::ostringstream m_out;
    std::ostringstream m_err;
};

TEST_F(ScenarioRunnerTest, UnansweredAndUnusedDialogsFailTheScript) {
    const int status = run(std::string(kSetup) + "context-menu\n"
                                                 "menu choose Clear\n"
                                                 "expect grid 0 count = 1\n"
                                                 "answer print ok\n");
    EXPECT_EQ(status, 1);
    EXPECT_NE(m_err.str().find("t.nvs:5: a messagebox dialog \"Clear the list?\" opened with no answer queued"),
              std::string::npos)
        << m_err.str();
    EXPECT_NE(m_err.str().find("1 queued dialog answer(s) were never used"), std::string::npos) << m_err.str();
    EXPECT_EQ(m_err.str().find("t.nvs:6"), std::string::npos) << "the cautious default kept the list";
}

TEST_F(ScenarioRunnerTest, ActionsThatCannotHappenFailTheLineAndTheRunGoesOn) {
    const int status = run(std::string(kSetup) + "click 1007\n"
                                                 "click 4242\n"
                                                 "grid 0 click row 1\n"
                                                 "expect grid 0 row 0 = 09:30:00 | Alpha\n"
                                                 "print grid 0 count\n");
    EXPECT_EQ(status, 1);
    const std::string err = m_err.str();
    EXPECT_NE(err.find("t.nvs:4: control 1007 is a static, not a button"), std::string::npos) << err;
    EXPECT_NE(err.find("t.nvs:5: no control 4242"), std::string::npos) << err;
    EXPECT_NE(err.find("t.nvs:6: row 1 is not on the visible page"), std::string::npos) << err;
    EXPECT_EQ(err.find("t.nvs:7"), std::string::npos);
    EXPECT_EQ(m_out.str(), "grid 0 count: 1\n");
}

TEST_F(ScenarioRunnerTest, AScriptOfBlankLinesRunsAndPasses) {
    EXPECT_EQ(run("\x0d\x0d\x0a"), 0) << m_err.str();
    EXPECT_EQ(run("\r\r\nprint caption\r\r\n"), 0) << m_err.str();
}

TEST_F(ScenarioRunnerTest, ScriptMistakesStopTheRunWithStatusTwo) {
    EXPECT_EQ(run("service 1 One One\nheadline 1#1 25:00 Late\nexpect caption = x\n"), 2);
    EXPECT_NE(m_err.str().find("t.nvs:2: error: '25:00' is not a time"), std::string::npos) << m_err.str();
    EXPECT_EQ(run("print caption\n  indented\n"), 2) << "print takes no block";
    EXPECT_EQ(run("print caption\n  # an indented comment\n"), 0);
    EXPECT_EQ(run("expect caption\n"), 2) << "an expect needs a value or a block";
    EXPECT_EQ(run("view NoSuchView\n"), 2);
    EXPECT_EQ(run("headline 1#9 09:00 T\nanswer story 1#8\n"), 2) << "an undeclared headline";
}

} // namespace

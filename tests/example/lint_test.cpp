// tools/lint with stand-ins for cmake, clang-format and clang-tidy: which files it reads, and when it fails.

#include <string>

#include <gtest/gtest.h>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

/// A checkout with tools/lint. The stand-ins print their names and the files that they are to read, and fail
/// when one of these holds BAD.
class LintTest : public testing::Test {
 protected:
  LintTest() {
    WriteFile(m_oFolder / "bin/cmake", "#!/bin/sh\n");
    for (const char* pszProgram : {"clang-format", "clang-tidy"}) {
      WriteFile(m_oFolder / (std::string("bin/") + pszProgram),
                "#!/bin/sh\n"
                "while :; do case $1 in -* | build/debug) shift ;; *) break ;; esac done\n"
                "echo ${0##*/} \"$@\"\n"
                "! grep -q BAD \"$@\"\n");
    }
    WriteFile(m_oFolder / "checkout/tools/lint", ReadFile(TALVEK_SOURCE_DIR "/tools/lint"));
    InCheckout("chmod +x tools/lint ../bin/*");
    InCheckout("git init -q -b main && git config user.name joe && git config user.email joe@localhost");
    Commit("core/first.cpp");
  }

  void Write(const std::string& strFile, const std::string& strText) {
    WriteFile(m_oFolder / ("checkout/" + strFile), strText);
  }
  void Commit(const std::string& strFile, const std::string& strText = "") {
    Write(strFile, strText);
    InCheckout("git add -A && git commit -q -m change");
  }
  void InCheckout(const std::string& strCommand) {
    ShellOutput("cd " + ShellQuote((m_oFolder / "checkout").string()) + " && " + strCommand);
  }
  TShellResult Lint(const std::string& strArguments) {
    return RunShell("cd " + ShellQuote((m_oFolder / "checkout").string()) + " && PATH=" +
                    ShellQuote((m_oFolder / "bin").string()) + ":$PATH tools/lint " + strArguments + " 2>&1");
  }

 private:
  CTempFolder m_oFolder;
};

TEST_F(LintTest, EverySourceIsReadUnlessAskedForAChange) {
  Commit("tests/other.h");
  const TShellResult tResult = Lint("format");
  EXPECT_EQ(tResult.nStatus, 0);
  EXPECT_NE(tResult.strOutput.find("core/first.cpp"), std::string::npos) << tResult.strOutput;
  EXPECT_NE(tResult.strOutput.find("tests/other.h"), std::string::npos) << tResult.strOutput;
}

TEST_F(LintTest, ABranchIsReadFromWhereItLeftTheMainBranch) {
  InCheckout("git checkout -q -b branch");
  Commit("core/committed.cpp");
  Write("core/uncommitted.cpp", "");
  EXPECT_EQ(Lint("--changed format"),
            (TShellResult{0, "clang-format core/committed.cpp core/uncommitted.cpp\n"}));
}

TEST_F(LintTest, TheMainBranchIsReadForItsLatestCommits) {
  Commit("core/second.cpp");
  for (int i = 0; i < 19; ++i)
    Commit("notes.txt", std::to_string(i));
  Commit("core/last.cpp");
  EXPECT_EQ(Lint("--changed format"), (TShellResult{0, "clang-format core/last.cpp\n"}));
}

TEST_F(LintTest, AHistoryThatIsTooShortIsReadWhole) {
  EXPECT_EQ(Lint("--changed format"), (TShellResult{0, "clang-format core/first.cpp\n"}));
  InCheckout("rm -rf .git && git init -q");
  EXPECT_EQ(Lint("--changed format"), (TShellResult{0, "clang-format core/first.cpp\n"}));
}

TEST_F(LintTest, EverythingIsReadWhenTheRulesHaveChanged) {
  InCheckout("git checkout -q -b branch");
  Commit(".clang-tidy");
  EXPECT_EQ(Lint("--changed tidy"), (TShellResult{0, "clang-tidy core/first.cpp\n"}));
}

TEST_F(LintTest, AHeaderIsAnalysedByWayOfAFileThatIncludesIt) {
  Commit("mce/user.cpp", "#include \"core/lone.h\"\n");
  InCheckout("git checkout -q -b branch");
  Commit("core/lone.h");
  EXPECT_EQ(Lint("--changed tidy"), (TShellResult{0, "clang-tidy mce/user.cpp\n"}));
}

TEST_F(LintTest, TestsAreFormattedButNotAnalysed) {
  InCheckout("git checkout -q -b branch");
  Commit("tests/core/first_test.cpp");
  EXPECT_EQ(Lint("--changed format tidy"), (TShellResult{0, "clang-format tests/core/first_test.cpp\n"}));
}

TEST_F(LintTest, AComplaintOfEitherProgramIsAFailure) {
  InCheckout("git checkout -q -b branch");
  Commit("core/first.cpp", "BAD");
  EXPECT_EQ(Lint("--changed format"), (TShellResult{1, "clang-format core/first.cpp\n"}));
  EXPECT_EQ(Lint("--changed tidy"), (TShellResult{1, "clang-tidy core/first.cpp\n"}));
}

}  // namespace
}  // namespace TALVEK::TEST

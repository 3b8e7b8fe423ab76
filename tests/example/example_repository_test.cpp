// The example repository holds what examples/README.md promises, in the same bytes everywhere.

#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

const std::string REPOSITORY = TALVEK_EXAMPLE_REPOSITORY;
const std::string SCRIPT = TALVEK_SOURCE_DIR "/examples/make-repository";

/// What the client prints. In UTC, because it shows dates in the zone of its caller.
std::string Cvs(const std::string& strArguments, const std::string& strRoot = REPOSITORY) {
  return ShellOutput("TZ=UTC cvs -f -Q -d " + ShellQuote(strRoot) + " " + strArguments);
}

/// The log of the whole module, with "ROOT" for the repository's folder.
std::string Rlog(const std::string& strRoot) {
  std::string strLog = Cvs("rlog calculator", strRoot);
  for (std::size_t nAt; (nAt = strLog.find(strRoot)) != std::string::npos;)
    strLog.replace(nAt, strRoot.size(), "ROOT");
  return strLog;
}

/// Everything after `strHead` on the lines that begin with it.
std::vector<std::string> LinesAfter(const std::string& strText, std::string_view strHead) {
  std::vector<std::string> astrRests;
  std::istringstream oLines(strText);
  for (std::string strLine; std::getline(oLines, strLine);) {
    if (strLine.starts_with(strHead)) astrRests.push_back(strLine.substr(strHead.size()));
  }
  return astrRests;
}

/// The names of one file (its path in the module) as the log shows them, newest first.
std::string SymbolicNames(const std::string& strPath) {
  std::string strNames;
  for (const std::string& strLine : LinesAfter(Cvs("rlog " + ShellQuote("calculator/" + strPath)), "\t"))
    strNames += strLine + "\n";
  return strNames;
}

/// One line per revision of one file, newest first on each line of development: number, author, state.
std::string Revisions(const std::string& strPath) {
  std::string strRevisions;
  std::istringstream oLines(Cvs("rlog " + ShellQuote("calculator/" + strPath)));
  for (std::string strLine, strDate; std::getline(oLines, strLine);) {
    if (!strLine.starts_with("revision ")) continue;
    std::getline(oLines, strDate);
    const std::size_t nAuthor = strDate.find("author: ") + 8;
    const std::size_t nState = strDate.find("state: ") + 7;
    strRevisions += strLine.substr(9) + " " + strDate.substr(nAuthor, strDate.find(';', nAuthor) - nAuthor) +
                    " " + strDate.substr(nState, strDate.find(';', nState) - nState) + "\n";
  }
  return strRevisions;
}

std::string Exported(const std::string& strRevision) {
  CTempFolder oFolder;
  return ShellOutput("cd " + ShellQuote(oFolder.Path().string()) + " && cvs -f -Q -d " +
                     ShellQuote(REPOSITORY) + " export -r " + strRevision +
                     " -d out calculator && cd out && find . -type f | LC_ALL=C sort");
}

TEST(ExampleRepositoryTest, IsTheSameInEveryTimeZoneAndLocaleAndForEveryName) {
  CTempFolder oFolder;
  const std::string strOther = (oFolder / "other root").string();
  ShellOutput("TZ=America/New_York LC_ALL=C.UTF-8 LOGNAME=nobody " + ShellQuote(SCRIPT) + " " +
              ShellQuote(strOther));
  // Other tests may be reading: that leaves locks for a moment, and a list of tags known to be valid.
  EXPECT_EQ(
      ShellOutput("diff -r -x '#cvs.*' -x val-tags " + ShellQuote(REPOSITORY) + " " + ShellQuote(strOther)),
      "");
  EXPECT_EQ(Rlog(REPOSITORY), Rlog(strOther));
}

TEST(ExampleRepositoryTest, HasSeventeenFilesAndFiftyOneRevisions) {
  const std::string strLog = Rlog(REPOSITORY);
  EXPECT_EQ(LinesAfter(strLog, "RCS file: ").size(), 17U);
  EXPECT_EQ(LinesAfter(strLog, "revision ").size(), 51U);
}

TEST(ExampleRepositoryTest, HasThreeAuthors) {
  std::set<std::string> astrAuthors;
  for (const std::string& strRest : LinesAfter(Rlog(REPOSITORY), "date: ")) {
    const std::size_t nAuthor = strRest.find("author: ") + 8;
    astrAuthors.insert(strRest.substr(nAuthor, strRest.find(';', nAuthor) - nAuthor));
  }
  EXPECT_EQ(astrAuthors, (std::set<std::string>{"ada", "ben", "carla"}));
}

TEST(ExampleRepositoryTest, NoDateIsTheClocks) {
  const std::string strEarlier = "2004-01-12 ";
  const std::string strLater = "2004-04-13 ";
  for (const std::string& strRest : LinesAfter(Rlog(REPOSITORY), "date: ")) {
    EXPECT_GE(strRest, strEarlier);
    EXPECT_LT(strRest, strLater);
  }
}

TEST(ExampleRepositoryTest, OneBranchIsNestedInAnother) {
  EXPECT_EQ(SymbolicNames("Makefile"),
            "calc-2_0: 1.4\n"
            "calc-1_0-board: 1.4.2.1.2.1\n"
            "embedded-1: 1.4.2.1.0.2\n"
            "calc-1_0: 1.4.2.1\n"
            "stable-1: 1.4.0.2\n"
            "calc-0_9: 1.3\n");
}

TEST(ExampleRepositoryTest, EveryFileThatWasLiveCarriesTheBranch) {
  EXPECT_EQ(Exported("stable-1"),
            "./COPYING\n./Makefile\n./README\n./doc/manual.txt\n./doc/user guide.txt\n./images/logo.png\n"
            "./src/eval/parser.c\n./src/eval/parser.h\n./src/eval/stack.c\n./src/main.c\n"
            "./tests/data/sums.txt\n./tests/regression.txt\n./tests/run.sh\n"
            "./third_party/tinymath/LICENSE\n./third_party/tinymath/sqrt.c\n./third_party/tinymath/trig.c\n");
  EXPECT_EQ(Exported("embedded-1"),
            "./COPYING\n./Makefile\n./README\n./doc/manual.txt\n./doc/user guide.txt\n"
            "./src/eval/parser.c\n./src/eval/parser.h\n./src/eval/stack.c\n./src/main.c\n"
            "./tests/data/sums.txt\n./tests/regression.txt\n./tests/run.sh\n"
            "./third_party/tinymath/LICENSE\n./third_party/tinymath/sqrt.c\n./third_party/tinymath/trig.c\n");
}

TEST(ExampleRepositoryTest, AFileIsRemovedAndRestored) {
  EXPECT_EQ(Revisions("doc/manual.txt"), "1.3 ada Exp\n1.2 carla dead\n1.1 carla Exp\n");
}

TEST(ExampleRepositoryTest, AFileIsAddedOnABranchOnly) {
  EXPECT_EQ(Revisions("tests/regression.txt"), "1.1 carla dead\n1.1.2.1 carla Exp\n");
}

TEST(ExampleRepositoryTest, AFileIsRemovedOnABranchOnly) {
  EXPECT_EQ(Revisions("images/logo.png"), "1.2 carla Exp\n1.1 carla Exp\n1.1.4.1 ben dead\n");
}

TEST(ExampleRepositoryTest, ABinaryFileHoldsZeroBytes) {
  EXPECT_EQ(LinesAfter(Cvs("rlog calculator/images/logo.png"), "keyword substitution: "),
            std::vector<std::string>{"b"});
  EXPECT_EQ(Cvs("checkout -p -r 1.1 calculator/images/logo.png").substr(0, 12),
            std::string("\x89PNG\r\n\x1a\n\0\0\0\r", 12));
}

TEST(ExampleRepositoryTest, AFileIsExecutable) {
  namespace fs = std::filesystem;
  const auto IsExecutable = [](const char* pszPath) {
    const fs::perms nPerms = fs::status(fs::path(REPOSITORY) / "calculator" / pszPath).permissions();
    return (nPerms & fs::perms::owner_exec) != fs::perms::none;
  };
  EXPECT_TRUE(IsExecutable("tests/run.sh,v"));
  EXPECT_FALSE(IsExecutable("README,v"));
}

TEST(ExampleRepositoryTest, AVendorsFilesAreImportedTwiceAndOneIsChangedHere) {
  EXPECT_EQ(Revisions("third_party/tinymath/LICENSE"), "1.1 ben Exp\n1.1.1.1 ben Exp\n");
  EXPECT_EQ(Revisions("third_party/tinymath/trig.c"), "1.1 ben Exp\n1.1.1.2 ben Exp\n1.1.1.1 ben Exp\n");
  EXPECT_EQ(Revisions("third_party/tinymath/sqrt.c"),
            "1.3 ben Exp\n1.2 ben Exp\n1.1 ben Exp\n1.1.1.2 ben Exp\n1.1.1.1 ben Exp\n");
  const std::string strNames = SymbolicNames("third_party/tinymath/trig.c");
  EXPECT_NE(strNames.find("TINYMATH: 1.1.1\n"), std::string::npos) << strNames;
}

TEST(ExampleRepositoryTest, MessagesComeInTwoEncodingsAndSeveralLines) {
  const std::string strLog = Rlog(REPOSITORY);
  for (const char* pszMessage : {
           "\nAdd the logo by Zo\xc3\xab \xe2\x80\x93 with thanks to \xc5\x81\xc3\xb3"
           "d\xc5\xba\n",
           "\nSurvive an empty line (found by J\xf6rg M\xfcller)\n",
           "\nWrite the first documents\n\n * The manual is for reference.\n"
           " * The guide is for beginners; its name has a blank.\n",
       }) {
    EXPECT_NE(strLog.find(pszMessage), std::string::npos) << pszMessage;
  }
}

TEST(ExampleRepositoryTest, OneAuthorRepeatsAMessageAfterTwoMinutes) {
  const std::string strLog = Rlog(REPOSITORY);
  for (const char* pszTime : {"10:00:00", "10:02:00"}) {
    const std::string strHead = std::string("2004-02-20 ") + pszTime + " +0000;  author: ben;";
    EXPECT_EQ(LinesAfter(strLog, "date: " + strHead).size(), 1U) << pszTime;
  }
}

TEST(ExampleRepositoryTest, NoTraceOfTheCallerIsLeft) {
  EXPECT_EQ(ReadFile(std::filesystem::path(REPOSITORY) / "CVSROOT" / "history"), "");
}

TEST(MakeRepositoryTest, AFolderThatIsNotEmptyIsRefusedAndLeftAlone) {
  CTempFolder oFolder;
  WriteFile(oFolder / "precious", "data");
  const std::string strFolder = oFolder.Path().string();
  EXPECT_EQ(RunShell(ShellQuote(SCRIPT) + " " + ShellQuote(strFolder) + " 2>&1"),
            (TShellResult{1, "make-repository: " + strFolder + " is not empty; name a new folder\n"}));
  EXPECT_EQ(ReadFile(oFolder / "precious"), "data");
}

TEST(MakeRepositoryTest, AFailingClientLeavesNothingHalfMade) {
  CTempFolder oFolder;
  const std::string strClient = ShellOutput("command -v cvs | tr -d '\n'");
  WriteFile(oFolder / "bin/cvs",
            "#!/bin/sh\ncase $* in *commit*) exit 1 ;; esac\nexec " + strClient + " \"$@\"\n");
  ShellOutput("chmod +x " + ShellQuote((oFolder / "bin/cvs").string()));
  const std::string strRoot = (oFolder / "root").string();
  const std::string strCommand = "PATH=" + ShellQuote((oFolder / "bin").string()) + ":\"$PATH\" " +
                                 ShellQuote(SCRIPT) + " " + ShellQuote(strRoot) + " 2>&1";
  EXPECT_EQ(RunShell(strCommand),
            (TShellResult{1,
                          "make-repository: the commit of 2004-01-12 09:15:00 failed: COPYING Makefile "
                          "README src/main.c src/eval/parser.c src/eval/parser.h\n"}));
  EXPECT_FALSE(std::filesystem::exists(strRoot));
}

}  // namespace
}  // namespace TALVEK::TEST

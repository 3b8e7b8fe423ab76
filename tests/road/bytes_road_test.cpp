// Names and messages in any encoding come out of the import as the bytes that they are in the repository,
// whatever the locale of the caller.

#include <gtest/gtest.h>

#include <string>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

// Latin-1, EUC-JP and UTF-8; as names and, between "@", as RCS texts.
constexpr char LATIN_1_NAME[] = "caf\xe9.txt";
constexpr char EUC_JP_NAME[] = "\xc6\xfc\xcb\xdc";
constexpr char UTF_8_NAME[] = "\xc3\xa9t\xc3\xa9";

std::string RcsFile(const std::string& strAuthor, const std::string& strMessage,
                    const std::string& strContent) {
  return "head\t1.1;\naccess;\nsymbols;\nlocks; strict;\ncomment\t@# "
         "@;\n\n\n1.1\ndate\t2004.01.12.09.00.00;\tauthor " +
         strAuthor + ";\tstate Exp;\nbranches;\nnext\t;\n\n\ndesc\n@@\n\n\n1.1\nlog\n@" + strMessage +
         "\n@\ntext\n@" + strContent + "@\n";
}

class BytesRoadTest : public ::testing::TestWithParam<const char*> {
 protected:
  BytesRoadTest() {
    ShellOutput("cvs -d " + ShellQuote(m_strRoot) + " init");
    WriteFile(m_oFolder / "root/mod" / (std::string(LATIN_1_NAME) + ",v"),
              RcsFile("ana", "Caf\xe9, na\xefve", "latin\n"));
    WriteFile(m_oFolder / "root/mod" / EUC_JP_NAME / (std::string(UTF_8_NAME) + ",v"),
              RcsFile("j\xfcrg", "\xc6\xfc\xcb\xdc\xb8\xec and \xe2\x82\xac", "both\n"));
  }

  CTempFolder m_oFolder;
  std::string m_strRoot = (m_oFolder / "root").string();
};

INSTANTIATE_TEST_SUITE_P(Locales, BytesRoadTest, ::testing::Values("C", "C.UTF-8"),
                         [](const auto& tInfo) { return std::string(tInfo.param) == "C" ? "C" : "Utf8"; });

TEST_P(BytesRoadTest, ImportKeepsEveryByte) {
  const std::string strGit = (m_oFolder / "git").string();
  ShellOutput(std::string("LC_ALL=") + GetParam() +
              " " TALVEK_BIN_DIR "/talvek-import run --no-verify --provider cvs --quiet --repos-path " +
              ShellQuote(m_strRoot) + " --module-name mod --into " + ShellQuote(strGit) + " 2>&1");
  const std::string strInGit = "git -C " + ShellQuote(strGit) + " ";
  EXPECT_EQ(ShellOutput(strInGit + "ls-tree -r -z --name-only main | tr '\\0' '\\n'"),
            std::string(LATIN_1_NAME) + "\n" + EUC_JP_NAME + "/" + UTF_8_NAME + "\n");
  EXPECT_EQ(ShellOutput(strInGit + "cat-file blob " + ShellQuote(std::string("main:") + LATIN_1_NAME)),
            "latin\n");
  EXPECT_EQ(ShellOutput(strInGit + "cat-file blob " +
                        ShellQuote(std::string("main:") + EUC_JP_NAME + "/" + UTF_8_NAME)),
            "both\n");
  const std::string strCommits =
      ShellOutput(strInGit + "cat-file commit main; " + strInGit + "cat-file commit main^");
  for (const char* pszText :
       {"author ana <ana> 1073898000 +0000\n", "author j\xfcrg <j\xfcrg> 1073898000 +0000\n",
        "\n\nCaf\xe9, na\xefve", "\n\n\xc6\xfc\xcb\xdc\xb8\xec and \xe2\x82\xac"}) {
    EXPECT_NE(strCommits.find(pszText), std::string::npos) << pszText << " in\n" << strCommits;
  }
}

}  // namespace
}  // namespace TALVEK::TEST

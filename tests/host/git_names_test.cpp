#include "host/git_names.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::HOST {
namespace {

using TEST::RunShell;
using TEST::ShellQuote;

struct TNameCase {
  std::string strName;
  std::string strGitName;
};

const TNameCase REF_CASES[] = {
    {"REL_1_BRANCH", "REL_1_BRANCH"},
    {"a/b", "a/b"},
    {"{x}", "{x}"},
    {"a@b", "a@b"},
    {"caf\xc3\xa9", "caf\xc3\xa9"},
    {"latin\xe9", "latin\xe9"},
    {"a b", "a_b"},
    {"tab\there", "tab_here"},
    {"del\x7f", "del_"},
    {"a~1", "a_1"},
    {"a^b", "a_b"},
    {"a:b", "a_b"},
    {"a?b*c[d", "a_b_c_d"},
    {"a\\b", "a_b"},
    {".hidden", "_hidden"},
    {"a/.hidden", "a/_hidden"},
    {"a..b", "a._b"},
    {"a...b", "a._.b"},
    {"a.", "a_"},
    {"a./b", "a./b"},
    {"a..", "a._"},
    {".", "_"},
    {"..", "__"},
    {"a@{b", "a@_b"},
    {"x.lock", "x_lock"},
    {"x.lock/y", "x_lock/y"},
    {".lock", "_lock"},
    {"", "_"},
    {"/", "_/_"},
    {"/a", "_/a"},
    {"a/", "a/_"},
    {"a//b", "a/_/b"},
};

bool GitTakesRef(const std::string& strName) {
  return RunShell("git check-ref-format " + ShellQuote("refs/heads/" + strName)).nStatus == 0;
}

TEST(GitRefNameTest, NamesBecomeTheNearestThatGitTakes) {
  for (const TNameCase& tCase : REF_CASES) {
    EXPECT_EQ(GitRefName(tCase.strName), tCase.strGitName);
    EXPECT_TRUE(GitTakesRef(tCase.strGitName)) << tCase.strGitName;
  }
}

TEST(GitRefNameTest, OnlyNamesThatGitRefusesAreChanged) {
  for (const TNameCase& tCase : REF_CASES) {
    EXPECT_EQ(GitTakesRef(tCase.strName), tCase.strName == tCase.strGitName) << tCase.strName;
  }
}

const std::string COMMIT_NAME(40, 'a');

// Names that Git allows for tags and branches, but that its commands read as something else.
const TNameCase MEANING_CASES[] = {
    {"-dash", "_dash"},
    {"@", "@_"},
    {"HEAD", "HEAD_"},
    {"AUTO_MERGE", "AUTO_MERGE_"},
    {"BISECT_EXPECTED_REV", "BISECT_EXPECTED_REV_"},
    {"BISECT_HEAD", "BISECT_HEAD_"},
    {"CHERRY_PICK_HEAD", "CHERRY_PICK_HEAD_"},
    {"FETCH_HEAD", "FETCH_HEAD_"},
    {"MERGE_AUTOSTASH", "MERGE_AUTOSTASH_"},
    {"MERGE_HEAD", "MERGE_HEAD_"},
    {"NOTES_MERGE_PARTIAL", "NOTES_MERGE_PARTIAL_"},
    {"NOTES_MERGE_REF", "NOTES_MERGE_REF_"},
    {"ORIG_HEAD", "ORIG_HEAD_"},
    {"REBASE_HEAD", "REBASE_HEAD_"},
    {"REVERT_HEAD", "REVERT_HEAD_"},
    {"stash", "stash_"},
    {"bisect/x", "bisect_/x"},
    {"heads/x", "heads_/x"},
    {"notes/x", "notes_/x"},
    {"refs/heads/x", "refs_/heads/x"},
    {"remotes/x", "remotes_/x"},
    {"tags/x", "tags_/x"},
    {COMMIT_NAME, COMMIT_NAME + "_"},
};

// Similar names that Git's commands read as the tag or branch.
const char* const PLAIN_NAMES[] = {
    "HEAD_", "head", "RELEASE_HEAD", "y/HEAD",    "HEAD/x",  "a@",       "@a",     "a-dash",
    "heads", "tags", "refs",         "y/heads/x", "stash/x", "deadbeef", "config", "v1-3-gdeadbee"};

/// A repository of two commits. The first has every special name; Show gives one of them to the second.
class CSpecialRefs {
 public:
  CSpecialRefs() {
    Git("init -q");
    Git("-c user.name=a -c user.email=a commit -q --allow-empty -m first");
    Git("-c user.name=a -c user.email=a commit -q --allow-empty -m second");
    m_strSecond = Git("rev-parse HEAD");
    Git("reset -q --hard HEAD~1");
    for (const TNameCase& tCase : MEANING_CASES) {
      const std::string& strName = tCase.strName;
      if (strName.find('/') == std::string::npos && strName.find('_') != std::string::npos)
        Git("update-ref " + strName + " HEAD");
    }
    for (const char* pszRef : {"stash", "bisect/x", "heads/x", "notes/x", "remotes/x", "tags/x"})
      Git(std::string("update-ref refs/") + pszRef + " HEAD");
  }

  /// Names the second commit by a tag or branch, and returns what `git log NAME` prints: "second" if Git
  /// reads the name as that.
  std::string Show(const std::string& strKind, const std::string& strName) const {
    const std::string strRef = ShellQuote("refs/" + strKind + "/" + strName);
    Git("update-ref " + strRef + " " + m_strSecond);
    const std::string strShown = Git("log -1 --format=%s " + ShellQuote(strName));
    Git("update-ref -d " + strRef);
    return strShown;
  }

 private:
  std::string Git(const std::string& strArguments) const {
    return RunShell("git -C " + ShellQuote(m_oFolder.Path().string()) + " " + strArguments + " 2>&1")
        .strOutput;
  }

  TEST::CTempFolder m_oFolder;
  std::string m_strSecond;
};

TEST(GitRefNameTest, NamesThatMeanSomethingElseAreChanged) {
  const CSpecialRefs oRefs;
  for (const TNameCase& tCase : MEANING_CASES) {
    EXPECT_EQ(GitRefName(tCase.strName), tCase.strGitName);
    EXPECT_TRUE(HasMeaningInGit(tCase.strName)) << tCase.strName;
    for (const char* pszKind : {"tags", "heads"}) {
      EXPECT_NE(oRefs.Show(pszKind, tCase.strName), "second\n") << tCase.strName;
      EXPECT_EQ(oRefs.Show(pszKind, tCase.strGitName), "second\n") << tCase.strGitName;
    }
  }
}

TEST(GitRefNameTest, NamesThatOnlyLookLikeThoseStay) {
  const CSpecialRefs oRefs;
  for (const std::string strName : PLAIN_NAMES) {
    EXPECT_EQ(GitRefName(strName), strName);
    EXPECT_FALSE(HasMeaningInGit(strName)) << strName;
    for (const char* pszKind : {"tags", "heads"})
      EXPECT_EQ(oRefs.Show(pszKind, strName), "second\n") << strName;
  }
}

TEST(GitRefNameTest, EveryByteBetweenTwoLettersIsTakenOrChanged) {
  for (int nByte = 1; nByte < 256; ++nByte) {
    const std::string strName = std::string("a") + static_cast<char>(nByte) + "b";
    EXPECT_EQ(GitTakesRef(strName), GitRefName(strName) == strName) << nByte;
    EXPECT_TRUE(GitTakesRef(GitRefName(strName))) << nByte;
  }
}

TEST(GitRefNameTest, NulIsChanged) {
  EXPECT_EQ(GitRefName(std::string("a\0b", 3)), "a_b");
}

// A file name has at most 255 bytes, and Git writes a reference as NAME.lock first.
TEST(GitRefNameTest, LongItemsAreCutBetweenCharacters) {
  EXPECT_EQ(GitRefName(std::string(300, 'x') + "/y"), std::string(240, 'x') + "/y");
  std::string strUmlauts = "x";
  for (int nCount = 0; nCount < 150; ++nCount)
    strUmlauts += "\xc3\xa4";
  EXPECT_EQ(GitRefName(strUmlauts), strUmlauts.substr(0, 239));
}

TEST(GitIdentityTest, OnlyWhatBreaksTheLineIsReplaced) {
  const TNameCase atCases[] = {
      {"joe", "joe"},
      {"Joe Q. Public", "Joe Q. Public"},
      {"", ""},
      {"j\xf6"
       "e",
       "j\xf6"
       "e"},
      {"joe <joe@example.org>", "joe (joe@example.org)"},
      {"a\nb", "a b"},
      {std::string("a\0b", 3), "a b"},
  };
  for (const TNameCase& tCase : atCases)
    EXPECT_EQ(GitIdentity(tCase.strName), tCase.strGitName);
}

const TNameCase PATH_CASES[] = {
    {"src/main.c", "src/main.c"},
    {".gitignore", ".gitignore"},
    {".gitfoo", ".gitfoo"},
    {"git", "git"},
    {"git~2", "git~2"},
    {"a.git", "a.git"},
    {"a b/c\xe9", "a b/c\xe9"},
    {"back\\slash", "back\\slash"},
    {".git", ".git_"},
    {".GIT/config", ".GIT_/config"},
    {"a/.Git", "a/.Git_"},
    {".git ", ".git_ "},
    {".git. .", ".git_. ."},
    {".git::$INDEX", ".git_::$INDEX"},
    {"git~1", "git~1_"},
    {"GIT~1/x", "GIT~1_/x"},
    {"a\\.git", "a\\.git_"},
    {".", "._"},
    {"a/./b", "a/._/b"},
    {"..", ".._"},
    {"../a", ".._/a"},
};

/// A Git index, to see which paths Git accepts.
class CGitIndex {
 public:
  CGitIndex() { RunShell("git init -q " + Folder()); }
  bool Takes(const std::string& strPath) const {
    const std::string strBlob = "e69de29bb2d1d6434b8b29ae775ad8c2e48c5391";
    return RunShell("git -C " + Folder() + " update-index --add --replace --info-only --cacheinfo 100644," +
                    strBlob + ',' + ShellQuote(strPath) + " 2>/dev/null")
               .nStatus == 0;
  }

 private:
  std::string Folder() const { return ShellQuote(m_oFolder.Path().string()); }
  TEST::CTempFolder m_oFolder;
};

TEST(GitPathTest, PathsBecomeTheNearestThatGitTakes) {
  const CGitIndex oIndex;
  for (const TNameCase& tCase : PATH_CASES) {
    EXPECT_EQ(GitPath(tCase.strName), tCase.strGitName);
    EXPECT_TRUE(oIndex.Takes(tCase.strGitName)) << tCase.strGitName;
  }
}

TEST(GitPathTest, OnlyPathsThatGitRefusesAreChanged) {
  const CGitIndex oIndex;
  for (const TNameCase& tCase : PATH_CASES) {
    EXPECT_EQ(oIndex.Takes(tCase.strName), tCase.strName == tCase.strGitName) << tCase.strName;
  }
}

TEST(QuoteGitPathTest, OnlyPathsThatNeedItAreQuoted) {
  const TNameCase atCases[] = {
      {"src/main.c", "src/main.c"},
      {"with blank", "with blank"},
      {" leading", " leading"},
      {"latin\xe9", "latin\xe9"},
      {"say \"hi\"", R"("say \"hi\"")"},
      {"back\\slash", R"("back\\slash")"},
      {"line\nfeed", R"("line\012feed")"},
      {"tab\t\x01\x7f", R"("tab\011\001\177")"},
  };
  for (const TNameCase& tCase : atCases)
    EXPECT_EQ(QuoteGitPath(tCase.strName), tCase.strGitName);
}

}  // namespace
}  // namespace TALVEK::HOST

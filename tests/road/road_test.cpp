// What the whole road makes of the example repository, held against what the cvs client says of each revision
// and of each line's head.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

struct TItem {
  int nType = 0;
  std::string strPath;
  std::string strRevision;
};

struct TChange {
  std::string strUser;
  long nTime = 0;
  std::string strComment;
  std::vector<TItem> atItems;
};

struct TStream {
  std::string strName;
  int nParent = 0;
  int nBaseChange = 0;
  std::vector<int> anChanges;  // in walk order
};

/// The import database of the example, as import-dump prints it.
class CDump {
 public:
  CDump() {
    std::istringstream oLines(ShellOutput(
        std::string(TALVEK_BIN_DIR "/import-dump --set ReposPath=") + ShellQuote(TALVEK_EXAMPLE_REPOSITORY) +
        " --set ModuleName=calculator --set NestedBranches=1 --set StreamsForTags=1"));
    std::string strLine;
    while (std::getline(oLines, strLine))
      Read(strLine);
  }

  std::map<int, TStream> m_tStreams;
  std::map<int, TChange> m_tChanges;

 private:
  // The escapes of bytes that are no text are lone surrogates, which no JSON reader takes. So "\udce9" is
  // read as a mark and "e9".
  static constexpr char MARK = '\x01';

  static std::string Mark(std::string strLine) {
    for (std::size_t n = strLine.find("\\udc"); n != std::string::npos; n = strLine.find("\\udc", n + 1)) {
      strLine.replace(n, 4, "\\u0001");
    }
    return strLine;
  }
  static std::string Unmark(const std::string& strText) {
    std::string strBytes;
    for (std::size_t i = 0; i < strText.size(); ++i) {
      if (strText[i] == MARK) {
        strBytes += static_cast<char>(std::stoi(strText.substr(i + 1, 2), nullptr, 16));
        i += 2;
      } else {
        strBytes += strText[i];
      }
    }
    return strBytes;
  }

  void Read(const std::string& strLine) {
    const nlohmann::json oLine = nlohmann::json::parse(Mark(strLine));
    const auto& oRecord = oLine.begin().value();
    const auto Text = [&](const char* pszField) { return Unmark(oRecord.at(pszField).get<std::string>()); };
    if (oLine.begin().key() == "stream") {
      m_tStreams[oRecord.at("id")] = {Text("name"), oRecord.at("parent"), oRecord.at("base_change"), {}};
    } else if (oLine.begin().key() == "change") {
      m_tStreams[oRecord.at("stream")].anChanges.push_back(oRecord.at("id"));
      m_tChanges[oRecord.at("id")] = {Text("user"), oRecord.at("time"), Text("comment"), {}};
    } else {
      m_tChanges[oRecord.at("change")].atItems.push_back(
          {oRecord.at("type"), Text("path"), Text("revision")});
    }
  }
};

std::string Git(const std::string& strArguments) {
  return ShellOutput("git -C " + ShellQuote(TALVEK_EXAMPLE_IMPORT "/git") + " " + strArguments);
}

std::vector<std::string> Lines(const std::string& strText) {
  std::vector<std::string> astrLines;
  std::istringstream oLines(strText);
  std::string strLine;
  while (std::getline(oLines, strLine))
    astrLines.push_back(strLine);
  return astrLines;
}

std::string Ref(const TStream& tStream) {
  return "refs/heads/" + (tStream.strName == "Main" ? std::string("main") : tStream.strName);
}

/// The commits of a stream's own changes, oldest first.
std::vector<std::string> Commits(const TStream& tStream) {
  std::vector<std::string> astrCommits = Lines(
      Git("rev-list --first-parent -n " + std::to_string(tStream.anChanges.size()) + " " + Ref(tStream)));
  std::reverse(astrCommits.begin(), astrCommits.end());
  return astrCommits;
}

std::string CvsContent(const TItem& tItem) {
  return ShellOutput("cvs -Q -d " + ShellQuote(TALVEK_EXAMPLE_REPOSITORY) + " checkout -p -r " +
                     tItem.strRevision + " " + ShellQuote("calculator/" + tItem.strPath));
}

/// Every file below a folder with its bytes, and "x" in front of those of an executable.
std::map<std::string, std::string> Tree(const std::filesystem::path& oFolder) {
  std::map<std::string, std::string> astrFiles;
  for (const auto& oEntry : std::filesystem::recursive_directory_iterator(oFolder)) {
    if (!oEntry.is_regular_file()) continue;
    const bool bExecutable =
        (oEntry.status().permissions() & std::filesystem::perms::owner_exec) != std::filesystem::perms::none;
    astrFiles[oEntry.path().lexically_relative(oFolder).string()] =
        (bExecutable ? "x" : "-") + ReadFile(oEntry.path());
  }
  return astrFiles;
}

/// Names of the files that differ between the two trees.
std::set<std::string> Differences(const std::map<std::string, std::string>& astrLeft,
                                  const std::map<std::string, std::string>& astrRight) {
  std::set<std::string> astrNames;
  for (const auto& [strName, strBytes] : astrLeft) {
    const auto itRight = astrRight.find(strName);
    if (itRight == astrRight.end() || itRight->second != strBytes) astrNames.insert(strName);
  }
  for (const auto& [strName, strBytes] : astrRight) {
    if (!astrLeft.contains(strName)) astrNames.insert(strName);
  }
  return astrNames;
}

std::map<std::string, std::string> GitTree(const std::string& strRef) {
  const CTempFolder oFolder;
  Git("archive " + strRef + " | tar -x -C " + ShellQuote(oFolder.Path().string()));
  return Tree(oFolder.Path());
}

/// What `cvs export` makes of a line's head.
std::map<std::string, std::string> CvsTree(const std::string& strSelection) {
  const CTempFolder oFolder;
  ShellOutput("cd " + ShellQuote(oFolder.Path().string()) + " && cvs -Q -d " +
              ShellQuote(TALVEK_EXAMPLE_REPOSITORY) + " export -kkv " + strSelection + " -d tree calculator");
  return Tree(oFolder / "tree");
}

TEST(RoadTest, EveryCommitIsAChangeOfItsStreamInOrder) {
  const CDump oDump;
  for (const auto& [nStream, tStream] : oDump.m_tStreams) {
    if (tStream.anChanges.empty()) continue;
    const std::vector<std::string> astrCommits = Commits(tStream);
    ASSERT_EQ(astrCommits.size(), tStream.anChanges.size()) << tStream.strName;
    for (std::size_t i = 0; i < astrCommits.size(); ++i) {
      const TChange& tChange = oDump.m_tChanges.at(tStream.anChanges[i]);
      const std::string strWho =
          tChange.strUser + " <" + tChange.strUser + "> " + std::to_string(tChange.nTime) + " +0000";
      const std::string strCommit = Git("cat-file commit " + astrCommits[i]);
      EXPECT_NE(strCommit.find("\nauthor " + strWho + "\n"), std::string::npos) << strCommit;
      EXPECT_NE(strCommit.find("\ncommitter " + strWho + "\n"), std::string::npos) << strCommit;
      EXPECT_EQ(strCommit.substr(strCommit.find("\n\n") + 2), tChange.strComment);
    }
  }
}

TEST(RoadTest, EveryFileRevisionOfACommitIsWhatCvsHas) {
  const CDump oDump;
  int nCompared = 0;
  for (const auto& [nStream, tStream] : oDump.m_tStreams) {
    if (tStream.anChanges.empty()) continue;
    const std::vector<std::string> astrCommits = Commits(tStream);
    ASSERT_EQ(astrCommits.size(), tStream.anChanges.size());
    for (std::size_t i = 0; i < astrCommits.size(); ++i) {
      for (const TItem& tItem : oDump.m_tChanges.at(tStream.anChanges[i]).atItems) {
        const std::string strBlob = ShellQuote(astrCommits[i] + ":" + tItem.strPath);
        if (tItem.nType == 2) {
          EXPECT_NE(RunShell("git -C " TALVEK_EXAMPLE_IMPORT "/git cat-file -e " + strBlob + " 2>/dev/null")
                        .nStatus,
                    0)
              << tItem.strPath;
        } else {
          EXPECT_EQ(Git("cat-file blob " + strBlob), CvsContent(tItem))
              << tItem.strPath << " " << tItem.strRevision;
        }
        ++nCompared;
      }
    }
  }
  EXPECT_GE(nCompared, 40);
}

TEST(RoadTest, CommitTouchesNoFileButItsItems) {
  const CDump oDump;
  for (const auto& [nStream, tStream] : oDump.m_tStreams) {
    if (tStream.anChanges.empty()) continue;
    const std::vector<std::string> astrCommits = Commits(tStream);
    for (std::size_t i = 0; i < astrCommits.size(); ++i) {
      std::set<std::string> astrItems;
      for (const TItem& tItem : oDump.m_tChanges.at(tStream.anChanges[i]).atItems)
        astrItems.insert(tItem.strPath);
      for (const std::string& strPath : Lines(Git(
               "-c core.quotePath=off diff-tree --root -r --no-commit-id --name-only " + astrCommits[i]))) {
        EXPECT_TRUE(astrItems.contains(strPath)) << astrCommits[i] << " " << strPath;
      }
    }
  }
}

TEST(RoadTest, BranchBeginsAtTheCommitOfItsBaseChange) {
  const CDump oDump;
  std::map<int, std::string> astrCommitOfChange;
  for (const auto& [nStream, tStream] : oDump.m_tStreams) {
    if (tStream.anChanges.empty()) continue;
    const std::vector<std::string> astrCommits = Commits(tStream);
    for (std::size_t i = 0; i < astrCommits.size(); ++i)
      astrCommitOfChange[tStream.anChanges[i]] = astrCommits[i];
  }
  int nBranches = 0;
  for (const auto& [nStream, tStream] : oDump.m_tStreams) {
    if (tStream.anChanges.empty() || tStream.nBaseChange == 0) continue;
    EXPECT_EQ(Git("rev-parse " + Commits(tStream).front() + "^"),
              astrCommitOfChange[tStream.nBaseChange] + "\n");
    ++nBranches;
  }
  EXPECT_EQ(nBranches, 2);
}

TEST(RoadTest, HeadOfMainIsWhatCvsExports) {
  // The vendor's second release of this file was never merged. CVS shows it on the trunk all the same,
  // because the file was not changed there since its import; vendor revisions are not imported, so main keeps
  // the first release.
  const std::set<std::string> astrVendorFiles = {"third_party/tinymath/trig.c"};
  EXPECT_EQ(Differences(GitTree("refs/heads/main"), CvsTree("-D now")), astrVendorFiles);
}

TEST(RoadTest, HeadOfEachBranchIsWhatCvsExports) {
  for (const char* pszBranch : {"stable-1", "embedded-1"}) {
    EXPECT_EQ(
        Differences(GitTree(std::string("refs/heads/") + pszBranch), CvsTree(std::string("-r ") + pszBranch)),
        std::set<std::string>{})
        << pszBranch;
  }
}

TEST(RoadTest, TagsHoldWhatCvsExports) {
  const struct {
    const char* pszTag;
    std::set<std::string> astrDifferences;
  } atCases[] = {
      {"calc-0_9", {}},
      {"calc-1_0", {}},
      // The time of a tag is estimated file by file, and must lie before the next revision of the line on
      // which the file's revision stands. This tag was made on the nested branch, after a file that the
      // branch hadn't touched had gone on in the parent branch: so it is put before that, and before the
      // nested branch's last change.
      {"calc-1_0-board", {"Makefile", "images/logo.png"}},
      // See HeadOfMainIsWhatCvsExports.
      {"calc-2_0", {"third_party/tinymath/trig.c"}},
  };
  for (const auto& tCase : atCases) {
    const std::string strTag = tCase.pszTag;
    EXPECT_EQ(Differences(GitTree("refs/tags/" + strTag), CvsTree("-r " + strTag)), tCase.astrDifferences)
        << strTag;
  }
}

// The client prints the dates of a log in its caller's zone, and of a zone only whole hours are read.
TEST(RoadTest, LiveHistoryIsTheSameInEveryTimeZone) {
  const std::string strRoot = ShellQuote(TALVEK_EXAMPLE_REPOSITORY);
  const std::string strCommands[] = {
      TALVEK_BIN_DIR "/import-dump --set ModuleName=calculator --set ReposPath=" + strRoot,
      TALVEK_BIN_DIR
          "/talvek-import preview --provider cvs --quiet --format jsonl --module-name calculator "
          "--repos-path " +
          strRoot};
  for (const std::string& strCommand : strCommands) {
    const std::string strUtc = ShellOutput("TZ=UTC " + strCommand);
    for (const char* pszZone : {"Asia/Kolkata", "America/New_York", "Pacific/Kiritimati"}) {
      EXPECT_EQ(ShellOutput(std::string("TZ=") + pszZone + " " + strCommand), strUtc) << pszZone;
    }
  }
}

TEST(RoadTest, RepositoryIsSoundAndCheckedOut) {
  Git("fsck --strict");
  EXPECT_EQ(Git("status --porcelain"), "");
  EXPECT_EQ(Git("symbolic-ref HEAD"), "refs/heads/main\n");
}

TEST(RoadTest, NothingIsLeftBehindButTheRepositoryAndTheLog) {
  std::set<std::string> astrNames;
  for (const auto& oEntry : std::filesystem::directory_iterator(TALVEK_EXAMPLE_IMPORT)) {
    astrNames.insert(oEntry.path().filename().string());
  }
  EXPECT_EQ(astrNames, (std::set<std::string>{"git", "import.log"}));
}

}  // namespace
}  // namespace TALVEK::TEST

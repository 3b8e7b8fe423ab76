// cvs-session leaves the same folders as the client, prints the same, and exits with the same status.

#include <algorithm>
#include <filesystem>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/session/session_world.h"
#include "tests/support/cvs_servers.h"
#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

namespace fs = std::filesystem;

/// Clients that run at the same time: each sleeps most of its time, and has a repository of its own.
constexpr int CLIENTS = 32;

const fs::path ARCHIVES = fs::path(TALVEK_SOURCE_DIR) / "../shared/cvsroots";

/// A repository and working folders in which the client and cvs-session do the same.
class CComparison {
 public:
  /// Takes the repository from an archive or, without it, the example repository.
  explicit CComparison(const std::string& strArchive) {
    if (fs::exists(ARCHIVES / (strArchive + ".tar.xz"))) {
      ShellOutput("tar -C " + Quoted("") + " -xf " +
                  ShellQuote((ARCHIVES / (strArchive + ".tar.xz")).string()));
      fs::rename(m_oFolder / strArchive, m_oFolder / "all");
    } else {
      CopyExampleRepository((m_oFolder / "all").string());
    }
    WriteScript(m_oFolder / "client", CLIENT);
    WriteScript(m_oFolder / "session", PROLOGUE);
    WriteRemoteShell(m_oFolder / "rsh");
  }

  std::vector<std::string> Modules() const {
    std::vector<std::string> astrModules;
    for (const fs::directory_entry& oEntry : fs::directory_iterator(m_oFolder / "all")) {
      const std::string strName = oEntry.path().filename().string();
      if (oEntry.is_directory() && strName != "CVSROOT") astrModules.push_back(strName);
    }
    return astrModules;
  }

  /// Selects at most `nMost` revisions of these modules; of all modules if none of these exists.
  void Take(const std::vector<std::string>& astrWanted, std::size_t nMost) {
    const std::vector<std::string> astrAll = Modules();
    std::vector<std::string> astrModules;
    for (const std::string& strModule : astrWanted) {
      if (std::find(astrAll.begin(), astrAll.end(), strModule) != astrAll.end())
        astrModules.push_back(strModule);
    }
    if (astrModules.empty()) astrModules = astrAll;
    for (const std::string& strModule : astrModules) {
      for (const TRevision& tRevision : RevisionsOf((m_oFolder / "all").string(), strModule))
        m_atRevisions.push_back(tRevision);
    }
    // The C++ standard defines this generator's output, so the choice is the same on every system.
    std::mt19937 oRandom(20040112);
    for (std::size_t nLast = m_atRevisions.size(); nLast > nMost; --nLast)
      m_atRevisions.erase(m_atRevisions.begin() + static_cast<std::ptrdiff_t>(oRandom() % nLast));
    WriteList();
    CopyRepositories(astrModules);
  }

  std::size_t Count() const { return m_atRevisions.size(); }

  /// Lets clients check out all revisions. A root is `strPrefix` and a repository's path.
  void RunClients(const std::string& strName, const std::string& strPrefix) {
    ShellOutput("cd " + Quoted("") + " && mkdir " + strName + " && HOME=$PWD xargs -d '\\n' -P " +
                std::to_string(CLIENTS) + " --process-slot-var=SLOT -I LINE ./client " + strName + " " +
                ShellQuote(strPrefix) + " LINE < list");
  }

  /// Lets one caller check out all revisions through cvs-session.
  void RunSession(const std::string& strName, const std::string& strOptions, const std::string& strRootText) {
    ShellOutput("cd " + Quoted("") + " && mkdir " + strName +
                " && HOME=$PWD CVS_RSH=$PWD/rsh CVS_SESSION_IDLE=10 ./session " + SESSION + " " + strName +
                " " + ShellQuote(strRootText) + " " + strOptions + " < list");
  }

  /// Compares the results of two runs, revision by revision, up to the third difference.
  void ExpectSame(const std::string& strExpected, const std::string& strExpectedPrefix,
                  const std::string& strActual, const std::string& strActualRootText) const {
    int nDifferent = 0;
    for (std::size_t nIndex = 0; nIndex < m_atRevisions.size() && nDifferent < 3; ++nIndex) {
      const std::string strCase = std::to_string(nIndex);
      const std::string strSlot = ReadFile(m_oFolder / strExpected / strCase / "slot");
      const std::string strCopy = Path("copy" + strSlot + "x");
      const std::string strWanted =
          CaseText(strExpected + "/" + strCase, strExpectedPrefix + strCopy, strCopy);
      const std::string strFound = CaseText(strActual + "/" + strCase, strActualRootText, Path("copysx"));
      EXPECT_EQ(strFound, strWanted) << m_atRevisions[nIndex].strRevision << " "
                                     << m_atRevisions[nIndex].strPath;
      nDifferent += strFound != strWanted;
    }
  }

  std::string Path(const std::string& strName) const { return (m_oFolder / strName).string(); }
  const fs::path& Folder() const { return m_oFolder.Path(); }

 private:
  static constexpr const char* CLIENT =
      "base=$1 prefix=$2\n"
      "IFS='\t' read -r number revision folder path <<END\n$3\nEND\n"
      "root=$prefix$PWD/copy${SLOT}x\n"
      "mkdir -p \"$base/$number/work\" && cd \"$base/$number/work\" || exit 1\n"
      "printf %s \"$SLOT\" > ../slot\n"
      "cvs -d \"$root\" checkout -r \"$revision\" -d \"$folder\" \"$path\" > ../output 2> ../errors\n"
      "echo $? > ../status\n";
  // Without a sub-shell: sessions belong to the process that runs the commands.
  static constexpr const char* PROLOGUE =
      "program=$1 base=$2 root=$3 top=$PWD\n"
      "shift 3\n"
      "while IFS='\t' read -r number revision folder path; do\n"
      "  mkdir -p \"$base/$number/work\" && cd \"$base/$number/work\" || exit 1\n"
      "  $program \"$@\" -d \"$root\" checkout -r \"$revision\" -d \"$folder\" \"$path\" > ../output 2> "
      "../errors < /dev/null\n"
      "  echo $? > ../status\n"
      "  cd \"$top\"\n"
      "done\n";

  std::string Quoted(const std::string& strName) const { return ShellQuote(Path(strName)); }

  void WriteList() const {
    std::string strList;
    for (std::size_t nIndex = 0; nIndex < m_atRevisions.size(); ++nIndex) {
      const TRevision& tRevision = m_atRevisions[nIndex];
      const std::string strFolder = fs::path(tRevision.strPath)
                                        .parent_path()
                                        .lexically_relative(*fs::path(tRevision.strPath).begin())
                                        .string();
      strList += std::to_string(nIndex) + "\t" + tRevision.strRevision + "\tMain" +
                 (strFolder == "." ? "" : "/" + strFolder) + "\t" + tRevision.strPath + "\n";
    }
    WriteFile(m_oFolder / "list", strList);
  }

  void CopyRepositories(const std::vector<std::string>& astrModules) const {
    std::string strParts;
    for (const std::string& strModule : astrModules)
      strParts += " " + ShellQuote(strModule);
    std::vector<std::string> astrSlots = {"s"};
    for (int nSlot = 0; nSlot < CLIENTS; ++nSlot)
      astrSlots.push_back(std::to_string(nSlot));
    for (const std::string& strSlot : astrSlots) {
      const std::string strCopy = Quoted("copy" + strSlot + "x");
      // Each copy needs its own folders, because locks are made there. Files aren't written, so hard links
      // will do.
      ShellOutput("mkdir " + strCopy + " && cd " + Quoted("all") + " && cp -r CVSROOT " + strCopy +
                  " && cp -al" + strParts + " " + strCopy);
    }
  }

  std::string CaseText(const std::string& strCase, const std::string& strRootText,
                       const std::string& strRepository) const {
    std::string strText = TreeText(m_oFolder / strCase / "work", strRootText, strRepository);
    for (const char* pszName : {"output", "errors", "status"})
      strText += std::string(pszName) + ":\n" +
                 Replaced(ReadFile(m_oFolder / strCase / pszName), strRepository, "(repository)");
    return strText;
  }

  CTempFolder m_oFolder;
  std::vector<TRevision> m_atRevisions;
};

/// Compares in every way to reach the repository. With any kind of server the client does the same, so one
/// run of clients with servers is compared with all of ours.
void ExpectSameInEveryWay(CComparison& oComparison) {
  const std::string strCopy = oComparison.Path("copysx");
  AdmitReader(oComparison.Folder(), strCopy);
  const CListener oListener(PasswordServer(strCopy));
  const std::string strPassword = ":pserver:reader:pass word@127.0.0.1:" + oListener.Port() + strCopy;
  oComparison.RunClients("client-local", "");
  oComparison.RunClients("client-fork", ":fork:");
  const struct {
    const char* pszName;
    const char* pszOptions;
    std::string strRootText;
    const char* pszExpected;
    const char* pszPrefix;
  } atWays[] = {
      {"local", "", strCopy, "client-local", ""},
      {"fork", "", ":fork:" + strCopy, "client-fork", ":fork:"},
      {"fork-packed", "-z6", ":fork:" + strCopy, "client-fork", ":fork:"},
      {"ext", "", ":ext:me@host:" + strCopy, "client-fork", ":fork:"},
      {"pserver", "", strPassword, "client-fork", ":fork:"},
  };
  for (const auto& tWay : atWays) {
    SCOPED_TRACE(tWay.pszName);
    oComparison.RunSession(tWay.pszName, tWay.pszOptions, tWay.strRootText);
    oComparison.ExpectSame(tWay.pszExpected, tWay.pszPrefix, tWay.pszName, tWay.strRootText);
  }
}

TEST(SideBySideTest, EveryRevisionOfTwoSmallModules) {
  CComparison oComparison("cosi-nms");
  oComparison.Take({"MISAL", "saaconfig"}, 10000);
  EXPECT_GT(oComparison.Count(), 50U);
  ExpectSameInEveryWay(oComparison);
}

TEST(SideBySideTest, EveryRevisionOfOddRepositories) {
  CComparison oComparison("nasty");
  oComparison.Take(oComparison.Modules(), 10000);
  EXPECT_GT(oComparison.Count(), 50U);
  ExpectSameInEveryWay(oComparison);
}

TEST(SideBySideTest, ThreeHundredRevisionsOfALargeModule) {
  CComparison oComparison("mirbsd");
  oComparison.Take({"www"}, 300);
  EXPECT_GT(oComparison.Count(), 50U);
  ExpectSameInEveryWay(oComparison);
}

/// Commands in one working folder, each of which finds what the earlier ones have left.
const std::string SEQUENCE = R"(
run -d "$root" checkout -r 1.1 -d Main/src calculator/src/main.c
run -d "$root" checkout -r 1.1 -d Main calculator/README
run -d "$root" checkout -r 1.1 -d Main/doc "calculator/doc/user guide.txt"
rm Main/README
run -d "$root" checkout -r 1.1 -d Main calculator/README
rm Main/README
run -d "$root" checkout -r 1.2 -d Main calculator/README
run -d "$root" checkout -r 1.1 -d Main/images calculator/images/logo.png
run -d "$root" checkout -r 1.2 -d Main/doc calculator/doc/manual.txt
run -d "$root" checkout -r 1.9 -d Main/src calculator/src/main.c
run -d "$root" checkout -r 1.1 -d Main/src/eval calculator/src/eval/parser.c
run -d "$root" checkout -r 1.1 -d Main/src calculator/nothing
run -d "$root" checkout -r 1.1 -d Main/src nowhere/nothing
run -Q -d "$root" checkout -r 1.1 -d "Other one/a/b" calculator/tests/run.sh
umask 077
run -r -d "$root" co -r 1.1 -d "Other one/a/b" calculator/README
run -q -d "$root" checkout -r 1.1 -d Third/tests calculator/tests/run.sh
run -d "$root" checkout -r 1.1 -d Third calculator/src
run -d "$root" checkout -r 1.1 -d New/a/b calculator/README
run -d "$root" checkout -r 1.1 -d New/a/c calculator/Makefile
run -d "$root" checkout -r 1.1 -d New/a/b/d/e/f calculator/src/main.c
run -d "$root" checkout -r 1.1 -d New/z calculator/src/main.c
run -d "$root" checkout -r 1.1 -d New/a/b calculator/Makefile
run -d "$root" checkout -r 1.1 -d Third calculator/Makefile
run -d "$root" checkout -r 1.1 -d New/cvs calculator/cvs/main.c
run -d "$root" checkout -r 1.1 -d New/a/Cvs/cvs calculator/cvs/eval/parser.c
run -d "$root" checkout -r 1.1 -d New/a/Cvs calculator/README
)";

/// The same in folders that somebody else has made: an import makes the folder of each file before it checks
/// the file out.
const std::string SEQUENCE_IN_MADE_FOLDERS = R"(
mkdir -p Main/src/eval
run -d "$root" checkout -r 1.1 -d Main/src/eval calculator/src/eval/parser.c
run -d "$root" checkout -r 1.1 -d Main/src calculator/src/main.c
run -d "$root" checkout -r 1.1 -d Main calculator/README
mkdir -p Main/doc Main/tags Main/CVS.adm Main/core Main/zz Main/aa
touch -d @0 Main/note Main/note.bak Main/doc/note
run -d "$root" checkout -r 1.1 -d Main/doc calculator/doc/manual.txt
run -d "$root" checkout -r 1.1 -d Main calculator/Makefile
echo 'z* note' > Main/.cvsignore; touch -d @0 Main/.cvsignore
rm Main/README
run -d "$root" checkout -r 1.2 -d Main calculator/README
mkdir One
run -d "$root" checkout -r 1.1 -d One/a/b calculator/README
run -d "$root" checkout -r 1.1 -d One/a calculator/Makefile
run -d "$root" checkout -r 1.1 -d One calculator/Makefile
mkdir One/a/b/q One/a/c
run -d "$root" checkout -r 1.1 -d One calculator/README
run -d "$root" checkout -r 1.1 -d One/a/c calculator/README
run -d "$root" checkout -r 1.1 -d Two calculator/README
mkdir -p Two/a/b/c
run -d "$root" checkout -r 1.1 -d Two/a/b calculator/README
run -d "$root" checkout -r 1.1 -d Two/a/b/c/d/e calculator/README
mkdir Two/a/b/c/d/f
run -d "$root" checkout -r 1.1 -d Two/a/b calculator/Makefile
run -d "$root" checkout -r 1.1 -d Two/a/b/c/d/f calculator/Makefile
run -d "$root" checkout -r 1.1 -d Two/a/b/c/d calculator/Makefile
mkdir -p Two/a/b/cvs One/cvs
run -d "$root" checkout -r 1.1 -d Two/a/b/cvs calculator/cvs/main.c
run -d "$root" checkout -r 1.1 -d One/cvs/eval calculator/cvs/eval/parser.c
run -d "$root" checkout -r 1.1 -d One/cvs calculator/cvs/main.c
)";

/// Sorts the lines "? NAME": their order is the file system's, which differs from folder to folder.
std::string WithSortedQuestions(const std::string& strOutput) {
  std::istringstream oLines(strOutput);
  std::set<std::string> astrQuestions;
  std::string strSorted;
  for (std::string strLine; std::getline(oLines, strLine);) {
    if (strLine.starts_with("? ")) {
      astrQuestions.insert(strLine + "\n");
      continue;
    }
    for (const std::string& strQuestion : astrQuestions)
      strSorted += strQuestion;
    astrQuestions.clear();
    strSorted += strLine + "\n";
  }
  return strSorted;
}

void ExpectSameInEveryWay(const std::string& strSequence) {
  CTempFolder oFolder;
  const std::string strFolder = oFolder.Path().string();
  WriteRemoteShell(oFolder / "rsh");
  WriteScript(oFolder / "sequence",
              "program=$1 root=$2\nmkdir \"$3\" && cd \"$3\" || exit 1\nexec > ../\"$3\".output 2>&1\n"
              "run() { echo \"$*\"; \"$program\" \"$@\" < /dev/null; echo \"status $?\"; }\n" +
                  strSequence);
  // All ways run at the same time, because clients sleep most of theirs. Each has a repository of its own,
  // because they would wait long for each other's locks.
  const std::string strRepository = strFolder + "/repository";
  const CListener oListener(PasswordServer(strRepository + "4"));
  const std::string astrRoots[] = {
      strRepository + "0", ":local:" + strRepository + "1", ":fork:" + strRepository + "2",
      ":ext:me@host:" + strRepository + "3",
      ":pserver:reader:pass word@127.0.0.1:" + oListener.Port() + strRepository + "4"};
  std::string strAll =
      "cd " + ShellQuote(strFolder) + " && export HOME=$PWD CVS_RSH=$PWD/rsh CVS_SESSION_IDLE=10\n";
  for (std::size_t nWay = 0; nWay < std::size(astrRoots); ++nWay) {
    const std::string strNumber = std::to_string(nWay);
    const std::string strRoot = ShellQuote(astrRoots[nWay]);
    CopyExampleRepository(strRepository + strNumber);
    ShellOutput("cd " + ShellQuote(strRepository + strNumber) + "/calculator && cp -r src cvs");
    AdmitReader(oFolder.Path(), strRepository + strNumber);
    strAll += "{ ./sequence cvs " + strRoot + " client" + strNumber + "; ./sequence " + SESSION + " " +
              strRoot + " session" + strNumber + "; } &\n";
  }
  ShellOutput(strAll + "wait");
  for (std::size_t nWay = 0; nWay < std::size(astrRoots); ++nWay) {
    const std::string strNumber = std::to_string(nWay);
    const auto Tree = [&](const std::string& strName) {
      return WithSortedQuestions(ReadFile(oFolder / (strName + ".output"))) +
             TreeText(oFolder / strName, astrRoots[nWay], strRepository + strNumber);
    };
    EXPECT_EQ(Tree("session" + strNumber), Tree("client" + strNumber)) << astrRoots[nWay];
  }
}

TEST(SideBySideTest, CommandsInOneWorkingFolder) {
  ExpectSameInEveryWay(SEQUENCE);
}

TEST(SideBySideTest, CommandsInFoldersThatSomebodyElseMade) {
  ExpectSameInEveryWay(SEQUENCE_IN_MADE_FOLDERS);
}

// The client would take a second for each file. Here "cvs" works only as a server, so a checkout left to it
// fails.
TEST(SideBySideTest, FilesOfAnImportAreNotLeftToTheClient) {
  const CTempFolder oFolder;
  const std::string strRepository = (oFolder / "repository").string();
  CopyExampleRepository(strRepository);
  ShellOutput("cd " + ShellQuote(strRepository) + "/calculator && cp -r src cvs");
  WriteScript(oFolder / "cvs", "case \" $* \" in *' server '*) exec cvs \"$@\";; esac\nexit 9\n");
  const struct {
    const char* pszMethod;
    const char* pszOutput;
  } atWays[] = {
      {"", "U Main/src/eval/parser.c\nU Main/src/main.c\nU Main/README\nU Main/cvs/main.c\n"},
      {":fork:",
       "U Main/src/eval/parser.c\n? Main/src/eval\nU Main/src/main.c\n? Main/src\nU Main/README\n"
       "U Main/cvs/main.c\n"},
  };
  for (const auto& tWay : atWays) {
    const std::string strCheckout =
        SESSION + " -d " + tWay.pszMethod + ShellQuote(strRepository) + " checkout -r 1.1 -d ";
    EXPECT_EQ(ShellOutput("cd " + ShellQuote(oFolder.Path().string()) +
                          " && export CVS_SESSION_IDLE=10 CVS_SESSION_CVS=$PWD/cvs && rm -rf Main" +
                          " && mkdir -p Main/src/eval && " + strCheckout +
                          "Main/src/eval calculator/src/eval/parser.c && " + strCheckout +
                          "Main/src calculator/src/main.c && " + strCheckout + "Main calculator/README && " +
                          strCheckout + "Main/cvs calculator/cvs/main.c"),
              tWay.pszOutput);
  }
}

}  // namespace
}  // namespace TALVEK::TEST

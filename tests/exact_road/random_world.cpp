#include "tests/exact_road/random_world.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "tests/exact_road/rcs_file.h"

namespace TALVEK::TEST {

namespace fs = std::filesystem;

namespace {

constexpr int STEPS = 40;

/// Names that differ in letter case, a file where another has a folder, bytes beyond ASCII, a blank.
const std::vector<std::string> PATHS = {"a.c",
                                        "A.c",
                                        "b.c",
                                        "Makefile",
                                        "run.sh",
                                        "dir/d.c",
                                        "dir/D.c",
                                        "dir/sub/e.c",
                                        "thing",
                                        "thing/part.c",
                                        "gr\xC3\xBC\xC3\x9F.txt",
                                        "two words.txt",
                                        "doc/x.txt",
                                        "doc/y.txt"};

const std::vector<std::string> AUTHORS = {"anna", "boris", "chen"};

std::string Joined(const std::vector<std::string>& astrPaths) {
  std::string strAll;
  for (const std::string& strPath : astrPaths)
    strAll += " " + ShellQuote(strPath);
  return strAll;
}

}  // namespace

const std::vector<CRandomWorld::TWeighedOperation> CRandomWorld::s_atOperations = {
    {20, &CRandomWorld::CommitChanges},
    {2, &CRandomWorld::CommitSlowly},
    {2, &CRandomWorld::CommitUnchanged},
    {8, &CRandomWorld::AddFile},
    {4, &CRandomWorld::RemoveFile},
    {4, &CRandomWorld::Import},
    {3, &CRandomWorld::Tag},
    {2, &CRandomWorld::TagMixedRevisions},
    {4, &CRandomWorld::Branch},
    {2, &CRandomWorld::BranchFromTag},
    {2, &CRandomWorld::MoveTag},
    {1, &CRandomWorld::DeleteName},
    {1, &CRandomWorld::NameInOtherFile},
    {1, &CRandomWorld::SecondName},
    {1, &CRandomWorld::SetClockBack},
    {1, &CRandomWorld::DropRevisions},
    {1, &CRandomWorld::DropBranchRevision},
    {1, &CRandomWorld::SetState},
    {1, &CRandomWorld::RewriteMessage},
    {1, &CRandomWorld::ResetDefaultBranch},
    {1, &CRandomWorld::NewMajorNumber},
    {2, &CRandomWorld::Merge},
};

CRandomWorld::CRandomWorld(unsigned nSeed) : m_oRandom(nSeed) {
  if (OneIn(2)) {
    Run(&CRandomWorld::Import);
  } else {
    for (int n = 0; n < 4; ++n)
      Run(&CRandomWorld::AddFile);
  }
  Run(&CRandomWorld::Branch);
  for (int n = 0; n < STEPS; ++n)
    Step();
  if (OneIn(2)) {
    Tell("drop commit ids");
    m_oWorld.DropCommitIds();
  }
}

void CRandomWorld::Step() {
  int nTotal = 0;
  for (const TWeighedOperation& tOperation : s_atOperations)
    nTotal += tOperation.nWeight;
  int nChosen = Below(nTotal);
  auto itOperation = s_atOperations.begin();
  while (nChosen >= itOperation->nWeight)
    nChosen -= (itOperation++)->nWeight;
  m_oWorld.As(OneOf(AUTHORS));
  // Short rests make the changesets of neighbours touch.
  m_oWorld.Pass(OneIn(3) ? Below(400) - 3600 + 1 : Below(86400));
  Run(itOperation->pfnRun);
}

void CRandomWorld::Run(TOperation pfnRun) {
  try {
    (this->*pfnRun)();
  } catch (const std::runtime_error& oError) {
    std::string strError = oError.what();
    strError.resize(std::min(strError.find('\n'), strError.size()));
    // The folder's name isn't the same twice.
    const std::string strRoot = m_oWorld.Root().parent_path().string();
    const std::size_t nRoot = strError.find(strRoot);
    if (nRoot != std::string::npos) strError.replace(nRoot, strRoot.size(), "ROOT");
    Tell("refused: " + strError);
    m_oWorld.Forget(m_strHere);
  }
}

const std::string& CRandomWorld::OneOf(const std::vector<std::string>& astrTexts) {
  if (astrTexts.empty()) throw std::runtime_error("nothing to choose from");
  return astrTexts[static_cast<std::size_t>(Below(static_cast<int>(astrTexts.size())))];
}

void CRandomWorld::Try(const std::string& strArguments) {
  const TShellResult tResult = m_oWorld.Try(strArguments);
  Tell("[" + m_strHere + "] " + strArguments + (tResult.nStatus == 0 ? "" : ": refused"));
}

void CRandomWorld::OnSomeBranch() {
  m_strHere = m_astrBranches.empty() || OneIn(2) ? "" : OneOf(m_astrBranches);
  m_oWorld.On(m_strHere);
}

void CRandomWorld::OnTrunk() {
  m_strHere = "";
  m_oWorld.On("");
}

std::vector<std::string> CRandomWorld::FilesHere() const {
  std::vector<std::string> astrFiles;
  for (const auto& oEntry : fs::recursive_directory_iterator(m_oWorld.Copy())) {
    // A merge with conflicts leaves the file as it was before under ".#NAME".
    if (oEntry.is_regular_file() && oEntry.path().parent_path().filename() != "CVS" &&
        !oEntry.path().filename().string().starts_with(".#")) {
      astrFiles.push_back(fs::relative(oEntry.path(), m_oWorld.Copy()).string());
    }
  }
  std::sort(astrFiles.begin(), astrFiles.end());
  return astrFiles;
}

std::string CRandomWorld::SomeFile() {
  return OneOf(FilesHere());
}

std::string CRandomWorld::SomeRevision(const std::string& strPath) {
  std::vector<std::string> astrNumbers;
  for (const auto& [strNumber, tRevision] : ReadRcsFile(m_oWorld.Master(strPath)).atRevisions)
    astrNumbers.push_back(strNumber);
  return OneOf(astrNumbers);
}

std::string CRandomWorld::Content() {
  std::string strText = "text " + std::to_string(++m_nTexts) + "\n";
  if (OneIn(4)) strText = "/* $Id$ $Name$\n * $Revision$ $Author$ $State$ */\n" + strText;
  if (OneIn(12)) strText += "$Log$\n";
  for (int n = Below(6); n > 0; --n)
    strText += "line " + std::to_string(Below(4)) + "\n";
  if (OneIn(8)) strText.pop_back();
  if (OneIn(30)) strText.clear();
  if (OneIn(20)) strText += std::string("\0\r\n\xFF@@", 6);
  return strText;
}

std::string CRandomWorld::Message() {
  switch (Below(10)) {
    case 0:
      return "fix";  // the same again, which only author and time tell apart
    case 1:
      return "";
    case 2:
      return "Gr\xC3\xBC\xC3\x9F"
             "e " +
             std::to_string(m_nTexts) + "\n\nin two paragraphs\n";
    case 3:
      return std::string(28, '-') + "\nrevision 1." + std::to_string(Below(5)) + "\n" + std::string(77, '=') +
             "\n";
    case 4: {
      const std::vector<std::string> astrFiles = FilesHere();
      if (astrFiles.empty()) break;
      return "As told before:\n" + m_oWorld.Try("log " + ShellQuote(OneOf(astrFiles))).strOutput;
    }
    default:
      break;
  }
  return "change " + std::to_string(++m_nTexts);
}

std::string CRandomWorld::NewName(const char* pszPrefix) {
  return pszPrefix + std::to_string(++m_nNames);
}

std::vector<std::string> CRandomWorld::ChangeFiles() {
  std::vector<std::string> astrChanged;
  for (int n = 1 + Below(3); n > 0; --n) {
    const std::string strPath = SomeFile();
    m_oWorld.Write(strPath, Content());
    if (std::count(astrChanged.begin(), astrChanged.end(), strPath) == 0) astrChanged.push_back(strPath);
  }
  return astrChanged;
}

void CRandomWorld::CommitChanges() {
  OnSomeBranch();
  const std::string strPaths = Joined(ChangeFiles());
  m_oWorld.Commit(Message(), strPaths);
  Tell("[" + m_strHere + "] commit" + strPaths);
}

void CRandomWorld::CommitSlowly() {
  OnSomeBranch();
  const std::vector<std::string> astrPaths = ChangeFiles();
  const std::int64_t nStart = m_oWorld.Now();
  m_oWorld.Commit(Message(), Joined(astrPaths));
  Tell("[" + m_strHere + "] slow commit" + Joined(astrPaths));
  std::int64_t nTime = nStart;
  for (const std::string& strPath : astrPaths) {
    for (const auto& [strNumber, tRevision] : ReadRcsFile(m_oWorld.Master(strPath)).atRevisions) {
      if (tRevision.nTime == nStart && !tRevision.IsDead()) m_oWorld.SetDate(strPath, strNumber, nTime);
    }
    nTime += 100 + Below(300);
  }
}

void CRandomWorld::CommitUnchanged() {
  OnSomeBranch();
  const std::string strPath = SomeFile();
  m_oWorld.Commit(Message(), "-f " + ShellQuote(strPath));
  Tell("[" + m_strHere + "] commit -f " + strPath);
}

void CRandomWorld::AddFile() {
  OnSomeBranch();
  const std::string& strPath = OneOf(PATHS);
  if (fs::exists(m_oWorld.Copy() / strPath)) return;
  if (strPath == "run.sh" || OneIn(8)) {
    m_oWorld.AddExecutable(strPath, Content());
  } else {
    m_oWorld.Add(strPath, Content(), OneOf({"", "", "", "", "-kb", "-ko", "-kk"}));
  }
  m_oWorld.Commit(Message(), ShellQuote(strPath));
  Tell("[" + m_strHere + "] add " + strPath);
}

void CRandomWorld::RemoveFile() {
  OnSomeBranch();
  const std::string strPath = SomeFile();
  m_oWorld.Remove(strPath);
  m_oWorld.Commit(Message(), ShellQuote(strPath));
  Tell("[" + m_strHere + "] remove " + strPath);
}

void CRandomWorld::Import() {
  std::map<std::string, std::string> astrFiles;
  for (int n = 2 + Below(4); n > 0; --n)
    astrFiles[OneOf(PATHS)] = Content();
  // A folder can't hold both.
  if (astrFiles.contains("thing/part.c")) astrFiles.erase("thing");
  const bool bOther = OneIn(3);
  const std::string strRelease = NewName("V");
  m_oWorld.Import(astrFiles, Message(), bOther ? "OTHERS" : "VENDOR", strRelease, bOther ? "-b 1.1.3" : "");
  m_astrTags.push_back(strRelease);
  Tell(bOther ? "import -b 1.1.3" : "import");
}

void CRandomWorld::Tag() {
  OnSomeBranch();
  const std::string strName = NewName("T");
  m_oWorld.Tag(strName);
  m_astrTags.push_back(strName);
  Tell("[" + m_strHere + "] tag " + strName);
}

void CRandomWorld::TagMixedRevisions() {
  OnSomeBranch();
  const std::string strName = NewName("T");
  for (const std::string& strPath : FilesHere()) {
    if (OneIn(2)) m_oWorld.Try("update -r 1." + std::to_string(1 + Below(3)) + " " + ShellQuote(strPath));
  }
  Try("tag " + strName);
  m_astrTags.push_back(strName);
  m_oWorld.Forget(m_strHere);
}

void CRandomWorld::Branch() {
  OnSomeBranch();
  const std::string strName = NewName("b");
  m_oWorld.BranchTag(strName, OneIn(4) ? ShellQuote(SomeFile()) : "");
  m_astrBranches.push_back(strName);
  Tell("[" + m_strHere + "] branch " + strName);
}

void CRandomWorld::BranchFromTag() {
  OnTrunk();
  const std::string strName = NewName("b");
  const std::string& strTag = OneOf(m_astrTags);
  Try("rtag -b -r " + strTag + " " + strName + " m");
  m_astrBranches.push_back(strName);
}

void CRandomWorld::MoveTag() {
  OnSomeBranch();
  const std::string& strTag = OneOf(m_astrTags);
  Try("tag -F " + strTag + " " + ShellQuote(SomeFile()));
}

void CRandomWorld::DeleteName() {
  OnTrunk();
  if (OneIn(2)) {
    const std::string strBranch = OneOf(m_astrBranches);
    Try("rtag -d -B -a " + strBranch + " m");
    m_oWorld.Forget(strBranch);
    std::erase(m_astrBranches, strBranch);
  } else {
    Try("rtag -d -a " + OneOf(m_astrTags) + " m");
  }
  m_oWorld.On(m_strHere = "");
}

void CRandomWorld::NameInOtherFile() {
  OnTrunk();
  Try("tag " + OneOf(m_astrBranches) + " " + ShellQuote(SomeFile()));
}

void CRandomWorld::SecondName() {
  OnTrunk();
  const std::string strBranch = OneOf(m_astrBranches);
  const std::string strName = NewName("second");
  for (const std::string& strPath : FilesHere()) {
    if (OneIn(4)) continue;
    const std::string strMaster = ReadFile(m_oWorld.Master(strPath));
    const std::string strBefore = "\n\t" + strBranch + ":";
    const std::size_t nName = strMaster.find(strBefore);
    if (nName == std::string::npos) continue;
    const std::size_t nNumber = nName + strBefore.size();
    const std::string strNumber =
        strMaster.substr(nNumber, strMaster.find_first_of(";\n", nNumber) - nNumber);
    m_oWorld.Edit(strPath, "\nsymbols\n", "\nsymbols\n\t" + strName + ":" + strNumber + "\n");
  }
  Tell("second name " + strName + " of " + strBranch);
}

void CRandomWorld::SetClockBack() {
  m_oWorld.Pass(-(3600 + Below(3 * 86400)));
  Tell("clock set back");
}

void CRandomWorld::DropRevisions() {
  OnTrunk();
  const std::string strPath = SomeFile();
  const int nFirst = 2 + Below(3);
  Try("admin -o1." + std::to_string(nFirst) + ":1." + std::to_string(nFirst + Below(2)) + " " +
      ShellQuote(strPath));
  m_oWorld.Forget("");
}

void CRandomWorld::DropBranchRevision() {
  OnSomeBranch();
  const std::string strPath = SomeFile();
  Try("admin -o" + SomeRevision(strPath) + " " + ShellQuote(strPath));
  m_oWorld.Forget(m_strHere);
}

void CRandomWorld::SetState() {
  OnSomeBranch();
  const std::string strPath = SomeFile();
  const std::string strState = OneOf({"Rel", "Dev", "dead"});
  Try("admin -s" + strState + ":" + SomeRevision(strPath) + " " + ShellQuote(strPath));
  m_oWorld.Forget(m_strHere);
}

void CRandomWorld::RewriteMessage() {
  OnSomeBranch();
  const std::string strPath = SomeFile();
  const std::string strNumber = SomeRevision(strPath);
  m_oWorld.Try("admin -m" + strNumber + ":" + ShellQuote(Message()) + " " + ShellQuote(strPath));
  Tell("[" + m_strHere + "] admin -m" + strNumber + " " + strPath);
}

void CRandomWorld::ResetDefaultBranch() {
  OnTrunk();
  const std::string strBranch =
      m_astrBranches.empty() || OneIn(2) ? OneOf({"", "", "1.1.1", "1.1.3"}) : OneOf(m_astrBranches);
  Try("admin -b" + strBranch + " " + ShellQuote(SomeFile()));
}

void CRandomWorld::NewMajorNumber() {
  OnTrunk();
  Try("commit -m 'A new number' -r " + std::to_string(2 + Below(3)) + ".0 " + ShellQuote(SomeFile()));
  m_oWorld.Forget("");
}

void CRandomWorld::Merge() {
  OnTrunk();
  Try("update -d -j " + OneOf(m_astrBranches));
  m_oWorld.Commit(Message());
  Tell("merge");
}

}  // namespace TALVEK::TEST

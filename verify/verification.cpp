#include "verify/verification.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "host/exit_status.h"
#include "host/git_names.h"
#include "host/text_output.h"

namespace fs = std::filesystem;

namespace TALVEK::VERIFY {
namespace {

/// An export takes a second, because the client sleeps until the next full one, and a revision that is
/// fetched alone 7 ms.
constexpr std::size_t MOST_FETCHED_FOR_A_NAME = 100;
/// Tags exported whole, besides those for which that is quicker.
constexpr std::size_t SAMPLED_TAGS = 5;
constexpr const char* UNNAMED_REF = "refs/heads/unnamed-";

std::string Quoted(const std::string& strText) {
  return "'" + HOST::ShowBytes(strText) + "'";
}

/// Regular files below a folder, by their path in it.
std::map<std::string, fs::path> FilesBelow(const fs::path& oFolder) {
  std::map<std::string, fs::path> aoFiles;
  for (const fs::directory_entry& oEntry : fs::recursive_directory_iterator(oFolder)) {
    if (fs::is_regular_file(oEntry.symlink_status()))
      aoFiles[oEntry.path().lexically_relative(oFolder).string()] = oEntry.path();
  }
  return aoFiles;
}

bool HaveSamePaths(const TRevisionList& astrList, const std::map<std::string, fs::path>& aoFiles) {
  return std::equal(astrList.begin(), astrList.end(), aoFiles.begin(), aoFiles.end(),
                    [](const auto& tLeft, const auto& tRight) { return tLeft.first == tRight.first; });
}

}  // namespace

/// One row to be: a name, at its end or at a moment.
struct CVerification::TSubject {
  TRow::TKind eKind = TRow::TRUNK;
  std::string strName;  // as the table shows it; empty: the trunk
  TQuestion tQuestion;
  std::string strRef;     // empty: not in Git
  std::string strNumber;  // UNNAMED: "1.2.2"
  bool bWhole = false;    // is exported whole in any case
};

std::uint64_t TResult::Count(TRow::TStatus eStatus) const {
  return static_cast<std::uint64_t>(std::count_if(
      atRows.begin(), atRows.end(), [eStatus](const TRow& tRow) { return tRow.eStatus == eStatus; }));
}

bool TResult::IsEqual() const {
  return Count(TRow::EQUAL) + Count(TRow::REFUSED) == atRows.size();
}

CVerification::CVerification(const TSettings& tSettings, TThoroughness tThoroughness, CCvsModule& oModule,
                             CGitSide& oGit, CFileContents& oContents, CComparison& oComparison,
                             HOST::CProgress& oProgress)
    : m_tSettings(tSettings),
      m_tThoroughness(tThoroughness),
      m_oModule(oModule),
      m_oGit(oGit),
      m_oContents(oContents),
      m_oComparison(oComparison),
      m_oProgress(oProgress),
      m_oFacts(tSettings.tScope, tThoroughness.nDates > 0),
      m_oRules(oModule, m_oFacts, tSettings.bNested) {}

TResult CVerification::Run() {
  ReadLog();
  m_atRefs = m_oGit.Refs();
  std::vector<TSubject> atSubjects = Subjects();
  if (!m_oModule.IsFolder() && !m_oFacts.UnnamedBranches().empty())
    m_tResult.astrNotes.push_back(
        "branches without a name aren't compared: the module is no folder of its name");
  ChooseExports(atSubjects);
  ExportAhead(atSubjects, 0);
  ChooseListing(atSubjects.front());
  VerifyNames(atSubjects);
  VerifyOnlyInGit();
  if (m_tThoroughness.nDates > 0) {
    m_oProgress.BeginPhase("verifying moments", "refs", atSubjects.size());
    for (std::size_t nDone = 0; nDone < atSubjects.size(); m_oProgress.Advance(++nDone))
      VerifyMoments(atSubjects[nDone]);
    m_oProgress.EndPhase();
  }
  m_tResult.nExports = m_oModule.GetExportCount();
  m_tResult.nFetches = m_oModule.GetFetchCount();
  return std::move(m_tResult);
}

void CVerification::VerifyNames(const std::vector<TSubject>& atSubjects) {
  m_oProgress.BeginPhase("verifying", "refs", atSubjects.size());
  for (std::size_t nDone = 0; nDone < atSubjects.size(); m_oProgress.Advance(++nDone)) {
    ExportAhead(atSubjects, nDone);
    Verify(atSubjects[nDone]);
  }
  m_oProgress.EndPhase();
}

void CVerification::ExportAhead(const std::vector<TSubject>& atSubjects, std::size_t nFrom) {
  for (std::size_t nSubject = nFrom; nSubject < atSubjects.size(); ++nSubject) {
    const bool bTrunkIsThere = atSubjects[nSubject].eKind == TRow::TRUNK && m_oTrunkExport;
    if (!atSubjects[nSubject].bWhole || bTrunkIsThere) continue;
    if (!m_oModule.ExportAhead(atSubjects[nSubject].tQuestion)) return;
  }
}

void CVerification::ReadLog() {
  std::uint64_t nFiles = 0;
  m_oProgress.BeginPhase("reading the log", "files", 0);
  const bool bWhole = m_oModule.ReadLog([&](const EXACT::TRcsFile& tFile) {
    m_oFacts.Add(tFile);
    if (tFile.bIncomplete)
      m_tResult.astrNotes.push_back("the log of " + Quoted(tFile.strPath) +
                                    " is incomplete: " + HOST::ShowBytes(tFile.strRepair));
    m_oProgress.Advance(++nFiles);
  });
  m_oProgress.EndPhase();
  m_oFacts.Finish();
  if (bWhole && nFiles > 0) return;
  const std::string strWords = m_oModule.Words();
  throw HOST::EHostError(
      HOST::STATUS_FAILED,
      "the log of the module can't be read" + (strWords.empty() ? "" : ": " + HOST::ShowBytes(strWords)),
      "check the module's name and the repository");
}

std::vector<CVerification::TSubject> CVerification::Subjects() const {
  std::vector<TSubject> atSubjects = {{TRow::TRUNK, "", {"", m_tSettings.tScope.nEndTime}, "", ""}};
  if (m_atRefs.contains(m_tSettings.strTrunkRef)) atSubjects.front().strRef = m_tSettings.strTrunkRef;
  for (const bool bBranches : {true, false}) {
    for (const auto& [strName, tFacts] : m_oFacts.Names()) {
      if (tFacts.IsBranch() != bBranches) continue;
      const auto nTime = bBranches ? m_tSettings.tScope.nEndTime : std::nullopt;
      atSubjects.push_back(
          {bBranches ? TRow::BRANCH : TRow::TAG, strName, {strName, nTime}, RefOf(strName, bBranches), ""});
    }
  }
  // They are known by the files that have them, and those of other modules lie elsewhere.
  if (!m_oModule.IsFolder()) return atSubjects;
  for (const auto& [strNumber, astrPaths] : m_oFacts.UnnamedBranches()) {
    std::string strName = "unnamed-" + strNumber;
    while (m_oFacts.Names().contains(strName))
      strName += '_';
    atSubjects.push_back(
        {TRow::UNNAMED, strName, {strNumber, m_tSettings.tScope.nEndTime}, RefOf(strName, true), strNumber});
  }
  return atSubjects;
}

/// Empty when there is none in Git.
std::string CVerification::RefOf(const std::string& strName, bool bBranch) const {
  if (m_tSettings.atRefs) {
    for (const HOST::TRecordedRef& tRef : *m_tSettings.atRefs) {
      if (tRef.strStream == strName) return m_atRefs.contains(tRef.strRef) ? tRef.strRef : "";
    }
    return "";
  }
  const std::string strGitName = HOST::GitRefName(strName);
  const std::string astrRefs[] = {"refs/heads/" + strGitName, "refs/tags/" + strGitName};
  for (const bool bFirst : {true, false}) {
    const std::string& strRef = astrRefs[bFirst == bBranch ? 0 : 1];
    if (m_atRefs.contains(strRef)) return strRef;
  }
  return "";
}

// The trunk's export decides: a way of listing that doesn't say the same isn't used for any name.
void CVerification::ChooseListing(const TSubject& tTrunk) {
  m_oTrunkExport = m_oModule.Export(tTrunk.tQuestion);
  for (const TListing eListing : {TListing::RLS, TListing::RDIFF}) {
    m_eListing = eListing;
    const std::optional<TRevisionList> astrList = m_oModule.List(tTrunk.tQuestion, eListing);
    if (astrList && (!m_oTrunkExport || HaveSamePaths(*astrList, FilesBelow(*m_oTrunkExport)))) return;
  }
  m_eListing = TListing::EXPORT;
  m_tResult.astrNotes.push_back(
      "the server lists no revisions as it exports them (rls, rdiff), so every name is exported whole");
}

/// The trunk, the branches, and of the tags some at even distances.
void CVerification::ChooseExports(std::vector<TSubject>& atSubjects) const {
  std::vector<TSubject*> aptTags;
  for (TSubject& tSubject : atSubjects) {
    if (CLogFacts::IsClientsOwn(tSubject.strName)) continue;
    tSubject.bWhole = tSubject.eKind == TRow::TRUNK || tSubject.eKind == TRow::BRANCH ||
                      (tSubject.eKind == TRow::TAG && m_tThoroughness.bAll);
    if (tSubject.eKind == TRow::TAG) aptTags.push_back(&tSubject);
  }
  for (std::size_t nPick = 0; nPick < SAMPLED_TAGS && !aptTags.empty(); ++nPick)
    aptTags[(2 * nPick + 1) * aptTags.size() / (2 * SAMPLED_TAGS)]->bWhole = true;
}

void CVerification::Verify(const TSubject& tSubject) {
  TRow tRow;
  tRow.eKind = tSubject.eKind;
  tRow.strName = tSubject.strName;
  tRow.strRef = tSubject.strRef;
  m_astrKnownRefs.insert(tSubject.strRef);
  TGivenFiles atGiven;
  if (CLogFacts::IsClientsOwn(tSubject.strName)) {
    tRow.eStatus = TRow::REFUSED;
    tRow.strWords = "cvs takes the name for its own";
  } else if (Ask(tSubject, atGiven, tRow)) {
    bool bFound = false;
    const TGitTree atTree = TreeOf(tSubject, bFound);
    m_oComparison.Compare(atGiven, atTree, tRow);
    if (!bFound && tRow.nFiles > 0) tRow.eStatus = TRow::MISSING_REF;
    Explain(tRow);
  }
  m_tResult.atRows.push_back(std::move(tRow));
}

void CVerification::Explain(TRow& tRow) {
  if (!m_tSettings.bByRules) return;
  for (TProblem& tProblem : tRow.atFirst) {
    const std::string strRule = m_oRules.RuleFor(tRow, tProblem);
    if (!strRule.empty()) tProblem.strReason += "; " + strRule;
  }
}

TGitTree CVerification::TreeOf(const TSubject& tSubject, bool& bFound) const {
  bFound = !tSubject.strRef.empty();
  return bFound ? m_oGit.Tree(tSubject.strRef) : TGitTree();
}

bool CVerification::Ask(const TSubject& tSubject, TGivenFiles& atGiven, TRow& tRow) {
  const std::optional<TRevisionList> astrList = ListOf(tSubject);
  // The client exports no number, only names.
  const bool bCanExport = tSubject.eKind != TRow::UNNAMED;
  if (bCanExport && (tSubject.bWhole || !astrList || CountNew(*astrList) > MOST_FETCHED_FOR_A_NAME))
    return AskByExport(tSubject, astrList, atGiven, tRow);
  if (!astrList) {
    tRow.eStatus = TRow::REFUSED;
    tRow.strWords = m_oModule.Words();
    return false;
  }
  AskByFile(*astrList, atGiven);
  tRow.strHow = std::string(ListingName()) + ", files by revision";
  return true;
}

bool CVerification::AskByExport(const TSubject& tSubject, const std::optional<TRevisionList>& astrList,
                                TGivenFiles& atGiven, TRow& tRow) {
  tRow.strHow = "export";
  std::optional<fs::path> oFolder;
  if (tSubject.eKind == TRow::TRUNK) oFolder = std::exchange(m_oTrunkExport, std::nullopt);
  if (!oFolder) oFolder = m_oModule.Export(tSubject.tQuestion);
  if (!oFolder) {
    tRow.eStatus = TRow::REFUSED;
    tRow.strWords = m_oModule.Words();
    return false;
  }
  const std::map<std::string, fs::path> aoFiles = FilesBelow(*oFolder);
  const bool bListed = astrList && HaveSamePaths(*astrList, aoFiles);
  if (astrList && !bListed) {
    m_tResult.astrNotes.push_back(std::string(ListingName()) + " lists other files for " +
                                  Quoted(tSubject.strName) + " than the client exports");
  }
  for (const auto& [strPath, oFile] : aoFiles) {
    if (!IsWanted(tSubject, strPath)) continue;
    TGivenFile& tGiven = atGiven[HOST::GitPath(strPath)];
    tGiven.tContent = m_oContents.Read(oFile);
    if (!bListed) continue;
    tGiven.strRevision = astrList->at(strPath);
    m_oContents.Put(strPath, tGiven.strRevision, tGiven.tContent);
  }
  CCvsModule::Remove(*oFolder);
  return true;
}

void CVerification::AskByFile(const TRevisionList& astrList, TGivenFiles& atGiven) {
  for (const auto& [strPath, strRevision] : astrList) {
    TGivenFile& tGiven = atGiven[HOST::GitPath(strPath)];
    tGiven.strRevision = strRevision;
    tGiven.tContent = m_oContents.Get(strPath, strRevision);
    if (!tGiven.tContent.bGiven) tGiven.strWords = m_oContents.Words(strPath, strRevision);
  }
}

std::optional<TRevisionList> CVerification::ListOf(const TSubject& tSubject) {
  if (m_eListing == TListing::EXPORT) return std::nullopt;
  std::optional<TRevisionList> astrList = m_oModule.List(tSubject.tQuestion, m_eListing);
  if (astrList) std::erase_if(*astrList, [&](const auto& tFile) { return !IsWanted(tSubject, tFile.first); });
  return astrList;
}

std::size_t CVerification::CountNew(const TRevisionList& astrList) const {
  return static_cast<std::size_t>(std::count_if(astrList.begin(), astrList.end(), [this](const auto& tFile) {
    return !m_oContents.Has(tFile.first, tFile.second);
  }));
}

// A number is a branch without a name in some files only, and a saved log may be that of a part of the
// module.
bool CVerification::IsWanted(const TSubject& tSubject, const std::string& strPath) const {
  if (tSubject.eKind == TRow::UNNAMED)
    return m_oFacts.UnnamedBranches().at(tSubject.strNumber).contains(strPath);
  const bool bAll = m_tSettings.tSource.strLogFile.empty() || !m_oModule.IsFolder();
  return bAll || m_oFacts.Paths().contains(strPath);
}

void CVerification::VerifyOnlyInGit() {
  for (const auto& [strRef, tObject] : m_atRefs) {
    const bool bUnnamed = !m_oModule.IsFolder() && strRef.starts_with(UNNAMED_REF);
    if (m_astrKnownRefs.contains(strRef) || bUnnamed) continue;
    TRow tRow;
    tRow.eKind = TRow::ONLY_IN_GIT;
    tRow.strRef = strRef;
    m_oComparison.Compare({}, m_oGit.Tree(strRef), tRow);
    tRow.eStatus = TRow::EXTRA_REF;
    m_tResult.atRows.push_back(std::move(tRow));
  }
}

void CVerification::VerifyMoments(const TSubject& tSubject) {
  if (tSubject.strRef.empty() || (tSubject.eKind != TRow::TRUNK && tSubject.eKind != TRow::BRANCH)) return;
  for (const std::int64_t nMoment : m_oFacts.Moments(tSubject.strName, m_tThoroughness.nDates)) {
    TSubject tThen = tSubject;
    tThen.tQuestion.nTime = nMoment;
    tThen.bWhole = false;
    TRow tRow;
    tRow.eKind = tSubject.eKind;
    tRow.strName = tSubject.strName;
    tRow.strRef = tSubject.strRef;
    tRow.strTime = HOST::ShowTime(nMoment);
    TGivenFiles atGiven;
    if (Ask(tThen, atGiven, tRow)) {
      const std::optional<std::string> strCommit = m_oGit.CommitAt(tSubject.strRef, nMoment);
      TGitTree atTree = strCommit ? m_oGit.Tree(*strCommit) : TGitTree();
      if (tSubject.eKind == TRow::BRANCH) KeepChanged(tSubject.strName, nMoment, atGiven, atTree);
      m_oComparison.Compare(atGiven, atTree, tRow);
      Explain(tRow);
    }
    m_tResult.atRows.push_back(std::move(tRow));
  }
}

// CVS doesn't record when a file joined a branch. With a date the client takes each file that has the name
// now for one that always had it; only the files with a revision on the branch by then are known to be in it.
void CVerification::KeepChanged(const std::string& strBranch, std::int64_t nMoment, TGivenFiles& atGiven,
                                TGitTree& atTree) const {
  std::set<std::string> astrChanged;
  for (const std::string& strPath : m_oFacts.ChangedBy(strBranch, nMoment))
    astrChanged.insert(HOST::GitPath(strPath));
  std::erase_if(atGiven, [&](const auto& tFile) { return !astrChanged.contains(tFile.first); });
  std::erase_if(atTree, [&](const auto& tFile) { return !astrChanged.contains(tFile.first); });
}

const char* CVerification::ListingName() const {
  return m_eListing == TListing::RLS ? "rls" : "rdiff";
}

}  // namespace TALVEK::VERIFY

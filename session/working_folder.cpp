#include "session/working_folder.h"

#include <algorithm>

#include <sys/stat.h>

#include "session/client.h"
#include "session/ignore_list.h"
#include "session/mail_date.h"

namespace TALVEK::SESSION {

namespace {

const std::string ENTRIES = "Entries";
const std::string ENTRIES_LOG = "Entries.Log";
const std::string ENTRIES_NEW = "Entries.Backup";
const std::string ENTRIES_STATIC = "Entries.Static";
const std::string REPOSITORY = "Repository";
const std::string ROOT = "Root";
const std::string IGNORED = ".cvsignore";

/// What the client writes to CVS/Repository in the folder that corresponds to the root, and in those above
/// it.
const std::string TOP_REPOSITORY = ".";
const std::string NO_REPOSITORY = "CVSROOT/Emptydir";

std::vector<std::string> SplitPath(const std::string& strPath) {
  std::vector<std::string> astrNames;
  for (std::size_t nFrom = 0;;) {
    const std::size_t nSlash = strPath.find('/', nFrom);
    astrNames.push_back(strPath.substr(nFrom, nSlash - nFrom));
    if (nSlash == std::string::npos) return astrNames;
    nFrom = nSlash + 1;
  }
}

std::string RepositoryAbove(const std::string& strRepository) {
  if (strRepository == TOP_REPOSITORY || strRepository == NO_REPOSITORY) return NO_REPOSITORY;
  const std::string strAbove = FolderOf(strRepository);
  return strAbove.empty() ? TOP_REPOSITORY : strAbove;
}

/// The line in a file that holds exactly one.
std::optional<std::string> ReadLineFile(const CFolder& oFolder, const std::string& strName) {
  std::optional<std::string> strText = oFolder.Read(strName);
  if (!strText || strText->find('\n') + 1 != strText->size()) return std::nullopt;
  strText->pop_back();
  return strText;
}

mode_t Umask() {
  const mode_t nUmask = ::umask(0);
  ::umask(nUmask);
  return nUmask;
}

/// True for the line of a file that was checked out by its revision. False when it waits for a commit, or has
/// a date or a branch.
bool IsPlainEntry(const std::string& strLine) {
  TEntry tEntry;
  if (!ParseEntry(strLine, tEntry)) return false;
  const auto fnIsNumber = [](std::string_view strText) {
    return !strText.empty() && strText.find_first_not_of("0123456789.") == std::string_view::npos;
  };
  return fnIsNumber(tEntry.strRevision) && tEntry.strRevision != "0" && tEntry.strTag.starts_with('T') &&
         fnIsNumber(std::string_view(tEntry.strTag).substr(1)) && !tEntry.strTime.starts_with('+');
}

void WriteEntries(const CFolder& oAdmin, const CEntries& oEntries) {
  oAdmin.Write(ENTRIES_NEW, oEntries.Text());
  oAdmin.Replace(ENTRIES, ENTRIES_NEW);
  if (oAdmin.Has(ENTRIES_LOG)) oAdmin.Remove(ENTRIES_LOG);
}

/// Applies the lines of Entries.Log to Entries, and removes the log. Leaves a damaged folder as it is.
std::optional<CEntries> FoldLog(const CFolder& oFolder) {
  const std::optional<CFolder> oAdmin = oFolder.Open(ADMIN);
  const std::optional<std::string> strEntries = oAdmin ? oAdmin->Read(ENTRIES) : std::nullopt;
  CEntries oEntries;
  if (!strEntries) return std::nullopt;
  const std::optional<std::string> strLog = oAdmin->Read(ENTRIES_LOG);
  if (!oEntries.Parse(*strEntries, strLog.value_or(""))) return std::nullopt;
  if (strLog) WriteEntries(*oAdmin, oEntries);
  return oEntries;
}

void FoldLogsBelow(const CFolder& oFolder) {
  const std::optional<CEntries> oEntries = FoldLog(oFolder);
  if (!oEntries) return;
  for (const std::string& strName : oEntries->Folders()) {
    if (const std::optional<CFolder> oBelow = oFolder.Open(strName)) FoldLogsBelow(*oBelow);
  }
}

/// Collects the names that a client would send to the server, from a folder and from the folders that its
/// Entries names.
void Ask(const CFolder& oFolder, const std::string& strPath, const CIgnoreList& oIgnored,
         std::vector<TQuestions>& atQuestions) {
  const std::optional<CFolder> oAdmin = oFolder.Open(ADMIN);
  const std::optional<std::string> strEntries = oAdmin ? oAdmin->Read(ENTRIES) : std::nullopt;
  const std::optional<std::string> strRepository = oAdmin ? ReadLineFile(*oAdmin, REPOSITORY) : std::nullopt;
  CEntries oEntries;
  if (!strEntries || !strRepository || !oEntries.Parse(*strEntries, oAdmin->Read(ENTRIES_LOG).value_or("")))
    throw EHandOver(HAND_OVER_STRANGERS);
  CIgnoreList oIgnoredHere = oIgnored;
  oIgnoredHere.Add(oFolder.Read(IGNORED).value_or(""));
  TQuestions tQuestions{strPath, *strRepository, {}};
  for (const std::string& strName : oFolder.Names()) {
    if (strName == ADMIN || oEntries.HasFolder(strName) || !oEntries.FileLine(strName).empty()) continue;
    if (!oIgnoredHere.Matches(strName)) tQuestions.astrNames.push_back(strName);
  }
  // If Entries doesn't list sub-folders, an unknown name may be a sub-folder that is checked out.
  if (!tQuestions.astrNames.empty() && !oEntries.AreFoldersKnown()) throw EHandOver(HAND_OVER_STRANGERS);
  if (!tQuestions.astrNames.empty()) atQuestions.push_back(std::move(tQuestions));
  const std::string strPathBelow = strPath + "/";
  for (const std::string& strName : oEntries.Folders()) {
    if (const std::optional<CFolder> oBelow = oFolder.Open(strName))
      Ask(*oBelow, strPathBelow + strName, oIgnored, atQuestions);
  }
}

}  // namespace

const CFolder& CWorkingFolder::Above(std::size_t nLevel) const {
  return nLevel == 0 ? m_oTop : *m_atLevels[nLevel - 1].oFolder;
}

/// The deepest existing folder above a level.
const CFolder& CWorkingFolder::DeepestAbove(std::size_t nLevel) const {
  while (nLevel > 0 && !m_atLevels[nLevel - 1].oFolder)
    --nLevel;
  return Above(nLevel);
}

/// If the file system ignores case, a name such as "cvs" means the client's own folder. A folder that doesn't
/// exist yet will treat case as the folder in which it is made.
void CWorkingFolder::InspectNames() const {
  const auto fnInspect = [this](const std::string& strName, std::size_t nLevel) {
    if (IsAdminInOtherCase(strName) && !DeepestAbove(nLevel).TellsCaseApart())
      throw EHandOver(HAND_OVER_CASE);
  };
  for (std::size_t nLevel = 0; nLevel < m_atLevels.size(); ++nLevel)
    fnInspect(m_atLevels[nLevel].strName, nLevel);
  fnInspect(NameOf(m_tCheckout.strFile), m_atLevels.size());
}

CWorkingFolder::CWorkingFolder(const TCheckout& tCheckout)
    : m_tCheckout(tCheckout), m_bLocal(tCheckout.tRoot.nMethod == TRoot::LOCAL), m_oTop(CFolder::Working()) {
  for (std::string& strName : SplitPath(tCheckout.strFolder))
    m_atLevels.emplace_back().strName = std::move(strName);
  // Inside a checkout the client would enter the target in its CVS/Entries.
  if (m_oTop.Has(ADMIN)) throw EHandOver(HAND_OVER_INSIDE);
  for (std::size_t nLevel = 0; nLevel < m_atLevels.size(); ++nLevel) {
    InspectLevel(nLevel);
    if (!m_atLevels[nLevel].oFolder) break;
  }
  InspectNames();
  SetRepositories();
  InspectFile();
  FindQuestions();
}

void CWorkingFolder::InspectLevel(std::size_t nLevel) {
  TLevel& tLevel = m_atLevels[nLevel];
  tLevel.oFolder = Above(nLevel).Open(tLevel.strName);
  if (!tLevel.oFolder) {
    if (Above(nLevel).Has(tLevel.strName)) throw EHandOver(HAND_OVER_NO_FOLDER);
    return;
  }
  const std::optional<CFolder> oAdmin = tLevel.oFolder->Open(ADMIN);
  if (!oAdmin) {
    if (tLevel.oFolder->Has(ADMIN)) throw EHandOver(HAND_OVER_NO_FOLDER);
    return;
  }
  // A client with a server checks out every folder on the way, so this state isn't the client's.
  if (!m_bLocal && nLevel > 0 && !m_atLevels[nLevel - 1].IsKnown()) throw EHandOver(HAND_OVER_ABOVE);
  if (!InspectAdmin(tLevel, *oAdmin)) throw EHandOver(HAND_OVER_ADMIN);
}

/// False when the folder CVS isn't as such a checkout leaves it.
bool CWorkingFolder::InspectAdmin(TLevel& tLevel, const CFolder& oAdmin) const {
  const std::vector<std::string> astrNames = oAdmin.Names();
  const std::string astrKnown[] = {ENTRIES, ENTRIES_LOG, ENTRIES_STATIC, REPOSITORY, ROOT};
  const auto fnHas = [&astrNames](const std::string& strName) {
    return std::find(astrNames.begin(), astrNames.end(), strName) != astrNames.end();
  };
  const auto fnIsKnown = [&astrKnown](const std::string& strName) {
    return std::find(std::begin(astrKnown), std::end(astrKnown), strName) != std::end(astrKnown);
  };
  if (!std::all_of(astrNames.begin(), astrNames.end(), fnIsKnown) || !fnHas(ENTRIES_STATIC)) return false;
  const std::optional<std::string> strEntries = oAdmin.Read(ENTRIES);
  const std::optional<std::string> strLog = fnHas(ENTRIES_LOG) ? oAdmin.Read(ENTRIES_LOG) : std::string();
  const std::optional<std::string> strRepository = ReadLineFile(oAdmin, REPOSITORY);
  if (!strEntries || !strLog || !strRepository) return false;
  if (*strRepository != TOP_REPOSITORY && !IsPlainPath(*strRepository)) return false;
  if (ReadLineFile(oAdmin, ROOT) != m_tCheckout.tRoot.strText) return false;
  tLevel.strRepository = *strRepository;
  return tLevel.oEntries.emplace().Parse(*strEntries, *strLog);
}

void CWorkingFolder::InspectFile() const {
  const TLevel& tTarget = m_atLevels.back();
  const std::string strName = NameOf(m_tCheckout.strFile);
  if (tTarget.oFolder && tTarget.oFolder->Has(strName)) throw EHandOver(HAND_OVER_FILE);
  const std::string strLine = tTarget.IsKnown() ? tTarget.oEntries->FileLine(strName) : std::string();
  if (!strLine.empty() && !IsPlainEntry(strLine)) throw EHandOver(HAND_OVER_ENTRY);
}

/// Goes from the target upwards, to the first folder that is checked out and so has a CVS/Repository.
void CWorkingFolder::SetRepositories() {
  std::string strRepository = FolderOf(m_tCheckout.strFile);
  for (std::size_t nLevel = m_atLevels.size(); nLevel-- > 0 && !m_atLevels[nLevel].IsKnown();) {
    m_atLevels[nLevel].strRepository = strRepository;
    strRepository = RepositoryAbove(strRepository);
  }
}

/// There are none without a server, or when the target isn't checked out yet.
void CWorkingFolder::FindQuestions() {
  if (m_bLocal || !m_atLevels.back().IsKnown()) return;
  Ask(*m_atLevels.back().oFolder, m_tCheckout.strFolder, CIgnoreList::OfUser(), m_atQuestions);
}

std::unique_ptr<CStagedFile> CWorkingFolder::Stage() const {
  return std::make_unique<CStagedFile>(DeepestAbove(m_atLevels.size()));
}

/// In a local checkout the umask takes away write permissions only; through a server, all permissions.
mode_t CWorkingFolder::ModeFor(mode_t nServerMode) const {
  const mode_t nUmask = Umask();
  return nServerMode & ~(m_bLocal ? nUmask & 0222 : nUmask);
}

/// Makes a missing folder, and its folder CVS. As with the client, a folder that somebody else has made isn't
/// entered in the one above it; without a server it doesn't even get a folder CVS, unless it is the target.
void CWorkingFolder::SetUp(std::size_t nLevel) {
  TLevel& tLevel = m_atLevels[nLevel];
  if (tLevel.IsKnown()) return;
  const bool bMissing = !tLevel.oFolder;
  if (bMissing) tLevel.oFolder = Above(nLevel).Make(tLevel.strName);
  if (bMissing || !m_bLocal || nLevel + 1 == m_atLevels.size()) MakeAdmin(tLevel);
  if (bMissing && nLevel > 0 && m_atLevels[nLevel - 1].IsKnown()) EnterFolder(nLevel);
}

void CWorkingFolder::MakeAdmin(TLevel& tLevel) const {
  const CFolder oAdmin = tLevel.oFolder->Make(ADMIN);
  oAdmin.Write(ROOT, m_tCheckout.tRoot.strText + "\n");
  oAdmin.Write(REPOSITORY, tLevel.strRepository + "\n");
  CEntries& oEntries = tLevel.oEntries.emplace();
  if (!m_bLocal) oEntries.SetFoldersKnown();
  oAdmin.Write(ENTRIES, oEntries.Text());
  oAdmin.Write(ENTRIES_STATIC, "");
}

/// Enters a folder in the one above it. Clients with and without a server write that to Entries.Log.
void CWorkingFolder::EnterFolder(std::size_t nLevel) {
  TLevel& tAbove = m_atLevels[nLevel - 1];
  const std::string strLine = FolderLine(m_atLevels[nLevel].strName);
  tAbove.oEntries->Add(strLine);
  tAbove.oFolder->Open(ADMIN).value().Append(ENTRIES_LOG, "A " + strLine + "\n");
}

void CWorkingFolder::EnterFile(const std::string& strLine) {
  TLevel& tTarget = m_atLevels.back();
  tTarget.oEntries->Add(strLine);
  WriteEntries(tTarget.oFolder->Open(ADMIN).value(), *tTarget.oEntries);
}

/// A client that reads Entries also applies Entries.Log. One with a server reads Entries in the target and
/// the folders below it, to tell the server about them; for a new target it reads Entries in the folders on
/// the way, which the server's answer names.
void CWorkingFolder::FoldLogsOnTheWay() const {
  if (m_atLevels.back().IsKnown()) return FoldLogsBelow(*m_atLevels.back().oFolder);
  for (const TLevel& tLevel : m_atLevels) {
    if (tLevel.IsKnown()) FoldLog(*tLevel.oFolder);
  }
}

/// A client with a server finally prunes empty folders (-P). In each folder on the way it looks at the names,
/// in the file system's order, up to the first one other than CVS. If CVS comes first it reads Entries, and
/// so applies Entries.Log.
void CWorkingFolder::FoldLogsAsPruningDoes() const {
  for (const TLevel& tLevel : m_atLevels) {
    if (tLevel.oFolder->Names().front() == ADMIN) FoldLog(*tLevel.oFolder);
  }
}

void CWorkingFolder::Apply(const TReply& tReply, CStagedFile& oFile) {
  const bool bNewTarget = !m_atLevels.back().IsKnown();
  if (!m_bLocal) FoldLogsOnTheWay();
  for (std::size_t nLevel = 0; nLevel < m_atLevels.size(); ++nLevel)
    SetUp(nLevel);
  TEntry tEntry = tReply.tEntry;
  tEntry.strTime = EntryTime(tReply.nTime ? *tReply.nTime : oFile.ModificationTime());
  oFile.Publish(*m_atLevels.back().oFolder, tEntry.strName, ModeFor(tReply.nMode), tReply.nTime);
  EnterFile(EntryLine(tEntry));
  if (!m_bLocal && bNewTarget) FoldLogsAsPruningDoes();
}

}  // namespace TALVEK::SESSION

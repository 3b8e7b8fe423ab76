#include "session/working_folder.h"

#include <algorithm>

#include <sys/stat.h>

#include "session/mail_date.h"

namespace TALVEK::SESSION {

namespace {

const std::string ADMIN = "CVS";
const std::string ENTRIES = "Entries";
const std::string ENTRIES_LOG = "Entries.Log";
const std::string ENTRIES_NEW = "Entries.Backup";
const std::string ENTRIES_STATIC = "Entries.Static";
const std::string REPOSITORY = "Repository";
const std::string ROOT = "Root";

/// What the client writes for folders that stand for none in the repository: the root's own, then those
/// above.
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

/// The text of a file that holds one line.
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

/// True for a line that an earlier checkout of a revision has left: no file that waits for a commit, none
/// with a date or a branch.
bool IsPlainEntry(const std::string& strLine) {
  TEntry tEntry;
  if (!ParseEntry(strLine, tEntry)) return false;
  const auto IsNumber = [](std::string_view strText) {
    return !strText.empty() && strText.find_first_not_of("0123456789.") == std::string_view::npos;
  };
  return IsNumber(tEntry.strRevision) && tEntry.strRevision != "0" && tEntry.strTag.starts_with('T') &&
         IsNumber(std::string_view(tEntry.strTag).substr(1)) && !tEntry.strTime.starts_with('+');
}

void WriteEntries(const CFolder& oAdmin, const CEntries& oEntries) {
  oAdmin.Write(ENTRIES_NEW, oEntries.Text());
  oAdmin.Rename(ENTRIES_NEW, ENTRIES);
  if (oAdmin.Has(ENTRIES_LOG)) oAdmin.Remove(ENTRIES_LOG);
}

/// Puts what the log of a folder says into its list. A folder in disorder stays as it is.
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

}  // namespace

CWorkingFolder::CWorkingFolder(const TCheckout& tCheckout)
    : m_tCheckout(tCheckout),
      m_bLocal(tCheckout.tRoot.nMethod == TRoot::LOCAL),
      m_astrNames(SplitPath(tCheckout.strFolder)),
      m_astrRepositories(m_astrNames.size()) {
  m_aoFolders.push_back(CFolder::Working());
}

std::optional<CWorkingFolder> CWorkingFolder::Inspect(const TCheckout& tCheckout) {
  CWorkingFolder oFolder(tCheckout);
  // Inside somebody's checkout the client would enter the target there.
  if (oFolder.m_aoFolders[0].Has(ADMIN)) return std::nullopt;
  for (std::size_t nLevel = 0; nLevel < oFolder.m_astrNames.size(); ++nLevel) {
    if (!oFolder.m_aoFolders[nLevel].Has(oFolder.m_astrNames[nLevel])) break;
    if (!oFolder.InspectFolder(nLevel)) return std::nullopt;
  }
  oFolder.SetMissingRepositories();
  if (!oFolder.InspectFile()) return std::nullopt;
  return oFolder;
}

bool CWorkingFolder::InspectFolder(std::size_t nLevel) {
  std::optional<CFolder> oFolder = m_aoFolders[nLevel].Open(m_astrNames[nLevel]);
  const std::optional<CFolder> oAdmin = oFolder ? oFolder->Open(ADMIN) : std::nullopt;
  if (!oAdmin || !InspectAdmin(nLevel, *oAdmin)) return false;
  if (nLevel > 0 && !m_aoEntries[nLevel - 1].HasFolder(m_astrNames[nLevel])) return false;
  m_aoFolders.push_back(std::move(*oFolder));
  return true;
}

bool CWorkingFolder::InspectAdmin(std::size_t nLevel, const CFolder& oAdmin) {
  const std::vector<std::string> astrNames = oAdmin.Names();
  const std::string astrKnown[] = {ENTRIES, ENTRIES_LOG, ENTRIES_STATIC, REPOSITORY, ROOT};
  const auto IsKnown = [&astrKnown](const std::string& strName) {
    return std::find(std::begin(astrKnown), std::end(astrKnown), strName) != std::end(astrKnown);
  };
  if (!std::all_of(astrNames.begin(), astrNames.end(), IsKnown) || !oAdmin.Has(ENTRIES_STATIC)) return false;
  const std::optional<std::string> strEntries = oAdmin.Read(ENTRIES);
  const bool bHasLog = oAdmin.Has(ENTRIES_LOG);
  const std::optional<std::string> strLog = bHasLog ? oAdmin.Read(ENTRIES_LOG) : std::string();
  const std::optional<std::string> strRepository = ReadLineFile(oAdmin, REPOSITORY);
  if (!strEntries || !strLog || !strRepository) return false;
  if (*strRepository != TOP_REPOSITORY && !IsPlainPath(*strRepository)) return false;
  if (ReadLineFile(oAdmin, ROOT) != m_tCheckout.tRoot.strText) return false;
  m_astrRepositories[nLevel] = *strRepository;
  return m_aoEntries.emplace_back().Parse(*strEntries, *strLog);
}

bool CWorkingFolder::InspectFile() const {
  if (m_aoEntries.size() < m_astrNames.size()) return true;
  const std::string strName = NameOf(m_tCheckout.strFile);
  if (m_aoFolders.back().Has(strName)) return false;
  const std::string strLine = m_aoEntries.back().FileLine(strName);
  return strLine.empty() || IsPlainEntry(strLine);
}

void CWorkingFolder::SetMissingRepositories() {
  std::string strRepository = FolderOf(m_tCheckout.strFile);
  for (std::size_t nLevel = m_astrNames.size(); nLevel-- > m_aoEntries.size();) {
    m_astrRepositories[nLevel] = strRepository;
    strRepository = RepositoryAbove(strRepository);
  }
}

std::unique_ptr<CStagedFile> CWorkingFolder::Stage() const {
  return std::make_unique<CStagedFile>(m_aoFolders.back());
}

/// A local checkout keeps the bits for reading and running as they are in the repository; through a server,
/// all bits go through the umask.
mode_t CWorkingFolder::ModeFor(mode_t nServerMode) const {
  const mode_t nUmask = Umask();
  return nServerMode & ~(m_bLocal ? nUmask & 0222 : nUmask);
}

void CWorkingFolder::MakeFolder(std::size_t nLevel) {
  CFolder oFolder = m_aoFolders[nLevel].Make(m_astrNames[nLevel]);
  const CFolder oAdmin = oFolder.Make(ADMIN);
  oAdmin.Write(ROOT, m_tCheckout.tRoot.strText + "\n");
  oAdmin.Write(REPOSITORY, m_astrRepositories[nLevel] + "\n");
  CEntries& oEntries = m_aoEntries.emplace_back();
  if (!m_bLocal) oEntries.SetFoldersKnown();
  oAdmin.Write(ENTRIES, oEntries.Text());
  oAdmin.Write(ENTRIES_STATIC, "");
  m_aoFolders.push_back(std::move(oFolder));
  if (nLevel > 0) EnterFolder(nLevel - 1);
}

/// Enters the folder one level down: in the log, as both kinds of client do it.
void CWorkingFolder::EnterFolder(std::size_t nLevel) {
  const std::string strLine = FolderLine(m_astrNames[nLevel + 1]);
  m_aoEntries[nLevel].Add(strLine);
  m_aoFolders[nLevel + 1].Open(ADMIN).value().Append(ENTRIES_LOG, "A " + strLine + "\n");
}

void CWorkingFolder::Enter(std::size_t nLevel, const std::string& strLine) {
  m_aoEntries[nLevel].Add(strLine);
  WriteEntries(m_aoFolders[nLevel + 1].Open(ADMIN).value(), m_aoEntries[nLevel]);
}

/// A client with a server reads the folders that it will tell the server about, the target and those below
/// it; and those on the way to a new target when the server speaks of them. Reading folds the logs.
void CWorkingFolder::FoldLogsOnTheWay() const {
  if (m_aoEntries.size() == m_astrNames.size()) return FoldLogsBelow(m_aoFolders.back());
  for (std::size_t nLevel = 0; nLevel < m_aoEntries.size(); ++nLevel)
    FoldLog(m_aoFolders[nLevel + 1]);
}

/// Such a client then looks which of the folders that the server spoke of are empty. It goes through the
/// names in a folder up to the first that isn't CVS; when CVS comes before, it reads the list there, which
/// folds the log. So the file system's order decides.
void CWorkingFolder::FoldLogsAsPruningDoes() const {
  for (std::size_t nLevel = 0; nLevel < m_astrNames.size(); ++nLevel) {
    const CFolder& oFolder = m_aoFolders[nLevel + 1];
    if (oFolder.Names().front() == ADMIN) FoldLog(oFolder);
  }
}

void CWorkingFolder::Apply(const TReply& tReply, CStagedFile& oFile) {
  const bool bNewFolder = m_aoEntries.size() < m_astrNames.size();
  if (!m_bLocal) FoldLogsOnTheWay();
  for (std::size_t nLevel = m_aoEntries.size(); nLevel < m_astrNames.size(); ++nLevel)
    MakeFolder(nLevel);
  TEntry tEntry = tReply.tEntry;
  tEntry.strTime = EntryTime(tReply.nTime ? *tReply.nTime : oFile.ModificationTime());
  oFile.Publish(m_aoFolders.back(), tEntry.strName, ModeFor(tReply.nMode), tReply.nTime);
  Enter(m_astrNames.size() - 1, EntryLine(tEntry));
  if (!m_bLocal && bNewFolder) FoldLogsAsPruningDoes();
}

}  // namespace TALVEK::SESSION

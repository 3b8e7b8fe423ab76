#include "tests/support/cvs_world.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <stdexcept>
#include <utility>

#include "tests/support/utc_text.h"

namespace TALVEK::TEST {

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t HOUR = 3600;

/// A client sees that a file has changed by its time. So each write gets a second of its own, before 1974,
/// which neither the real clock nor a revision has.
void SetFileTime(const fs::path& oPath, std::int64_t nSeconds) {
  const timespec atTimes[2] = {{nSeconds, 0}, {nSeconds, 0}};
  if (utimensat(AT_FDCWD, oPath.c_str(), atTimes, 0) != 0)
    throw std::runtime_error("can't date " + oPath.string());
}

}  // namespace

CCvsWorld::CCvsWorld(std::string strModule) : m_oRoot(m_oFolder / "root"), m_strModule(std::move(strModule)) {
  Run(m_oFolder.Path(), "init");
  // Debian's client keeps most of `admin` for a group.
  WriteFile(m_oRoot / "CVSROOT/config",
            ReadFile(m_oRoot / "CVSROOT/config") + "\nUserAdminOptions=abceIiklLmNnostuU\n");
  fs::create_directories(m_oRoot / m_strModule);
  fs::create_directories(m_oFolder / "copies");
  On("");
}

std::string CCvsWorld::ClientCommand(const std::string& strArguments) const {
  return "umask 022; exec env -i PATH=\"$PATH\" HOME=" + ShellQuote(m_oFolder.Path().string()) +
         " LC_ALL=C TZ=UTC LOGNAME=" + ShellQuote(m_strAuthor) + " " + ClockOfClient(m_nNow) +
         " cvs -f -Q -d " + ShellQuote(m_oRoot.string()) + " " + strArguments + " 2>&1";
}

void CCvsWorld::Run(const fs::path& oFolder, const std::string& strArguments) const {
  const TShellResult tResult =
      RunShell("cd " + ShellQuote(oFolder.string()) + " && " + ClientCommand(strArguments));
  if (tResult.nStatus != 0) {
    throw std::runtime_error("cvs " + strArguments + ": status " + std::to_string(tResult.nStatus) + "\n" +
                             tResult.strOutput);
  }
}

TShellResult CCvsWorld::Try(const std::string& strArguments) const {
  return RunShell("cd " + ShellQuote(Copy().string()) + " && " + ClientCommand(strArguments));
}

void CCvsWorld::On(const std::string& strName) {
  m_strCopy = strName;
  if (fs::exists(Copy())) {
    Run(Copy(), "update -d");
    return;
  }
  Run(m_oFolder / "copies", "checkout " + (strName.empty() ? "" : "-r " + strName + " ") + "-d " +
                                ShellQuote(Copy().filename().string()) + " " + ShellQuote(m_strModule));
}

void CCvsWorld::Forget(const std::string& strName) {
  m_strCopy = strName;
  fs::remove_all(Copy());
}

void CCvsWorld::Write(const std::string& strPath, std::string_view strBytes) {
  WriteFile(Copy() / strPath, strBytes);
  SetFileTime(Copy() / strPath, 100000000 + ++m_nWrites);
}

void CCvsWorld::AddFolders(const fs::path& oFolder) {
  if (oFolder.empty() || fs::exists(Copy() / oFolder / "CVS")) return;
  AddFolders(oFolder.parent_path());
  Run(Copy(), "add " + ShellQuote(oFolder.string()));
}

void CCvsWorld::Add(const std::string& strPath, std::string_view strBytes, const std::string& strOptions) {
  Write(strPath, strBytes);
  AddFolders(fs::path(strPath).parent_path());
  Run(Copy(), "add " + strOptions + " " + ShellQuote(strPath));
}

void CCvsWorld::AddExecutable(const std::string& strPath, std::string_view strBytes) {
  Write(strPath, strBytes);
  fs::permissions(Copy() / strPath, fs::perms::owner_exec | fs::perms::group_exec, fs::perm_options::add);
  AddFolders(fs::path(strPath).parent_path());
  Run(Copy(), "add " + ShellQuote(strPath));
}

void CCvsWorld::Remove(const std::string& strPath) {
  Run(Copy(), "remove -f " + ShellQuote(strPath));
}

void CCvsWorld::Commit(const std::string& strMessage, const std::string& strOptionsAndPaths) {
  Run(Copy(), "commit -m " + ShellQuote(strMessage) + " " + strOptionsAndPaths);
  Pass(HOUR);
}

void CCvsWorld::Put(const std::string& strPath, std::string_view strBytes, const std::string& strMessage) {
  if (fs::exists(Copy() / strPath)) {
    Write(strPath, strBytes);
  } else {
    Add(strPath, strBytes);
  }
  Commit(strMessage, ShellQuote(strPath));
}

void CCvsWorld::Tag(const std::string& strName, const std::string& strPaths) {
  Run(Copy(), "tag " + strName + " " + strPaths);
}

void CCvsWorld::BranchTag(const std::string& strName, const std::string& strPaths) {
  Run(Copy(), "tag -b " + strName + " " + strPaths);
}

void CCvsWorld::MoveTag(const std::string& strName, const std::string& strPaths) {
  Run(Copy(), "tag -F " + strName + " " + strPaths);
}

void CCvsWorld::DeleteTag(const std::string& strName, const std::string& strPaths) {
  Run(Copy(), "tag -d " + strName + " " + strPaths);
}

void CCvsWorld::TagInRepository(const std::string& strOptionsAndName, const std::string& strPath) {
  Run(Copy(), "rtag " + strOptionsAndName + " " +
                  ShellQuote(strPath.empty() ? m_strModule : m_strModule + "/" + strPath));
}

void CCvsWorld::Update(const std::string& strOptionsAndPaths) {
  Run(Copy(), "update " + strOptionsAndPaths);
}

void CCvsWorld::Admin(const std::string& strOptions, const std::string& strPath) {
  Run(Copy(), "admin " + strOptions + " " + ShellQuote(strPath));
  Pass(HOUR);
}

void CCvsWorld::Import(const std::map<std::string, std::string>& astrFiles, const std::string& strMessage,
                       const std::string& strVendorTag, const std::string& strReleaseTag,
                       const std::string& strOptions) {
  const CTempFolder oRelease;
  for (const auto& [strPath, strBytes] : astrFiles) {
    WriteFile(oRelease / strPath, strBytes);
  }
  // Status 1 says that there are conflicts, which is no failure.
  const TShellResult tResult =
      RunShell("cd " + ShellQuote(oRelease.Path().string()) + " && " +
               ClientCommand("import -I ! " + strOptions + " -m " + ShellQuote(strMessage) + " " +
                             ShellQuote(m_strModule) + " " + strVendorTag + " " + strReleaseTag));
  if (tResult.nStatus != 0 && tResult.strOutput.find("conflict") == std::string::npos) {
    throw std::runtime_error("cvs import: " + tResult.strOutput);
  }
  Pass(HOUR);
}

fs::path CCvsWorld::Master(const std::string& strPath) const {
  const fs::path oFile = m_oRoot / m_strModule / (strPath + ",v");
  return fs::exists(oFile) ? oFile : oFile.parent_path() / "Attic" / oFile.filename();
}

void CCvsWorld::SetDate(const std::string& strPath, const std::string& strRevision, std::int64_t nSeconds) {
  const std::string strBytes = ReadFile(Master(strPath));
  const std::string strBefore = "\n" + strRevision + "\ndate";
  const std::size_t nDate = strBytes.find(strBefore);
  if (nDate == std::string::npos) throw std::runtime_error(strPath + " has no revision " + strRevision);
  // A tab stands before the date, or blanks where an import made the file.
  const std::size_t nEnd = strBytes.find(';', nDate);
  Edit(strPath, strBytes.substr(nDate, nEnd - nDate),
       strBefore + "\t" + UtcText(nSeconds, "%Y.%m.%d.%H.%M.%S"));
}

void CCvsWorld::Edit(const std::string& strPath, const std::string& strOld, const std::string& strNew) {
  const fs::path oMaster = Master(strPath);
  std::string strBytes = ReadFile(oMaster);
  const std::size_t nPlace = strBytes.find(strOld);
  if (nPlace == std::string::npos || strBytes.find(strOld, nPlace + 1) != std::string::npos) {
    throw std::runtime_error(oMaster.string() + " doesn't hold this text once: " + strOld);
  }
  strBytes.replace(nPlace, strOld.size(), strNew);
  const fs::perms nMode = fs::status(oMaster).permissions();
  fs::permissions(oMaster, fs::perms::owner_write, fs::perm_options::add);
  WriteFile(oMaster, strBytes);
  fs::permissions(oMaster, nMode);
}

void CCvsWorld::DropCommitIds() {
  ShellOutput("find " + ShellQuote((m_oRoot / m_strModule).string()) +
              " -name '*,v' -exec sed -i '/^commitid[[:blank:]]*[0-9A-Za-z]*;$/d' {} +");
}

std::string ClockOfClient(std::int64_t nSeconds) {
  return "env CVS_WORLD_NOW=" + std::to_string(nSeconds) + " LD_PRELOAD=" + ShellQuote(TALVEK_CVS_CLOCK);
}

}  // namespace TALVEK::TEST

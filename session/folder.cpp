#include "session/folder.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "session/failure.h"

namespace TALVEK::SESSION {

namespace {

/// A limit against running out of memory; the client's own files are much smaller.
constexpr std::size_t MAX_FILE = 1 << 28;

[[noreturn]] void Fail(const char* pszWhat, const std::string& strName) {
  const int nError = errno;
  throw Aborted(std::string("cannot ") + pszWhat + " " + strName + ": " + std::strerror(nError));
}

bool WriteOut(int nFile, std::string_view strBytes) {
  while (!strBytes.empty()) {
    const ssize_t nWritten = ::write(nFile, strBytes.data(), strBytes.size());
    if (nWritten < 0 && errno != EINTR) return false;
    if (nWritten > 0) strBytes.remove_prefix(static_cast<std::size_t>(nWritten));
  }
  return true;
}

/// Nothing when it can't be read to its end, or is larger than MAX_FILE.
std::optional<std::string> ReadAll(const VCM::CDescriptor& oFile) {
  std::string strText;
  char achBlock[4096];
  while (strText.size() <= MAX_FILE) {
    const ssize_t nRead = ::read(oFile.Get(), achBlock, sizeof achBlock);
    if (nRead == 0) return strText;
    if (nRead > 0) strText.append(achBlock, static_cast<std::size_t>(nRead));
    if (nRead < 0 && errno != EINTR) break;
  }
  return std::nullopt;
}

VCM::CDescriptor OpenFolderAt(int nParent, const char* pszName) {
  return VCM::CDescriptor(::openat(nParent, pszName, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

}  // namespace

std::string ReadFileText(const std::string& strPath) {
  return ReadAll(VCM::CDescriptor(::open(strPath.c_str(), O_RDONLY | O_CLOEXEC))).value_or("");
}

CFolder CFolder::Working() {
  VCM::CDescriptor oDescriptor = OpenFolderAt(AT_FDCWD, ".");
  if (!oDescriptor.IsOpen()) Fail("open", "the working folder");
  return CFolder(std::move(oDescriptor));
}

std::optional<CFolder> CFolder::Open(const std::string& strName) const {
  VCM::CDescriptor oDescriptor = OpenFolderAt(m_oDescriptor.Get(), strName.c_str());
  if (!oDescriptor.IsOpen()) return std::nullopt;
  return CFolder(std::move(oDescriptor));
}

CFolder CFolder::Make(const std::string& strName) const {
  if (::mkdirat(m_oDescriptor.Get(), strName.c_str(), 0777) != 0) Fail("make directory", strName);
  std::optional<CFolder> oFolder = Open(strName);
  if (!oFolder) Fail("open", strName);
  return std::move(*oFolder);
}

bool CFolder::Has(const std::string& strName) const {
  struct stat tStat {};
  return ::fstatat(m_oDescriptor.Get(), strName.c_str(), &tStat, AT_SYMLINK_NOFOLLOW) == 0 || errno != ENOENT;
}

bool CFolder::TellsCaseApart() const {
  const std::string strNumber = std::to_string(::getpid());
  const std::string strLower = ".cvs-session-" + strNumber;
  const VCM::CDescriptor oFile(::openat(m_oDescriptor.Get(), strLower.c_str(),
                                        O_CREAT | O_EXCL | O_NOFOLLOW | O_WRONLY | O_CLOEXEC, 0600));
  if (!oFile.IsOpen()) return false;
  const bool bFound = Has(".CVS-SESSION-" + strNumber);
  ::unlinkat(m_oDescriptor.Get(), strLower.c_str(), 0);
  return !bFound;
}

std::vector<std::string> CFolder::Names() const {
  std::vector<std::string> astrNames;
  const auto fnClose = [](DIR* poFolder) { ::closedir(poFolder); };
  const std::unique_ptr<DIR, decltype(fnClose)> poFolder(
      ::fdopendir(OpenFolderAt(m_oDescriptor.Get(), ".").Release()), fnClose);
  if (!poFolder) Fail("read", "a folder");
  while (const dirent* ptEntry = ::readdir(poFolder.get())) {
    const std::string strName = ptEntry->d_name;
    if (strName != "." && strName != "..") astrNames.push_back(strName);
  }
  return astrNames;
}

std::optional<std::string> CFolder::Read(const std::string& strName) const {
  const VCM::CDescriptor oFile(
      ::openat(m_oDescriptor.Get(), strName.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat tStat {};
  if (!oFile.IsOpen() || ::fstat(oFile.Get(), &tStat) != 0 || !S_ISREG(tStat.st_mode)) return std::nullopt;
  return ReadAll(oFile);
}

void CFolder::WriteTo(const std::string& strName, int nFlags, std::string_view strText) const {
  const VCM::CDescriptor oFile(::openat(m_oDescriptor.Get(), strName.c_str(),
                                        O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC | nFlags, 0666));
  if (!oFile.IsOpen()) Fail("open", strName);
  if (!WriteOut(oFile.Get(), strText)) Fail("write", strName);
}

void CFolder::Write(const std::string& strName, std::string_view strText) const {
  WriteTo(strName, O_EXCL, strText);
}

void CFolder::Append(const std::string& strName, std::string_view strText) const {
  WriteTo(strName, O_APPEND, strText);
}

void CFolder::Replace(const std::string& strName, const std::string& strBy) const {
  const int nFolder = m_oDescriptor.Get();
  // Some file systems (ext4) flush a file to the disk when a plain rename replaces another by it. Entries is
  // replaced for each file of an import, and flushing takes longer than all the rest. An exchange isn't
  // flushed.
  if (::renameat2(nFolder, strBy.c_str(), nFolder, strName.c_str(), RENAME_EXCHANGE) == 0)
    return Remove(strBy);
  if (::renameat(nFolder, strBy.c_str(), nFolder, strName.c_str()) != 0) Fail("rename", strBy);
}

void CFolder::Remove(const std::string& strName) const {
  if (::unlinkat(m_oDescriptor.Get(), strName.c_str(), 0) != 0) Fail("remove", strName);
}

CStagedFile::CStagedFile(const CFolder& oFolder) : m_nFolder(oFolder.Descriptor()) {
  m_oFile = VCM::CDescriptor(::openat(m_nFolder, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
  if (m_oFile.IsOpen()) return;
  // Not every file system can make a file without a name.
  m_strName = ".cvs-session-" + std::to_string(::getpid());
  m_oFile = VCM::CDescriptor(
      ::openat(m_nFolder, m_strName.c_str(), O_CREAT | O_EXCL | O_NOFOLLOW | O_WRONLY | O_CLOEXEC, 0600));
  if (!m_oFile.IsOpen()) {
    m_strName.clear();
    Fail("make", "a temporary file");
  }
}

CStagedFile::~CStagedFile() {
  if (!m_strName.empty()) ::unlinkat(m_nFolder, m_strName.c_str(), 0);
}

void CStagedFile::Write(std::string_view strBytes) {
  if (!WriteOut(m_oFile.Get(), strBytes)) Fail("write", "a temporary file");
}

time_t CStagedFile::ModificationTime() const {
  struct stat tStat {};
  if (::fstat(m_oFile.Get(), &tStat) != 0) Fail("look at", "a temporary file");
  return tStat.st_mtime;
}

void CStagedFile::Publish(const CFolder& oFolder, const std::string& strName, mode_t nMode,
                          std::optional<time_t> nTime) {
  if (::fchmod(m_oFile.Get(), nMode) != 0) Fail("change the mode of", strName);
  if (nTime) {
    const timespec atTimes[2] = {{0, UTIME_NOW}, {*nTime, 0}};
    if (::futimens(m_oFile.Get(), atTimes) != 0) Fail("set the time of", strName);
  }
  // Neither call replaces a file that has appeared meanwhile.
  const std::string strOpen = "/proc/self/fd/" + std::to_string(m_oFile.Get());
  const int nResult = m_strName.empty() ? ::linkat(AT_FDCWD, strOpen.c_str(), oFolder.Descriptor(),
                                                   strName.c_str(), AT_SYMLINK_FOLLOW)
                                        : ::renameat2(m_nFolder, m_strName.c_str(), oFolder.Descriptor(),
                                                      strName.c_str(), RENAME_NOREPLACE);
  if (nResult != 0) Fail("make", strName);
  m_strName.clear();
}

}  // namespace TALVEK::SESSION

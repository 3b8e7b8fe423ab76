#include "core/file_system.h"

#include <cerrno>
#include <cstdio>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/descriptor.h"
#include "core/text_codec.h"

namespace TALVEK::VCM {

namespace {

constexpr mode_t ALL_WRITE_BITS = S_IWUSR | S_IWGRP | S_IWOTH;

/// The permissions and type of what `strPath` names, links followed; 0 when it names nothing.
mode_t GetMode(const CString& strPath) {
  std::string strSystemPath;
  struct stat tStatus {};
  if (!ToSystemPath(strPath, strSystemPath) || ::stat(strSystemPath.c_str(), &tStatus) != 0) return 0;
  return tStatus.st_mode;
}

/// A regular file, held by an O_PATH descriptor. Such a descriptor needs no read permission, and the file
/// that was checked is the one that is changed, even if its path is replaced in between.
class CHeldFile {
 public:
  explicit CHeldFile(const CString& strPath) {
    std::string strSystemPath;
    if (!ToSystemPath(strPath, strSystemPath)) return;
    m_oDescriptor = CDescriptor(::open(strSystemPath.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat tStatus {};
    if (!m_oDescriptor.IsOpen() || ::fstat(m_oDescriptor.Get(), &tStatus) != 0) return;
    if (S_ISREG(tStatus.st_mode)) m_nMode = tStatus.st_mode;
  }

  bool IsHeld() const { return m_nMode != 0; }
  mode_t GetPermissions() const { return m_nMode & 07777; }

  bool SetPermissions(mode_t nPermissions) const {
    if (nPermissions == GetPermissions()) return true;
    // fchmod refuses such a descriptor, so the file is reached through its name in /proc.
    char szName[64];
    std::snprintf(szName, sizeof szName, "/proc/self/fd/%d", m_oDescriptor.Get());
    return ::chmod(szName, nPermissions) == 0;
  }

 private:
  CDescriptor m_oDescriptor;
  mode_t m_nMode = 0;
};

}  // namespace

bool FileExists(const CString& strPath) {
  return S_ISREG(GetMode(strPath));
}

bool FolderExists(const CString& strPath) {
  return S_ISDIR(GetMode(strPath));
}

bool CreateFolder(const CString& strPath, unsigned nMode) {
  std::string strSystemPath;
  return ToSystemPath(strPath, strSystemPath) &&
         ::mkdir(strSystemPath.c_str(), static_cast<mode_t>(nMode)) == 0;
}

bool RemoveFile(const CString& strPath) {
  std::string strSystemPath;
  return ToSystemPath(strPath, strSystemPath) && ::unlink(strSystemPath.c_str()) == 0;
}

bool MoveFile(const CString& strFrom, const CString& strTo) {
  std::string strSystemFrom, strSystemTo;
  return ToSystemPath(strFrom, strSystemFrom) && ToSystemPath(strTo, strSystemTo) &&
         ::rename(strSystemFrom.c_str(), strSystemTo.c_str()) == 0;
}

bool MakeFileWritable(const CString& strPath, bool* pbWasReadOnly) {
  const CHeldFile oFile(strPath);
  // Look at the permission bits: root can write to every file, so access() would say nothing.
  const bool bReadOnly = oFile.IsHeld() && !(oFile.GetPermissions() & S_IWUSR);
  if (pbWasReadOnly) *pbWasReadOnly = bReadOnly;
  return oFile.IsHeld() && oFile.SetPermissions(oFile.GetPermissions() | S_IWUSR);
}

bool MakeFileReadOnly(const CString& strPath) {
  const CHeldFile oFile(strPath);
  return oFile.IsHeld() && oFile.SetPermissions(oFile.GetPermissions() & ~ALL_WRITE_BITS);
}

CWorkingFolderScope::CWorkingFolderScope(const CString& strFolder) {
  std::string strSystemPath;
  if (!ToSystemPath(strFolder, strSystemPath)) return;
  CDescriptor oPrevious(::open(".", O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!oPrevious.IsOpen() || ::chdir(strSystemPath.c_str()) != 0) return;
  m_nPreviousFolder = oPrevious.Release();
  m_bEntered = true;
}

CWorkingFolderScope::~CWorkingFolderScope() {
  const CDescriptor oPrevious(m_nPreviousFolder);
  if (!m_bEntered) return;
  const int nError = errno;
  // Fails only if the folder's permissions were removed meanwhile; the process then stays where it is.
  [[maybe_unused]] const int nIgnored = ::fchdir(oPrevious.Get());
  errno = nError;
}

}  // namespace TALVEK::VCM

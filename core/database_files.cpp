#include "core/database_files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "core/text_codec.h"

namespace TALVEK::VDB {

using VCM::CDescriptor;
using VCM::CString;

namespace {

constexpr mode_t FILE_MODE = 0600;
// O_NONBLOCK and O_NOCTTY: the path may name a pipe or a terminal.
constexpr int OPEN_FLAGS = O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
// A retry means that another process has removed or replaced the file meanwhile. That is rare, so many
// retries mean that something else is wrong.
constexpr int MAX_LOCK_TRIES = 100;

bool Refuse(const std::string& strPath, const CString& strWhy, CString& strError) {
  strError = VCM::FromBytes(strPath) + L": " + strWhy;
  return false;
}

CString SystemReason(int nError) {
  return nError == ELOOP ? CString(L"is a symbolic link") : VCM::FromBytes(std::strerror(nError));
}

/// Why the file must not be used; null when it may.
const wchar_t* WhyUnfit(const struct stat& tStat, uid_t nUser) {
  if (S_ISLNK(tStat.st_mode)) return L"is a symbolic link";
  if (!S_ISREG(tStat.st_mode)) return L"is no plain file";
  if (tStat.st_uid != nUser) return L"belongs to another user";
  if (tStat.st_nlink > 1) return L"has a second name";
  return nullptr;
}

bool IsSameFile(const std::string& strPath, int nDescriptor) {
  struct stat tNamed = {};
  struct stat tOpen = {};
  return lstat(strPath.c_str(), &tNamed) == 0 && fstat(nDescriptor, &tOpen) == 0 &&
         tNamed.st_dev == tOpen.st_dev && tNamed.st_ino == tOpen.st_ino;
}

/// An open file, or the reason why not. nError is errno, or -1 for a file that must not be used.
struct TOpened {
  CDescriptor oFile;
  int nError = 0;
  CString strWhy;
};

TOpened Failure(int nError) {
  return {CDescriptor(), nError, SystemReason(nError)};
}
TOpened Unfit(const wchar_t* pszWhy) {
  return {CDescriptor(), -1, pszWhy};
}

/// Makes a new file. The umask can take bits away from open's mode, so the mode is set again.
TOpened MakeFile(const std::string& strPath) {
  CDescriptor oFile(open(strPath.c_str(), OPEN_FLAGS | O_CREAT | O_EXCL, FILE_MODE));
  if (!oFile.IsOpen()) return Failure(errno);
  if (fchmod(oFile.Get(), FILE_MODE) == 0) return {std::move(oFile), 0, {}};
  const int nError = errno;
  unlink(strPath.c_str());
  return Failure(nError);
}

TOpened OpenExisting(const std::string& strPath, uid_t nUser) {
  CDescriptor oFile(open(strPath.c_str(), OPEN_FLAGS));
  struct stat tStat = {};
  if (!oFile.IsOpen() || fstat(oFile.Get(), &tStat) != 0) return Failure(errno);
  if (const wchar_t* pszWhy = WhyUnfit(tStat, nUser)) return Unfit(pszWhy);
  if (fchmod(oFile.Get(), FILE_MODE) != 0) return Failure(errno);
  return {std::move(oFile), 0, {}};
}

CString WhoHolds(int nDescriptor) {
  std::array<char, 32> achText = {};
  const ssize_t nRead = pread(nDescriptor, achText.data(), achText.size(), 0);
  std::string_view strText(achText.data(), nRead > 0 ? static_cast<std::size_t>(nRead) : 0);
  strText = strText.substr(0, strText.find('\n'));
  return CString(L"is in use by process ") + VCM::FromBytes(strText.empty() ? "?" : strText);
}

}  // namespace

CDatabaseFiles::CDatabaseFiles(const std::string& strPath, uid_t nUser)
    : m_strLockPath(strPath + ".tlf"), m_strDataPath(strPath + ".tdf"), m_nUser(nUser) {}

// The lock is still held, so these are our own files.
CDatabaseFiles::~CDatabaseFiles() {
  if (m_bDataMade) unlink(m_strDataPath.c_str());
  if (m_bLockMade) unlink(m_strLockPath.c_str());
}

std::unique_ptr<CDatabaseFiles> CDatabaseFiles::Open(const std::string& strPath, bool bCreate, uid_t nUser,
                                                     CString& strError) {
  std::unique_ptr<CDatabaseFiles> poFiles(new CDatabaseFiles(strPath, nUser));
  if (!poFiles->TakeLock(strError)) return nullptr;
  if (bCreate) {
    if (!poFiles->RemoveLeftoverData(strError) || !poFiles->MakeData(strError)) return nullptr;
  } else if (!poFiles->OpenExistingData(strError)) {
    return nullptr;
  }
  return poFiles;
}

bool CDatabaseFiles::TakeLock(CString& strError) {
  for (int nTry = 0; nTry < MAX_LOCK_TRIES; ++nTry) {
    const TAttempt nAttempt = TryLock(strError);
    if (nAttempt != AGAIN) return nAttempt == TAKEN && WriteOwner(strError);
  }
  return Refuse(m_strLockPath, L"is replaced again and again by other processes", strError);
}

// flock locks belong to the open file, fcntl locks to the process. So a second owner in this process is
// refused as well, and closing another descriptor of the same file doesn't drop the lock.
CDatabaseFiles::TAttempt CDatabaseFiles::TryLock(CString& strError) {
  TOpened tLock = MakeFile(m_strLockPath);
  const bool bMade = tLock.oFile.IsOpen();
  if (tLock.nError == EEXIST) {
    tLock = OpenExisting(m_strLockPath, m_nUser);
    if (tLock.nError == ENOENT) return AGAIN;
  }
  if (!tLock.oFile.IsOpen()) return Refuse(m_strLockPath, tLock.strWhy, strError), REFUSED;
  const int nError = flock(tLock.oFile.Get(), LOCK_EX | LOCK_NB) == 0 ? 0 : errno;
  // Another process may have locked even a file that we have just made.
  if (nError == EWOULDBLOCK) return Refuse(m_strLockPath, WhoHolds(tLock.oFile.Get()), strError), REFUSED;
  // A former owner may have removed the file after we opened it and before we locked it.
  if (nError == 0 && !IsSameFile(m_strLockPath, tLock.oFile.Get())) return AGAIN;
  m_bLockMade = bMade;
  if (nError != 0) return Refuse(m_strLockPath, SystemReason(nError), strError), REFUSED;
  m_oLock = std::move(tLock.oFile);
  return TAKEN;
}

bool CDatabaseFiles::WriteOwner(CString& strError) const {
  const std::string strOwner = std::to_string(getpid()) + "\n";
  const bool bWritten =
      ftruncate(m_oLock.Get(), 0) == 0 &&
      pwrite(m_oLock.Get(), strOwner.data(), strOwner.size(), 0) == static_cast<ssize_t>(strOwner.size());
  return bWritten || Refuse(m_strLockPath, SystemReason(errno), strError);
}

bool CDatabaseFiles::OpenExistingData(CString& strError) {
  TOpened tData = OpenExisting(m_strDataPath, m_nUser);
  m_oData = std::move(tData.oFile);
  return m_oData.IsOpen() || Refuse(m_strDataPath, tData.strWhy, strError);
}

bool CDatabaseFiles::RemoveLeftoverData(CString& strError) const {
  struct stat tStat = {};
  if (lstat(m_strDataPath.c_str(), &tStat) != 0) {
    return errno == ENOENT || Refuse(m_strDataPath, SystemReason(errno), strError);
  }
  if (const wchar_t* pszWhy = WhyUnfit(tStat, m_nUser)) return Refuse(m_strDataPath, pszWhy, strError);
  return unlink(m_strDataPath.c_str()) == 0 || Refuse(m_strDataPath, SystemReason(errno), strError);
}

bool CDatabaseFiles::MakeData(CString& strError) {
  TOpened tData = MakeFile(m_strDataPath);
  m_oData = std::move(tData.oFile);
  m_bDataMade = m_oData.IsOpen();
  return m_bDataMade || Refuse(m_strDataPath, tData.strWhy, strError);
}

}  // namespace TALVEK::VDB

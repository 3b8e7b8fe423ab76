#include "core/file_stream.h"

#include <cerrno>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/descriptor.h"
#include "core/text_codec.h"

namespace TALVEK::VFH {

namespace {

int OpenForReading(const VCM::CString& strPath) {
  std::string strSystemPath;
  if (!VCM::ToSystemPath(strPath, strSystemPath)) return -1;
  return ::open(strSystemPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
}

bool IsReadable(int nDescriptor) {
  struct stat tStatus {};
  return nDescriptor >= 0 && ::fstat(nDescriptor, &tStatus) == 0 && !S_ISDIR(tStatus.st_mode);
}

}  // namespace

CFileReadStream::CFileReadStream(const VCM::CString& strPath) : CFileReadStream(OpenForReading(strPath)) {}

CFileReadStream::CFileReadStream(int nDescriptor) {
  VCM::CDescriptor oDescriptor(nDescriptor);
  if (IsReadable(nDescriptor)) {
    m_nDescriptor = oDescriptor.Release();
  } else {
    m_lasterror = wxSTREAM_READ_ERROR;
  }
}

CFileReadStream::~CFileReadStream() {
  if (m_nDescriptor >= 0) ::close(m_nDescriptor);
}

std::size_t CFileReadStream::OnSysRead(void* pBuffer, std::size_t nBytes) {
  // An error stays until Reset. wxInputStream::Read reads on after an error; if it then met the end of the
  // file, a damaged input would look complete.
  if (m_lasterror == wxSTREAM_READ_ERROR) return 0;
  ssize_t nRead = -1;
  if (m_nDescriptor >= 0) {
    do {
      nRead = ::read(m_nDescriptor, pBuffer, nBytes);
    } while (nRead < 0 && errno == EINTR);
  }
  m_lasterror = nRead > 0 ? wxSTREAM_NO_ERROR : nRead == 0 ? wxSTREAM_EOF : wxSTREAM_READ_ERROR;
  return nRead > 0 ? static_cast<std::size_t>(nRead) : 0;
}

wxFileOffset CFileReadStream::OnSysTell() const {
  const off_t nPosition = ::lseek(m_nDescriptor, 0, SEEK_CUR);
  return nPosition < 0 ? wxInvalidOffset : nPosition;
}

CFileWriteStream::~CFileWriteStream() {
  Close();
}

bool CFileWriteStream::Open(const VCM::CString& strPath, int nMode, unsigned nFlags) {
  Close();
  std::string strSystemPath;
  const bool bKnownMode = nMode == MODE_EXISTING || nMode == MODE_CREATE;
  if (!bKnownMode || nFlags != 0 || !VCM::ToSystemPath(strPath, strSystemPath)) return false;
  // O_NONBLOCK: opening a named pipe that nobody reads fails, where it would otherwise wait for a reader.
  const int nCommon = O_WRONLY | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  const int nCreation = nMode == MODE_CREATE ? O_CREAT | O_TRUNC : 0;
  m_nDescriptor = ::open(strSystemPath.c_str(), nCommon | nCreation, 0666);
  return IsOpen();
}

bool CFileWriteStream::Write(const void* pBytes, std::size_t nBytes) {
  if (!IsOpen()) return false;
  const char* pNext = static_cast<const char*>(pBytes);
  while (nBytes > 0) {
    const ssize_t nWritten = ::write(m_nDescriptor, pNext, nBytes);
    if (nWritten < 0 && errno == EINTR) continue;
    if (nWritten <= 0) return false;
    pNext += nWritten;
    nBytes -= static_cast<std::size_t>(nWritten);
  }
  return true;
}

bool CFileWriteStream::SetModificationTime(const VCM::CTimestamp& oTime) {
  const timespec tTime{static_cast<time_t>(oTime.GetUTC()), 0};
  const timespec atTimes[2] = {tTime, tTime};
  return IsOpen() && ::futimens(m_nDescriptor, atTimes) == 0;
}

bool CFileWriteStream::Close() {
  // Linux frees the descriptor even when close fails, so close must not be called twice.
  return !IsOpen() || ::close(std::exchange(m_nDescriptor, -1)) == 0;
}

}  // namespace TALVEK::VFH

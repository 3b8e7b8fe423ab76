#include "exact/spool.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <system_error>

#include <unistd.h>

namespace TALVEK::EXACT {

namespace {

constexpr std::size_t WRITE_BYTES = std::size_t{1} << 20;

[[noreturn]] void Fail(const char* pszWhat) {
  throw std::system_error(errno, std::generic_category(), pszWhat);
}

VCM::CDescriptor MakeFileIn(const std::string& strFolder) {
  std::string strName = strFolder + "/talvek-exact-XXXXXX";
  VCM::CDescriptor oFile(::mkostemp(strName.data(), O_CLOEXEC));
  if (oFile.IsOpen()) ::unlink(strName.c_str());
  return oFile;
}

// In /tmp where TMPDIR names no folder.
VCM::CDescriptor MakeFile() {
  const char* pszFolder = std::getenv("TMPDIR");
  VCM::CDescriptor oFile;
  if (pszFolder != nullptr && *pszFolder != '\0') oFile = MakeFileIn(pszFolder);
  if (!oFile.IsOpen()) oFile = MakeFileIn("/tmp");
  if (!oFile.IsOpen()) Fail("can't make a temporary file");
  return oFile;
}

}  // namespace

std::uint64_t CSpool::Append(const void* pBytes, std::size_t nBytes) {
  const std::uint64_t nOffset = Size();
  const std::size_t nLimit = m_oFile.IsOpen() ? WRITE_BYTES : m_nMemoryBytes;
  if (m_abBuffer.size() + nBytes > nLimit) Flush();
  const char* pFirst = static_cast<const char*>(pBytes);
  m_abBuffer.insert(m_abBuffer.end(), pFirst, pFirst + nBytes);
  return nOffset;
}

void CSpool::Flush() {
  if (m_abBuffer.empty()) return;
  if (!m_oFile.IsOpen()) m_oFile = MakeFile();
  for (std::size_t nDone = 0; nDone < m_abBuffer.size();) {
    const ssize_t nWritten = ::pwrite(m_oFile.Get(), m_abBuffer.data() + nDone, m_abBuffer.size() - nDone,
                                      static_cast<off_t>(m_nFileBytes + nDone));
    if (nWritten < 0 && errno == EINTR) continue;
    if (nWritten <= 0) Fail("can't write a temporary file");
    nDone += static_cast<std::size_t>(nWritten);
  }
  m_nFileBytes += m_abBuffer.size();
  m_abBuffer.clear();
  if (m_abBuffer.capacity() > WRITE_BYTES) m_abBuffer.shrink_to_fit();
}

void CSpool::Read(std::uint64_t nOffset, void* pBytes, std::size_t nBytes) const {
  char* pTarget = static_cast<char*>(pBytes);
  while (nBytes > 0 && nOffset < m_nFileBytes) {
    const std::size_t nWanted =
        static_cast<std::size_t>(std::min<std::uint64_t>(nBytes, m_nFileBytes - nOffset));
    const ssize_t nRead = ::pread(m_oFile.Get(), pTarget, nWanted, static_cast<off_t>(nOffset));
    if (nRead < 0 && errno == EINTR) continue;
    if (nRead == 0) errno = EIO;
    if (nRead <= 0) Fail("can't read a temporary file");
    pTarget += nRead;
    nOffset += static_cast<std::uint64_t>(nRead);
    nBytes -= static_cast<std::size_t>(nRead);
  }
  if (nBytes > 0) std::memcpy(pTarget, m_abBuffer.data() + (nOffset - m_nFileBytes), nBytes);
}

}  // namespace TALVEK::EXACT

#include "host/spool_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "core/descriptor.h"
#include "host/exit_status.h"

namespace TALVEK::HOST {
namespace {

[[noreturn]] void ThrowSpoolError() {
  throw EHostError(STATUS_FAILED, std::string("a temporary file can't be used: ") + std::strerror(errno),
                   "make room in the temporary folder, or point TMPDIR to another one");
}

}  // namespace

// Not tmpfile(), which ignores TMPDIR.
CSpoolFile::CSpoolFile() {
  std::error_code oError;
  const std::filesystem::path oTemp = std::filesystem::temp_directory_path(oError);
  std::string strName = (oError ? std::filesystem::path("/tmp") : oTemp) / "talvek-spool-XXXXXX";
  VCM::CDescriptor oFile(mkostemp(strName.data(), O_CLOEXEC));
  if (!oFile.IsOpen()) ThrowSpoolError();
  unlink(strName.c_str());
  m_poFile.reset(fdopen(oFile.Get(), "w+"));
  if (!m_poFile) ThrowSpoolError();
  oFile.Release();
}

std::uint64_t CSpoolFile::Append(std::string_view strBytes) {
  if (std::fwrite(strBytes.data(), 1, strBytes.size(), m_poFile.get()) != strBytes.size()) ThrowSpoolError();
  const std::uint64_t nOffset = m_nSize;
  m_nSize += strBytes.size();
  return nOffset;
}

void CSpoolFile::Seek(std::uint64_t nOffset) {
  if (std::fflush(m_poFile.get()) != 0) ThrowSpoolError();
  if (fseeko(m_poFile.get(), static_cast<off_t>(nOffset), SEEK_SET) != 0) ThrowSpoolError();
}

std::string CSpoolFile::Read(std::size_t nSize) {
  std::string strBytes(nSize, '\0');
  if (std::fread(strBytes.data(), 1, nSize, m_poFile.get()) != nSize) ThrowSpoolError();
  return strBytes;
}

void CSpoolFile::Copy(std::uint64_t nOffset, std::uint64_t nSize, CByteSink& oSink) {
  constexpr std::uint64_t BLOCK_BYTES = std::uint64_t{64} * 1024;
  Seek(nOffset);
  while (nSize > 0) {
    const std::uint64_t nBlock = std::min(nSize, BLOCK_BYTES);
    oSink.Write(Read(nBlock));
    nSize -= nBlock;
  }
}

void CItemSpool::EndChange() {
  AppendNumber(m_astrPaths.size());
  for (const std::string& strPath : m_astrPaths) {
    AppendNumber(strPath.size());
    m_oFile.Append(strPath);
  }
  m_astrPaths.clear();
}

std::vector<std::string> CItemSpool::ReadChange() {
  std::vector<std::string> astrPaths(ReadNumber());
  for (std::string& strPath : astrPaths)
    strPath = m_oFile.Read(ReadNumber());
  return astrPaths;
}

void CItemSpool::AppendNumber(std::size_t nNumber) {
  char achBytes[sizeof nNumber];
  std::memcpy(achBytes, &nNumber, sizeof nNumber);
  m_oFile.Append(std::string_view(achBytes, sizeof nNumber));
}

std::size_t CItemSpool::ReadNumber() {
  std::size_t nNumber = 0;
  std::memcpy(&nNumber, m_oFile.Read(sizeof nNumber).data(), sizeof nNumber);
  return nNumber;
}

}  // namespace TALVEK::HOST

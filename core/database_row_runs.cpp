#include "core/database_row_runs.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace TALVEK::VDB {

namespace {

constexpr std::size_t WRITE_BLOCK = std::size_t{256} << 10;
constexpr std::size_t READ_BLOCK = std::size_t{32} << 10;

using TSizes = std::array<std::uint32_t, 2>;  // of key and row

}  // namespace

void CRowRuns::BeginRun() {
  const std::uint64_t nBegin = IsEmpty() ? 0 : m_atRuns.back().nEnd;
  m_atRuns.push_back({nBegin, nBegin});
}

bool CRowRuns::Add(std::string_view strKey, std::string_view strRow) {
  const TSizes anSizes = {static_cast<std::uint32_t>(strKey.size()),
                          static_cast<std::uint32_t>(strRow.size())};
  m_strBuffer.append(reinterpret_cast<const char*>(anSizes.data()), sizeof anSizes);
  m_strBuffer += strKey;
  m_strBuffer += strRow;
  return m_strBuffer.size() < WRITE_BLOCK || FlushBuffer();
}

bool CRowRuns::FlushBuffer() {
  std::string_view strRest = m_strBuffer;
  while (!strRest.empty()) {
    std::uint64_t& nEnd = m_atRuns.back().nEnd;
    const ssize_t nWritten = pwrite(m_oFile.Get(), strRest.data(), strRest.size(), static_cast<off_t>(nEnd));
    if (nWritten < 0 && errno == EINTR) continue;
    if (nWritten <= 0) return Fail(nWritten < 0 ? errno : EIO);
    nEnd += static_cast<std::uint64_t>(nWritten);
    strRest.remove_prefix(static_cast<std::size_t>(nWritten));
  }
  m_strBuffer.clear();
  return true;
}

bool CRowRuns::Fail(int nError) {
  m_nError = nError;
  return false;
}

bool CRowRuns::BeginMerge() {
  for (const TRun& tRun : m_atRuns) {
    m_aoReaders.emplace_back(m_oFile.Get(), tRun);
    if (!Enter(m_aoReaders.size() - 1)) return false;
  }
  return true;
}

/// Puts a run's next row where it belongs among the others.
bool CRowRuns::Enter(std::size_t nRun) {
  CReader& oReader = m_aoReaders[nRun];
  if (!oReader.Next()) return Fail(errno);
  if (oReader.IsAtEnd()) return true;
  m_atHeap.push_back({KeyBeginning(oReader.Key()), nRun});
  std::push_heap(m_atHeap.begin(), m_atHeap.end(), ComesLater());
  return true;
}

bool CRowRuns::Advance() {
  const std::size_t nRun = m_atHeap.front().nRun;
  std::pop_heap(m_atHeap.begin(), m_atHeap.end(), ComesLater());
  m_atHeap.pop_back();
  return Enter(nRun);
}

/// The file gives its room back.
bool CRowRuns::EndMerge() {
  m_atRuns.clear();
  m_atHeap.clear();
  m_aoReaders = {};
  m_strBuffer = {};
  return ftruncate(m_oFile.Get(), 0) == 0 || Fail(errno);
}

bool CRowRuns::CReader::Next() {
  m_nPosition += m_nKeySize + m_nRowSize;
  m_nKeySize = m_nRowSize = 0;
  if (m_nPosition == m_strBuffer.size() && m_tRest.nBegin == m_tRest.nEnd) return true;
  TSizes anSizes = {};
  if (!Fill(sizeof anSizes)) return false;
  std::memcpy(anSizes.data(), Here().data(), sizeof anSizes);
  if (!Fill(sizeof anSizes + anSizes[0] + anSizes[1])) return false;
  m_nPosition += sizeof anSizes;
  m_nKeySize = anSizes[0];
  m_nRowSize = anSizes[1];
  return true;
}

/// Sees to it that the buffer holds so many bytes from the position on.
bool CRowRuns::CReader::Fill(std::size_t nBytes) {
  if (Here().size() >= nBytes) return true;
  m_strBuffer.erase(0, m_nPosition);
  m_nPosition = 0;
  while (m_strBuffer.size() < nBytes) {
    const std::size_t nHad = m_strBuffer.size();
    const std::size_t nWanted =
        std::min<std::size_t>(std::max(nBytes, READ_BLOCK) - nHad, m_tRest.nEnd - m_tRest.nBegin);
    m_strBuffer.resize(nHad + nWanted);
    const ssize_t nRead =
        pread(m_nDescriptor, m_strBuffer.data() + nHad, nWanted, static_cast<off_t>(m_tRest.nBegin));
    m_strBuffer.resize(nHad + static_cast<std::size_t>(std::max<ssize_t>(nRead, 0)));
    if (nRead < 0 && errno == EINTR) continue;
    if (nRead == 0) errno = EIO;  // the file has been cut
    if (nRead <= 0) return false;
    m_tRest.nBegin += static_cast<std::uint64_t>(nRead);
  }
  return true;
}

}  // namespace TALVEK::VDB

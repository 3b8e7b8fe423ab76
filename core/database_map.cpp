#include "core/database_map.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <memory>

namespace TALVEK::VDB {

namespace {

struct TCloseFile {
  void operator()(std::FILE* poFile) const { std::fclose(poFile); }
};
using TFilePtr = std::unique_ptr<std::FILE, TCloseFile>;

struct TResident {
  std::size_t nBytes = 0;
  std::size_t nFileBytes = 0;  ///< of mapped files
};

/// The process's resident memory; zeros when /proc can't be read.
TResident AskResident() {
  const TFilePtr poFile(std::fopen("/proc/self/statm", "re"));
  std::size_t nPages = 0;
  std::size_t nFilePages = 0;
  if (!poFile || std::fscanf(poFile.get(), "%*u %zu %zu", &nPages, &nFilePages) != 2) return {};
  const auto nPageBytes = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  return {nPages * nPageBytes, nFilePages * nPageBytes};
}

}  // namespace

// LMDB doesn't say where its map is, so look for one of this file (inode) and size. The device isn't
// compared, because on some file systems /proc shows another number than fstat.
CStoreMap::CStoreMap(int nDescriptor, std::size_t nBytes) {
  struct stat tStat = {};
  const TFilePtr poMaps(std::fopen("/proc/self/maps", "re"));
  if (!poMaps || fstat(nDescriptor, &tStat) != 0) return;
  char szLine[512];
  while (std::fgets(szLine, sizeof szLine, poMaps.get())) {
    std::uintptr_t nStart = 0;
    std::uintptr_t nEnd = 0;
    unsigned long nInode = 0;
    if (std::sscanf(szLine, "%lx-%lx %*s %*x %*x:%*x %lu", &nStart, &nEnd, &nInode) != 3) continue;
    if (nInode != tStat.st_ino || nEnd - nStart != nBytes) continue;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the kernel gives addresses as numbers.
    m_pStart = reinterpret_cast<void*>(nStart);
    m_nBytes = nBytes;
    m_nFileBytesBefore = AskResident().nFileBytes;
  }
}

void CStoreMap::Trim(std::size_t nMostBytes) const {
  if (!m_pStart) return;
  const TResident tResident = AskResident();
  if (tResident.nBytes <= nMostBytes || tResident.nFileBytes <= m_nFileBytesBefore + FEW_FILE_BYTES) return;
  madvise(m_pStart, m_nBytes, MADV_DONTNEED);
}

}  // namespace TALVEK::VDB

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

/// Bytes of mapped files that are in memory; 0 when the system doesn't tell.
std::size_t ResidentFileBytes() {
  const TFilePtr poFile(std::fopen("/proc/self/statm", "re"));
  std::size_t nPages = 0;
  if (!poFile || std::fscanf(poFile.get(), "%*u %*u %zu", &nPages) != 1) return 0;
  return nPages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace

// LMDB doesn't tell where its map is. The size sets it apart from other maps of the file, the inode from
// other files; the device isn't compared, as some file systems give another number here.
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
    m_pStart = reinterpret_cast<void*>(nStart);
    m_nBytes = nBytes;
  }
}

void CStoreMap::Trim() const {
  if (m_pStart && ResidentFileBytes() > MAX_RESIDENT_BYTES) madvise(m_pStart, m_nBytes, MADV_DONTNEED);
}

}  // namespace TALVEK::VDB

#include "core/database_map.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <fstream>
#include <string>

#include "core/descriptor.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {

using VDB::CStoreMap;

namespace {

constexpr std::size_t PAGE_BYTES = 4096;

/// A file of zeros, mapped and read from end to end.
class CReadFile {
 public:
  CReadFile(const std::string& strPath, std::size_t nBytes)
      : m_oFile(open(strPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)), m_nBytes(nBytes) {
    EXPECT_EQ(ftruncate(m_oFile.Get(), static_cast<off_t>(nBytes)), 0);
    m_pStart = static_cast<const char*>(mmap(nullptr, nBytes, PROT_READ, MAP_SHARED, m_oFile.Get(), 0));
  }
  ~CReadFile() { munmap(const_cast<char*>(m_pStart), m_nBytes); }
  CReadFile(const CReadFile&) = delete;
  CReadFile& operator=(const CReadFile&) = delete;

  int GetDescriptor() const { return m_oFile.Get(); }
  int Sum() const {
    int nSum = 0;
    for (std::size_t i = 0; i < m_nBytes; i += PAGE_BYTES)
      nSum += m_pStart[i];
    return nSum;
  }

 private:
  VCM::CDescriptor m_oFile;
  std::size_t m_nBytes;
  const char* m_pStart = nullptr;
};

std::size_t ResidentFilePages() {
  std::size_t nIgnored = 0;
  std::size_t nPages = 0;
  std::ifstream("/proc/self/statm") >> nIgnored >> nIgnored >> nPages;
  return nPages;
}

}  // namespace

TEST(DatabaseMapTest, PagesBeyondTheLimitAreUnmapped) {
  const CTempFolder oFolder;
  const std::size_t nBytes = CStoreMap::FEW_FILE_BYTES + (std::size_t{16} << 20);
  const CReadFile oFile((oFolder / "data").string(), nBytes);
  const CStoreMap oMap(oFile.GetDescriptor(), nBytes);
  const CStoreMap oOtherMap(oFile.GetDescriptor(), nBytes / 2);
  const std::size_t nBefore = ResidentFilePages();
  EXPECT_EQ(oFile.Sum(), 0);
  ASSERT_GE(ResidentFilePages(), nBefore + nBytes / PAGE_BYTES);
  // With another size it isn't this map, so nothing is unmapped.
  oOtherMap.Trim(0);
  EXPECT_GE(ResidentFilePages(), nBefore + nBytes / PAGE_BYTES);
  // The process is below the limit, so nothing is unmapped.
  oMap.Trim(std::size_t{1} << 40);
  EXPECT_GE(ResidentFilePages(), nBefore + nBytes / PAGE_BYTES);
  oMap.Trim(0);
  EXPECT_LT(ResidentFilePages(), nBefore + nBytes / PAGE_BYTES / 2);
  EXPECT_EQ(oFile.Sum(), 0);
}

TEST(DatabaseMapTest, FewPagesStay) {
  const CTempFolder oFolder;
  const std::size_t nBytes = std::size_t{4} << 20;
  const CReadFile oFile((oFolder / "data").string(), nBytes);
  const CStoreMap oMap(oFile.GetDescriptor(), nBytes);
  const std::size_t nBefore = ResidentFilePages();
  EXPECT_EQ(oFile.Sum(), 0);
  oMap.Trim(0);
  EXPECT_GE(ResidentFilePages(), nBefore + nBytes / PAGE_BYTES);
}

TEST(DatabaseMapTest, WithoutAMapNothingHappens) {
  CStoreMap().Trim();
  CStoreMap(-1, PAGE_BYTES).Trim();
}

}  // namespace TALVEK::TEST

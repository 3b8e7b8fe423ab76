#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <string>

#include <wx/mstream.h>

#include "fuzz/heap_meter.h"
#include "mce/provider.h"
#include "mcv/log_parser.h"
#include "tests/support/child_process.h"

namespace TALVEK::TEST {
namespace {

enum TOutcome : int { MADE, FAILED_AND_RELEASED, FAILED_AND_KEPT, RETURNED_NULL };

/// Creates a provider with one failing allocation, and destroys it if none has failed.
TOutcome CreateWithFailingAllocation(TALVEK_EM_CREATEPROVIDER* pfnCreate, std::uint64_t nAllocations) {
  const std::size_t nBefore = FUZZ::GetHeapUse().nLiveBytes;
  FUZZ::FailAllocationAfter(nAllocations);
  try {
    MCE::CProvider* const poProvider = pfnCreate();
    if (!poProvider) return RETURNED_NULL;
    poProvider->Destroy();
    return MADE;
  } catch (const std::bad_alloc&) {
    return FUZZ::GetHeapUse().nLiveBytes == nBefore ? FAILED_AND_RELEASED : FAILED_AND_KEPT;
  }
}

TEST(PluginHeapTest, ProviderThatCannotBeMadeThrowsAndLeavesNoMemoryBehind) {
  void* const pPlugin = dlopen(TALVEK_LIB_DIR "/talvek-em-cvs.so", RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(pPlugin, nullptr) << dlerror();
  auto* const pfnCreate =
      reinterpret_cast<TALVEK_EM_CREATEPROVIDER*>(dlsym(pPlugin, "talvek_em_cvs_createprovider"));
  ASSERT_NE(pfnCreate, nullptr);
  int nOutcome = FAILED_AND_RELEASED;
  std::uint64_t nAllocations = 0;
  // The first allocation is the object itself, the others are its members'.
  for (; nOutcome == FAILED_AND_RELEASED; ++nAllocations)
    nOutcome = RunInChild([&] { return CreateWithFailingAllocation(pfnCreate, nAllocations); });
  EXPECT_EQ(nOutcome, MADE) << "when allocation " << nAllocations << " fails";
  EXPECT_GT(nAllocations, 3u);
  dlclose(pPlugin);
}

/// Headers of files with different symbolic names, in each just enough that the next header starts a new
/// pool.
std::string HeadersThatFillAPoolEach(int nFiles) {
  constexpr int NAMES = 262145;
  std::string strLog;
  for (int nFile = 0; nFile < nFiles; ++nFile) {
    strLog += "RCS file: /repo/mod/a,v\nsymbolic names:\n";
    for (int i = 0; i < NAMES; ++i)
      strLog += "\tNAME_" + std::to_string(nFile) + "_" + std::to_string(i) + ": 1\n";
    strLog += "==========\n";
  }
  return strLog;
}

/// The peak of allocated memory while a log is parsed, above that before.
std::size_t PeakOfParsing(const std::string& strLog) {
  const std::size_t nBefore = FUZZ::GetHeapUse().nLiveBytes;
  FUZZ::ResetHeapPeak();
  wxMemoryInputStream oInput(strLog.data(), strLog.size());
  MCV::CLogParser oParser(&oInput, L"mod", L"/repo");
  MCV::TLogItem tItem;
  while (oParser.GetNextItem(tItem, {}, {}, true)) {
  }
  return FUZZ::GetHeapUse().nPeakBytes - nBefore;
}

TEST(StringPoolHeapTest, NoMoreThanTwoPoolsLiveAtOnce) {
  const std::size_t nTwoPools = PeakOfParsing(HeadersThatFillAPoolEach(2));
  EXPECT_GT(nTwoPools, PeakOfParsing(HeadersThatFillAPoolEach(1)) * 5 / 4);
  EXPECT_LT(PeakOfParsing(HeadersThatFillAPoolEach(5)), nTwoPools * 11 / 10);
}

}  // namespace
}  // namespace TALVEK::TEST

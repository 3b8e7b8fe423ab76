// A whole search for streams and changes: from a saved log through the engine into the database and out.

#include <cstdint>
#include <string>

#include "fuzz/check.h"
#include "fuzz/history_checks.h"
#include "fuzz/plain_history.h"
#include "fuzz/work_limits.h"

namespace TALVEK::FUZZ {

namespace {

/// Rows, their keys, and what the iterators read again for each item.
constexpr CWorkLimits::TRates RATES{.nHeapBytes = 1024, .nAllocations = 60, .nMicroseconds = 200};

/// Options: those of CSearchedProvider;  w  walk over the changes, which makes the folders of the files.
void Run(const CFuzzInput& oInput) {
  CSearchedProvider oProvider(oInput);
  const CWorkLimits oLimits(oInput.Text().size(), RATES);
  Check(oProvider.Establish(oInput.Text()), "any log that can be read gives a history");
  oLimits.Check();
  CheckStreams(oProvider);
  const std::vector<TStoredChange> atChanges = oProvider.ReadChanges();
  CheckChanges(oProvider, atChanges);
  CheckLinkage(oProvider, atChanges);
  CompareItems(PlainItems(oInput.Text(), oInput, oProvider), atChanges);
  if (oInput.Has('w')) CheckWalk(oProvider, atChanges);
}

}  // namespace

}  // namespace TALVEK::FUZZ

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nBytes) {
  TALVEK::FUZZ::Run(TALVEK::FUZZ::CFuzzInput(pBytes, nBytes));
  return 0;
}

// A whole search for streams and changes: a saved log goes through the engine into the database, and is read
// back.

#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/check.h"
#include "fuzz/history_checks.h"
#include "fuzz/plain_history.h"
#include "fuzz/work_limits.h"

namespace TALVEK::FUZZ {

namespace {

constexpr int REPETITIONS = 32;
/// Larger histories aren't compared: each stream and change item costs a linear search.
constexpr std::size_t MAX_COMPARED = 1000;

/// Higher than by default: rows have keys, and reading them back allocates again.
constexpr CWorkLimits::TRates RATES{.nHeapBytes = 256, .nAllocations = 8, .nMicroseconds = 30};

/// Options: those of CSearchedProvider and of CFuzzInput::Expanded;  w  walk over the changes, which makes
/// folders.
void Run(const CFuzzInput& oInput) {
  const std::string strLog = oInput.Expanded(REPETITIONS);
  CSearchedProvider oProvider(oInput);
  const CWorkLimits oLimits(strLog.size(), RATES);
  Check(oProvider.Establish(strLog), "any log that can be read gives a history");
  oLimits.Check();
  CheckStreams(oProvider);
  const std::vector<TStoredChange> atChanges = oProvider.ReadChanges();
  CheckChanges(oProvider, atChanges);
  if (static_cast<std::size_t>(oProvider.m_oStreams.GetCount()) + atChanges.size() > MAX_COMPARED) return;
  CheckLinkage(oProvider, atChanges);
  CompareItems(PlainItems(strLog, oInput, oProvider), atChanges);
  if (oInput.Has('w')) CheckWalk(oProvider, atChanges);
}

}  // namespace

}  // namespace TALVEK::FUZZ

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nBytes) {
  TALVEK::FUZZ::Run(TALVEK::FUZZ::CFuzzInput(pBytes, nBytes));
  return 0;
}

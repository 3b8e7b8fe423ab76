// The text of `cvs rlog`, cut into items.

#include <cstdint>
#include <string>

#include "fuzz/check.h"
#include "fuzz/log_items.h"
#include "fuzz/work_limits.h"

namespace TALVEK::FUZZ {

namespace {

constexpr std::size_t BLOCK_BYTES = 65536;
constexpr int REPETITIONS = 64;

/// What takes more than linear time shows only in a long log.
std::string Repeat(std::string_view strLog) {
  std::string strRepeated;
  for (int i = 0; i < REPETITIONS; ++i)
    strRepeated += strLog;
  return strRepeated;
}

void ReadOnce(std::string_view strLog, const TLogOptions& tOptions) {
  const CWorkLimits oLimits(strLog.size());
  ReadItems(strLog, BLOCK_BYTES, tOptions);
  oLimits.Check();
}

/// Options: those of TLogOptions; 1, 7  read in pieces of that many bytes, too;  r  read the log repeated.
void Run(const CFuzzInput& oInput) {
  const TLogOptions tOptions(oInput);
  const std::string_view strLog = oInput.Text();
  ReadOnce(strLog, tOptions);
  if (oInput.Has('r')) ReadOnce(Repeat(strLog), tOptions);
  for (const std::size_t nPiece : {std::size_t{1}, std::size_t{7}}) {
    if (!oInput.Has(static_cast<char>('0' + nPiece))) continue;
    Check(ReadItems(strLog, nPiece, tOptions) == ReadItems(strLog, BLOCK_BYTES, tOptions),
          "the items don't hang on how the bytes arrive");
  }
}

}  // namespace

}  // namespace TALVEK::FUZZ

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nBytes) {
  TALVEK::FUZZ::Run(TALVEK::FUZZ::CFuzzInput(pBytes, nBytes));
  return 0;
}

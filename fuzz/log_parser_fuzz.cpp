// Cutting the output of `cvs rlog` into items.

#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/check.h"
#include "fuzz/log_items.h"
#include "fuzz/work_limits.h"

namespace TALVEK::FUZZ {

namespace {

constexpr std::size_t BLOCK_BYTES = 65536;
constexpr int REPETITIONS = 64;

/// Options: those of TLogOptions and of CFuzzInput::Expanded;  1, 7  also read in pieces of that many bytes.
void Run(const CFuzzInput& oInput) {
  const TLogOptions tOptions(oInput);
  const std::string strLog = oInput.Expanded(REPETITIONS);
  const CWorkLimits oLimits(strLog.size());
  const std::vector<TPlainItem> atItems = ReadItems(strLog, BLOCK_BYTES, tOptions);
  oLimits.Check();
  for (const std::size_t nPiece : {std::size_t{1}, std::size_t{7}}) {
    if (!oInput.Has(static_cast<char>('0' + nPiece))) continue;
    Check(ReadItems(strLog, nPiece, tOptions) == atItems, "the items don't depend on how the bytes arrive");
  }
}

}  // namespace

}  // namespace TALVEK::FUZZ

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nBytes) {
  TALVEK::FUZZ::Run(TALVEK::FUZZ::CFuzzInput(pBytes, nBytes));
  return 0;
}

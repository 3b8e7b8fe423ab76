#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "host/console.h"

namespace TALVEK::HOST {

/// Shows how far the run is: on a terminal one line that is updated in place, elsewhere a line at the start
/// of a phase and then one every ten seconds. Advance is cheap enough to be called for each item.
class CProgress {
 public:
  using TClock = std::chrono::steady_clock;

  CProgress(CConsole& oConsole, bool bQuiet) : m_oConsole(oConsole), m_bQuiet(bQuiet) {}
  CProgress(const CProgress&) = delete;
  CProgress& operator=(const CProgress&) = delete;

  /// `nTotal` 0: not known. `pszUnit` is a plural: "files".
  void BeginPhase(const char* pszPhase, const char* pszUnit, std::uint64_t nTotal);
  /// `nDone` is the number done in this phase so far.
  void Advance(std::uint64_t nDone);
  void EndPhase();

 private:
  void Show(TClock::time_point tNow);

  CConsole& m_oConsole;
  bool m_bQuiet;
  std::string m_strPhase;
  std::string m_strUnit;
  std::uint64_t m_nTotal = 0;
  std::uint64_t m_nDone = 0;
  TClock::time_point m_tBegin;
  TClock::time_point m_tShown;
};

/// "importing: 120 of 4000 changesets, 35/s, 1:50 left". A total of 0 is not shown, nor is the rate in the
/// first second.
std::string ProgressText(const std::string& strPhase, const std::string& strUnit, std::uint64_t nDone,
                         std::uint64_t nTotal, double nSeconds);

}  // namespace TALVEK::HOST

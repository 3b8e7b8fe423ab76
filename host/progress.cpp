#include "host/progress.h"

#include <cmath>

namespace TALVEK::HOST {
namespace {

constexpr auto TERMINAL_INTERVAL = std::chrono::milliseconds(100);
constexpr auto PLAIN_INTERVAL = std::chrono::seconds(10);

std::string TwoDigits(std::uint64_t nNumber) {
  return (nNumber < 10 ? "0" : "") + std::to_string(nNumber);
}

std::string DurationText(std::uint64_t nSeconds) {
  const std::uint64_t nHours = nSeconds / 3600;
  const std::uint64_t nMinutes = nSeconds / 60 % 60;
  const std::string strMinutes =
      nHours > 0 ? std::to_string(nHours) + ':' + TwoDigits(nMinutes) : std::to_string(nMinutes);
  return strMinutes + ':' + TwoDigits(nSeconds % 60);
}

std::string RateText(double nRate) {
  if (nRate >= 10) return std::to_string(std::llround(nRate)) + "/s";
  const auto nTenths = std::llround(nRate * 10);
  return std::to_string(nTenths / 10) + '.' + std::to_string(nTenths % 10) + "/s";
}

}  // namespace

std::string ProgressText(const std::string& strPhase, const std::string& strUnit, std::uint64_t nDone,
                         std::uint64_t nTotal, double nSeconds) {
  std::string strText = strPhase + ": " + std::to_string(nDone);
  if (nTotal > 0) strText += " of " + std::to_string(nTotal);
  strText += ' ' + strUnit;
  // In the first second the rate is not yet meaningful.
  if (nDone == 0 || nSeconds < 1) return strText;
  const double nRate = static_cast<double>(nDone) / nSeconds;
  strText += ", " + RateText(nRate);
  if (nTotal > nDone) {
    const double nLeft = static_cast<double>(nTotal - nDone) / nRate;
    strText += ", " + DurationText(static_cast<std::uint64_t>(std::llround(nLeft))) + " left";
  }
  return strText;
}

void CProgress::BeginPhase(const char* pszPhase, const char* pszUnit, std::uint64_t nTotal) {
  m_strPhase = pszPhase;
  m_strUnit = pszUnit;
  m_nTotal = nTotal;
  m_nDone = 0;
  m_tBegin = TClock::now();
  m_tShown = m_tBegin;
  if (m_bQuiet) return;
  if (m_oConsole.IsTerminal()) {
    Show(m_tBegin);
  } else {
    m_oConsole.Line(m_strPhase);
  }
}

void CProgress::Advance(std::uint64_t nDone) {
  m_nDone = nDone;
  if (m_bQuiet || m_strPhase.empty()) return;
  const TClock::time_point tNow = TClock::now();
  const TClock::duration tInterval =
      m_oConsole.IsTerminal() ? TClock::duration(TERMINAL_INTERVAL) : TClock::duration(PLAIN_INTERVAL);
  if (tNow - m_tShown >= tInterval) Show(tNow);
}

void CProgress::EndPhase() {
  m_strPhase.clear();
  m_oConsole.ClearTransient();
}

void CProgress::Show(TClock::time_point tNow) {
  m_tShown = tNow;
  const double nSeconds = std::chrono::duration<double>(tNow - m_tBegin).count();
  const std::string strText = ProgressText(m_strPhase, m_strUnit, m_nDone, m_nTotal, nSeconds);
  if (m_oConsole.IsTerminal()) {
    m_oConsole.Transient(strText);
  } else {
    m_oConsole.Line(strText);
  }
}

}  // namespace TALVEK::HOST

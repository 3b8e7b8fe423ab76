#include "fuzz/fuzz_input.h"

#include <clocale>
#include <cstdlib>

namespace TALVEK::FUZZ {

namespace {

/// The same locale and time zone for each run.
struct TSurroundings {
  TSurroundings() {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    ::setenv("TZ", "UTC", 1);
  }
};
const TSurroundings SURROUNDINGS;

void AppendRun(std::string_view strRun, int nTimes, std::string& strOut) {
  for (int i = 1; i <= nTimes && !strRun.empty(); ++i) {
    for (const char ch : strRun)
      ch == '#' ? strOut += std::to_string(i) : strOut += ch;
  }
}

}  // namespace

CFuzzInput::CFuzzInput(const std::uint8_t* pBytes, std::size_t nBytes)
    : m_strText(reinterpret_cast<const char*>(pBytes), nBytes) {
  if (!m_strText.starts_with('-')) return;
  const std::size_t nEnd = m_strText.find('\n');
  m_strOptions = m_strText.substr(1, nEnd == std::string_view::npos ? nEnd : nEnd - 1);
  m_strText.remove_prefix(nEnd == std::string_view::npos ? nBytes : nEnd + 1);
}

std::string CFuzzInput::Expanded(int nTimes) const {
  if (!Has('r')) return std::string(m_strText);
  std::string strExpanded;
  std::string strRun;
  for (const std::string_view strLine : Lines()) {
    if (strLine.find('#') != std::string_view::npos) {
      strRun.append(strLine) += '\n';
      continue;
    }
    AppendRun(strRun, nTimes, strExpanded);
    strRun.clear();
    strExpanded.append(strLine) += '\n';
  }
  AppendRun(strRun, nTimes, strExpanded);
  return strExpanded;
}

std::vector<std::string_view> CFuzzInput::Lines() const {
  std::vector<std::string_view> astrLines;
  std::string_view strRest = m_strText;
  for (;;) {
    const std::size_t nEnd = strRest.find('\n');
    astrLines.push_back(strRest.substr(0, nEnd));
    if (nEnd == std::string_view::npos) return astrLines;
    strRest.remove_prefix(nEnd + 1);
  }
}

}  // namespace TALVEK::FUZZ

#include "fuzz/fuzz_input.h"

#include <clocale>
#include <cstdlib>

namespace TALVEK::FUZZ {

namespace {

/// The same surroundings for each run.
struct TSurroundings {
  TSurroundings() {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    ::setenv("TZ", "UTC", 1);
  }
};
const TSurroundings SURROUNDINGS;

}  // namespace

CFuzzInput::CFuzzInput(const std::uint8_t* pBytes, std::size_t nBytes)
    : m_strText(reinterpret_cast<const char*>(pBytes), nBytes) {
  if (!m_strText.starts_with('-')) return;
  const std::size_t nEnd = m_strText.find('\n');
  m_strOptions = m_strText.substr(1, nEnd == std::string_view::npos ? nEnd : nEnd - 1);
  m_strText.remove_prefix(nEnd == std::string_view::npos ? nBytes : nEnd + 1);
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

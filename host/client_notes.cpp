#include "host/client_notes.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <map>
#include <utility>
#include <vector>

#include "host/text_output.h"

namespace TALVEK::HOST {
namespace {

constexpr const char* VARIABLE = "CVS_SESSION_NOTES";

}  // namespace

CClientNotes::CClientNotes() : m_oFile(m_oFolder.GetPath() / "client-notes") {
  std::ofstream oCreated(m_oFile);
  setenv(VARIABLE, m_oFile.c_str(), 1);
}

CClientNotes::~CClientNotes() {
  unsetenv(VARIABLE);
}

std::string CClientNotes::GetText() const {
  std::map<std::string, std::uint64_t> anCounts;
  std::uint64_t nTotal = 0;
  std::ifstream oNotes(m_oFile, std::ios::binary);
  std::string strReason;
  while (std::getline(oNotes, strReason)) {
    ++anCounts[strReason];
    ++nTotal;
  }
  if (nTotal == 0) return "";
  std::vector<std::pair<std::string, std::uint64_t>> atReasons(anCounts.begin(), anCounts.end());
  std::stable_sort(atReasons.begin(), atReasons.end(),
                   [](const auto& tLeft, const auto& tRight) { return tLeft.second > tRight.second; });
  std::string strText = ShowCount(nTotal, "checkout") + " took the slow way through cvs";
  const char* pszSeparator = ": ";
  for (const auto& [strEach, nCount] : atReasons) {
    strText += pszSeparator + std::to_string(nCount) + ' ' + ShowBytes(strEach);
    pszSeparator = "; ";
  }
  return strText;
}

}  // namespace TALVEK::HOST

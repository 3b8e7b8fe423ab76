#include "session/byte_source.h"

#include <algorithm>

#include "session/failure.h"

namespace TALVEK::SESSION {

namespace {

constexpr std::size_t MAX_LINE = 1 << 16;

}  // namespace

std::string CReplyReader::ReadLine() {
  std::size_t nSearched = m_nUsed;
  for (;;) {
    const std::size_t nEnd = m_strPending.find('\n', nSearched);
    const std::size_t nLength = std::min(nEnd, m_strPending.size()) - m_nUsed;
    if (nLength > MAX_LINE) throw Aborted("the server sends a line that is too long");
    if (nEnd != std::string::npos) {
      std::string strLine = m_strPending.substr(m_nUsed, nLength);
      m_nUsed = nEnd + 1;
      if (strLine.find('\0') != std::string::npos) throw Aborted("the server sends a NUL in a line");
      return strLine;
    }
    m_strPending.erase(0, m_nUsed);
    m_nUsed = 0;
    nSearched = m_strPending.size();
    m_strPending += m_oSource.Read();
  }
}

void CReplyReader::ReadBytes(std::uint64_t nBytes, const std::function<void(std::string_view)>& fnTake) {
  while (nBytes > 0) {
    if (m_nUsed == m_strPending.size()) {
      m_strPending = m_oSource.Read();
      m_nUsed = 0;
    }
    const std::size_t nPiece =
        static_cast<std::size_t>(std::min<std::uint64_t>(nBytes, m_strPending.size() - m_nUsed));
    fnTake(std::string_view(m_strPending).substr(m_nUsed, nPiece));
    m_nUsed += nPiece;
    nBytes -= nPiece;
  }
}

}  // namespace TALVEK::SESSION

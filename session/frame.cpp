#include "session/frame.h"

namespace TALVEK::SESSION {

namespace {

constexpr std::size_t HEAD = 5;
constexpr std::size_t BLOCK = 1 << 16;

std::size_t LengthIn(std::string_view strHead) {
  std::size_t nLength = 0;
  for (const char ch : strHead.substr(1, 4))
    nLength = nLength << 8 | static_cast<unsigned char>(ch);
  return nLength;
}

}  // namespace

bool SendFrame(int nSocket, TFrameType nFrame, std::string_view strText, const TWaitLimits& tLimits) {
  std::string strFrame(1, nFrame);
  for (int nShift = 24; nShift >= 0; nShift -= 8)
    strFrame += static_cast<char>(strText.size() >> nShift & 0xFF);
  return WriteAll(nSocket, strFrame.append(strText), tLimits);
}

TFrameReadType CFrameReader::Fill(std::size_t nBytes) {
  while (m_strPending.size() < nBytes) {
    char achBlock[BLOCK];
    const std::ptrdiff_t nRead = ReadSome(m_nSocket, achBlock, sizeof achBlock);
    if (nRead == 0) return FRAME_END;
    if (nRead > 0) {
      m_strPending.append(achBlock, static_cast<std::size_t>(nRead));
      continue;
    }
    const TWaitType nWait = WaitToRead({m_nSocket}, m_tLimits);
    if (nWait != WAIT_READY) return nWait == WAIT_TIMED_OUT ? FRAME_TIMED_OUT : FRAME_END;
  }
  return FRAME_READ;
}

TFrameReadType CFrameReader::Read(char& chFrame, std::string& strText) {
  TFrameReadType nRead = Fill(HEAD);
  if (nRead != FRAME_READ) return nRead;
  const std::size_t nLength = LengthIn(m_strPending);
  if (nLength > MAX_FRAME) return FRAME_END;
  nRead = Fill(HEAD + nLength);
  if (nRead != FRAME_READ) return nRead;
  chFrame = m_strPending[0];
  strText = m_strPending.substr(HEAD, nLength);
  m_strPending.erase(0, HEAD + nLength);
  return FRAME_READ;
}

}  // namespace TALVEK::SESSION

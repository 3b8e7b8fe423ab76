#include "session/conversation.h"

#include <unistd.h>

#include "session/client.h"
#include "session/failure.h"
#include "session/session_process.h"

namespace TALVEK::SESSION {

namespace {

/// A session can end after the command has connected: its idle time is over, or its server has ended.
constexpr int MAX_TRIES = 4;

}  // namespace

CConversation::CConversation(const TCheckout& tCheckout, const TCaller& tCaller)
    : m_tCheckout(tCheckout),
      m_tCaller(tCaller),
      m_strKey(SessionKey(tCheckout, tCaller)),
      m_tLimits{ConfiguredTimeout(), -1},
      m_oFrames(-1, m_tLimits) {}

bool CConversation::Connect() {
  m_oSocket = ConnectTo(m_strKey);
  if (!m_oSocket.IsOpen()) {
    VCM::CDescriptor oListener = ListenFor(m_strKey);
    if (oListener.IsOpen()) StartSession(std::move(oListener), m_tCheckout, m_tCaller, m_strKey);
    m_oSocket = ConnectTo(m_strKey);
  }
  if (!m_oSocket.IsOpen()) return false;
  MakeNonBlocking(m_oSocket.Get());
  m_oFrames = CFrameReader(m_oSocket.Get(), m_tLimits);
  return true;
}

/// Sends the requests without waiting for READY. This saves a context switch.
bool CConversation::Introduce(const std::string& strRequests) {
  return SendFrame(m_oSocket.Get(), FRAME_KEY, m_strKey, m_tLimits) &&
         SendFrame(m_oSocket.Get(), FRAME_REQUEST, strRequests, m_tLimits);
}

std::string CConversation::Reach(const std::string& strRequests) {
  for (int nTry = 0; nTry < MAX_TRIES; ++nTry) {
    if (!Connect()) continue;
    if (!IsSameUser(m_oSocket.Get())) break;
    try {
      if (!Introduce(strRequests)) continue;
      std::string strText;
      const char chFrame = ReadFrame(strText);
      if (chFrame == FRAME_READY) return std::string();
      if (chFrame == FRAME_FAILED) return strText;
      break;
    } catch (const EBrokenConnection&) {
      // The session has ended meanwhile; the next try starts another.
    }
  }
  throw EHandOver(HAND_OVER_SESSION);
}

char CConversation::ReadFrame(std::string& strText) {
  char chFrame = 0;
  switch (m_oFrames.Read(chFrame, strText)) {
    case FRAME_READ:
      return chFrame;
    case FRAME_END:
      throw EBrokenConnection();
    case FRAME_TIMED_OUT:
      break;
  }
  throw Aborted("no answer from the server within " +
                std::to_string(std::chrono::duration_cast<std::chrono::seconds>(m_tLimits.nTimeout).count()) +
                " seconds");
}

void CConversation::Ask(const std::string& strRequests) {
  if (!SendFrame(m_oSocket.Get(), FRAME_REQUEST, strRequests, m_tLimits)) throw EBrokenConnection();
}

std::string CConversation::Read() {
  for (;;) {
    std::string strText;
    const char chFrame = ReadFrame(strText);
    if (chFrame == FRAME_REPLY && !strText.empty()) return strText;
    if (chFrame == FRAME_BROKEN) throw EBrokenConnection();
    // ssh, started by the client, would have written it there itself.
    if (chFrame == FRAME_ERRORS) WriteAll(STDERR_FILENO, strText, m_tLimits);
  }
}

void CConversation::Release() {
  SendFrame(m_oSocket.Get(), FRAME_RELEASE, "", m_tLimits);
}

}  // namespace TALVEK::SESSION

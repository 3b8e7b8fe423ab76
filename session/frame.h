#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "session/waiting.h"

namespace TALVEK::SESSION {

/// A message between a command and the session: a letter, the length of the text in four bytes (the highest
/// first), the text.
///
/// Command  Sends KEY and a first REQUEST; each further REQUEST when it has read the whole reply to the one
///          before; RELEASE at the end.
/// Session  Answers KEY with READY, REFUSED (it is for another key) or FAILED (it has no connection). After
///          READY it sends REPLY and ERRORS as they come, and BROKEN when the server hangs up.
enum TFrameType : char {
  FRAME_KEY = 'K',      ///< the session that the command wants, see SessionKey
  FRAME_REQUEST = 'Q',  ///< text for the server
  FRAME_RELEASE = 'R',  ///< the connection is free for the next command
  FRAME_REFUSED = 'N',
  FRAME_READY = 'A',
  FRAME_REPLY = 'D',   ///< text from the server
  FRAME_ERRORS = 'S',  ///< text from the standard error of the program that connects, such as ssh
  FRAME_BROKEN = 'X',  ///< the server hung up
  FRAME_FAILED = 'F',  ///< there is no connection; the text says why
};

/// A key holds the environment, which the system bounds at 2 MiB.
constexpr std::size_t MAX_FRAME = 1 << 22;

/// False when the other end has hung up, or takes nothing before the time-out.
bool SendFrame(int nSocket, TFrameType nFrame, std::string_view strText, const TWaitLimits& tLimits);

/// The result of reading a frame.
enum TFrameReadType { FRAME_READ, FRAME_END, FRAME_TIMED_OUT };

/// Reads frames from a non-blocking socket.
class CFrameReader {
 public:
  CFrameReader(int nSocket, TWaitLimits tLimits) : m_nSocket(nSocket), m_tLimits(tLimits) {}
  /// FRAME_END also for a frame longer than MAX_FRAME, and when the process of `nCallerDescriptor` has ended.
  TFrameReadType Read(char& chFrame, std::string& strText);

 private:
  TFrameReadType Fill(std::size_t nBytes);

  int m_nSocket;
  TWaitLimits m_tLimits;
  std::string m_strPending;
};

}  // namespace TALVEK::SESSION

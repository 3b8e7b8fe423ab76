#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "session/waiting.h"

namespace TALVEK::SESSION {

/// What commands and the session process say to each other: a letter, the length of the text in four bytes
/// (the highest first), the text.
///
/// Command  Sends KEY, then REQUEST, each when it has read the whole reply to the last, and at last RELEASE.
///
/// Session  Sends REFUSED (another key), or READY; then any of REPLY and ERRORS; at last nothing, or BROKEN,
///          or FAILED.
enum EFrame : char {
  FRAME_KEY = 'K',      ///< what the session must be for; one that is for something else refuses
  FRAME_REQUEST = 'Q',  ///< goes to the server
  FRAME_RELEASE = 'R',  ///< the connection is free for the next command
  FRAME_REFUSED = 'N',
  FRAME_READY = 'A',
  FRAME_REPLY = 'D',   ///< came from the server
  FRAME_ERRORS = 'S',  ///< came from the program that connects, such as ssh
  FRAME_BROKEN = 'X',  ///< the server hung up
  FRAME_FAILED = 'F',  ///< there is no connection; the text says why
};

/// A key holds the environment, which the system bounds at 2 MiB.
constexpr std::size_t MAX_FRAME = 1 << 22;

/// False when the other end has gone.
bool SendFrame(int nSocket, EFrame nFrame, std::string_view strText, const TPatience& tPatience);

/// How reading a frame came out.
enum EFrameRead { FRAME_READ, FRAME_END, FRAME_TIMED_OUT };

/// Reads frames off a socket that doesn't block.
class CFrameReader {
 public:
  CFrameReader(int nSocket, TPatience tPatience) : m_nSocket(nSocket), m_tPatience(tPatience) {}
  /// FRAME_END also for a frame longer than MAX_FRAME, and when the process to wait with has ended.
  EFrameRead Read(char& chFrame, std::string& strText);

 private:
  EFrameRead Fill(std::size_t nBytes);

  int m_nSocket;
  TPatience m_tPatience;
  std::string m_strPending;
};

}  // namespace TALVEK::SESSION

#pragma once

#include <functional>
#include <string>

#include "session/byte_source.h"
#include "session/command_line.h"
#include "session/frame.h"
#include "session/session_address.h"

namespace TALVEK::SESSION {

/// How a command reached a server.
enum EReach {
  REACHED,
  NOT_REACHED,  ///< no session to be had: somebody else sits on its name, or this system can't
  REFUSED,      ///< there is no connection; the reason is known
};

/// One command's talk with the session that has its connection. Throws EBrokenConnection when the session or
/// its server goes away, EFailure when either keeps silent for too long.
class CConversation : public IByteSource {
 public:
  CConversation(const TCheckout& tCheckout, const TCaller& tCaller);

  /// Finds the session, or starts one, and asks.
  EReach Reach(const std::string& strRequests);
  /// Why there is no connection, when it was refused.
  const std::string& Reason() const { return m_strReason; }
  /// Asks more.
  void Ask(const std::string& strRequests);
  std::string Read() override;
  /// Leaves the connection to the next command. Without this it is closed.
  void Release();

 private:
  bool Connect();
  bool Introduce(const std::string& strRequests);
  char ReadFrame(std::string& strText);

  const TCheckout& m_tCheckout;
  const TCaller& m_tCaller;
  std::string m_strKey;
  TPatience m_tPatience;
  VCM::CDescriptor m_oSocket;
  CFrameReader m_oFrames;
  std::string m_strReason;
};

}  // namespace TALVEK::SESSION

#pragma once

#include <functional>
#include <string>

#include "session/byte_source.h"
#include "session/command_line.h"
#include "session/frame.h"
#include "session/session_address.h"

namespace TALVEK::SESSION {

/// One command's exchange with the session. Throws EBrokenConnection when the session or its server hangs up,
/// EFailure when nothing comes before the time-out.
class CConversation : public CByteSource {
 public:
  CConversation(const TCheckout& tCheckout, const TCaller& tCaller);

  /// Connects to the session, which it starts if there is none, and sends the requests. Returns an empty
  /// text, or the reason why there is no connection to the server. Throws EHandOver when there can be no
  /// session: another user's process has its name, or its socket can't be made.
  std::string Reach(const std::string& strRequests);
  /// Sends more requests.
  void Ask(const std::string& strRequests);
  std::string Read() override;
  /// Leaves the connection to the next command. Without this the session closes it.
  void Release();

 private:
  bool Connect();
  bool Introduce(const std::string& strRequests);
  char ReadFrame(std::string& strText);

  const TCheckout& m_tCheckout;
  const TCaller& m_tCaller;
  std::string m_strKey;
  TWaitLimits m_tLimits;
  VCM::CDescriptor m_oSocket;
  CFrameReader m_oFrames;
};

}  // namespace TALVEK::SESSION

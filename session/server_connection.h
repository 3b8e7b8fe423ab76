#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "session/byte_source.h"
#include "session/command_line.h"
#include "session/compression.h"
#include "session/transport.h"

namespace TALVEK::SESSION {

/// A connection to a server that knows the root and the options, and waits for commands.
class CServerConnection : public CByteSource {
 public:
  /// Connects, logs in, and sends the root and the global options. Sets TMPDIR in this process when the
  /// server is to keep its temporary files in memory. Throws EFailure with the server's words when that
  /// fails.
  CServerConnection(const TCheckout& tCheckout, const TWaitLimits& tLimits);

  /// False when the server has hung up, or takes nothing before the time-out.
  bool Send(std::string_view strRequests);
  /// Waits for the server's next bytes. Throws EBrokenConnection when it has hung up, or the caller ended,
  /// and EFailure when nothing comes in time.
  std::string Read() override;
  /// The bytes that have arrived, perhaps none. Sets `bEnded` when the server has hung up.
  std::string ReadAvailable(bool& bEnded);
  /// What the connecting program (such as ssh) has written to standard error since the last call.
  std::string TakeErrors();
  /// The same for a server that has hung up: waits for the end of its standard error, up to a second between
  /// pieces.
  std::string TakeLastErrors();

  int ReadDescriptor() const { return m_oTransport.ReadDescriptor(); }
  int ErrorDescriptor() const { return m_oTransport.ErrorDescriptor(); }

 private:
  void LogIn(const TRoot& tRoot);
  void Introduce(const TCheckout& tCheckout);
  std::string ReadValidRequests(CReplyReader& oReader);
  [[noreturn]] void Fail(const std::string& strReason);

  TWaitLimits m_tLimits;
  CTransport m_oTransport;
  std::unique_ptr<CCompression> m_poCompression;
  std::string m_strErrors;
};

}  // namespace TALVEK::SESSION

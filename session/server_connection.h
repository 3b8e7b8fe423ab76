#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "session/byte_source.h"
#include "session/command_line.h"
#include "session/compression.h"
#include "session/transport.h"

namespace TALVEK::SESSION {

/// A connection to a server that has been told the root and the options, and waits for the first command.
class CServerConnection : public CByteSource {
 public:
  /// Connects, logs in, and tells the server the root and the global options. Sets TMPDIR in this process
  /// when the server is to have its temporary files in memory. Throws EFailure with the server's words when
  /// it can't be done.
  CServerConnection(const TCheckout& tCheckout, const TWaitLimits& tLimits);

  /// False when the server has gone.
  bool Send(std::string_view strRequests);
  /// Waits for the server's next bytes. Throws EBrokenConnection when it has hung up, or the caller ended,
  /// and EFailure when nothing comes in time.
  std::string Read() override;
  /// The bytes that have arrived, perhaps none. Sets `bEnded` when the server has hung up.
  std::string ReadAvailable(bool& bEnded);
  /// What the program that connects has written to standard error since the last call.
  std::string TakeErrors();
  /// The same, up to its end; for a server that has hung up.
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

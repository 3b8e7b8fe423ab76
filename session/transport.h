#pragma once

#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

#include "core/descriptor.h"
#include "session/waiting.h"

namespace TALVEK::SESSION {

/// The bare connection: a child process or a TCP socket. All its descriptors are non-blocking.
class CTransport {
 public:
  /// Starts a program; execvp finds it. Its working folder is "/", so that it keeps no file system busy. A
  /// program that can't be started looks like one that ends at once, with the reason on its standard error.
  static CTransport Start(std::vector<std::string> astrArguments);
  /// Throws EFailure, in the client's words, when the host is unknown or the connection fails.
  static CTransport Connect(const std::string& strHost, unsigned nPort, const TWaitLimits& tLimits);

  CTransport(CTransport&&) = default;
  CTransport& operator=(CTransport&&) = delete;
  /// Hangs up. A program gets two seconds to end by itself, then SIGTERM, and two seconds later SIGKILL.
  ~CTransport();

  int ReadDescriptor() const { return m_oRead.Get(); }
  int WriteDescriptor() const { return m_oWrite.IsOpen() ? m_oWrite.Get() : m_oRead.Get(); }
  /// Standard error of the program; -1 for a TCP connection, and once it has ended.
  int ErrorDescriptor() const { return m_oErrors.Get(); }
  void CloseErrors() { m_oErrors.Close(); }

 private:
  CTransport() = default;
  void ReadToEnd();

  /// A process number. A moved-from object holds 0, so that only one object ends the process.
  struct TChild {
    TChild() = default;
    TChild(TChild&& tOther) noexcept : nId(std::exchange(tOther.nId, 0)) {}
    pid_t nId = 0;
  };

  VCM::CDescriptor m_oRead;
  VCM::CDescriptor m_oWrite;
  VCM::CDescriptor m_oErrors;
  TChild m_tChild;
};

}  // namespace TALVEK::SESSION

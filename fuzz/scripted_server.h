#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "core/descriptor.h"

namespace TALVEK::FUZZ {

/// A server on this machine that serves one connection after the other, on a thread of its own: it says one
/// text after the other, each when it has been asked, and hangs up.
class CScriptedServer {
 public:
  struct TStep {
    std::string strSay;
    std::string strThenWaitFor;  ///< words in a request; it listens for them a moment before it goes on
  };

  CScriptedServer();

  unsigned GetPort() const { return m_nPort; }
  /// Sets what is said on the next connection. One connection has to be made for each call.
  void Prepare(std::vector<TStep> atSteps);
  /// Waits until that connection has ended.
  void WaitForEnd();

 private:
  [[noreturn]] void Serve();
  void ServeOne(int nConnection, const std::vector<TStep>& atSteps);

  VCM::CDescriptor m_oListener;
  unsigned m_nPort = 0;
  std::mutex m_oMutex;
  std::condition_variable m_oChanged;
  std::vector<TStep> m_atSteps;
  bool m_bPrepared = false;
};

}  // namespace TALVEK::FUZZ

#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "core/descriptor.h"

namespace TALVEK::FUZZ {

/// A TCP server on this machine that follows a script, on a thread of its own. It serves one connection at a
/// time: in each step it sends a text and waits for words of a request; then it hangs up.
class CScriptedServer {
 public:
  struct TStep {
    std::string strSay;
    std::string strThenWaitFor;  ///< words of a request; it goes on without them after 5 ms of silence
  };

  CScriptedServer();

  unsigned GetPort() const { return m_nPort; }
  /// Sets the script of the next connection. Make one connection for each call.
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

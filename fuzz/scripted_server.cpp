#include "fuzz/scripted_server.h"

#include <string_view>
#include <thread>
#include <utility>

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include "fuzz/check.h"

namespace TALVEK::FUZZ {

namespace {

/// How long to wait for words. The client may be waiting for more of the last text, so the wait must end.
constexpr suseconds_t MICROSECONDS_FOR_WORDS = 5000;

/// Sets how long to wait when nothing comes; 0: for ever.
void SetPatience(int nConnection, suseconds_t nMicroseconds) {
  const timeval tLimits{0, nMicroseconds};
  ::setsockopt(nConnection, SOL_SOCKET, SO_RCVTIMEO, &tLimits, sizeof tLimits);
}

/// Reads until the words have come, or the wait is over.
void WaitFor(int nConnection, std::string_view strWords) {
  std::string strHeard;
  while (strHeard.find(strWords) == std::string::npos) {
    char achBlock[4096];
    const ssize_t nRead = ::recv(nConnection, achBlock, sizeof achBlock, 0);
    if (nRead <= 0) return;
    strHeard.append(achBlock, static_cast<std::size_t>(nRead));
  }
}

void WaitForEndOf(int nConnection) {
  char achBlock[4096];
  while (::recv(nConnection, achBlock, sizeof achBlock, 0) > 0) {
  }
}

void Say(int nConnection, std::string_view strText) {
  while (!strText.empty()) {
    const ssize_t nSent = ::send(nConnection, strText.data(), strText.size(), MSG_NOSIGNAL);
    if (nSent <= 0) return;
    strText.remove_prefix(static_cast<std::size_t>(nSent));
  }
}

}  // namespace

CScriptedServer::CScriptedServer() : m_oListener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in tAddress{};
  tAddress.sin_family = AF_INET;
  tAddress.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* const ptAddress = reinterpret_cast<sockaddr*>(&tAddress);
  socklen_t nLength = sizeof tAddress;
  Check(::bind(m_oListener.Get(), ptAddress, nLength) == 0 && ::listen(m_oListener.Get(), 1) == 0 &&
            ::getsockname(m_oListener.Get(), ptAddress, &nLength) == 0,
        "there is a port to listen on");
  m_nPort = ntohs(tAddress.sin_port);
  std::thread([this] { Serve(); }).detach();
}

void CScriptedServer::Prepare(std::vector<TStep> atSteps) {
  const std::lock_guard<std::mutex> oLock(m_oMutex);
  m_atSteps = std::move(atSteps);
  m_bPrepared = true;
  m_oChanged.notify_all();
}

void CScriptedServer::WaitForEnd() {
  std::unique_lock<std::mutex> oLock(m_oMutex);
  m_oChanged.wait(oLock, [this] { return !m_bPrepared; });
}

void CScriptedServer::Serve() {
  std::unique_lock<std::mutex> oLock(m_oMutex);
  for (;;) {
    m_oChanged.wait(oLock, [this] { return m_bPrepared; });
    const VCM::CDescriptor oConnection(::accept(m_oListener.Get(), nullptr, nullptr));
    ServeOne(oConnection.Get(), m_atSteps);
    m_bPrepared = false;
    m_oChanged.notify_all();
  }
}

void CScriptedServer::ServeOne(int nConnection, const std::vector<TStep>& atSteps) {
  SetPatience(nConnection, MICROSECONDS_FOR_WORDS);
  for (const TStep& tStep : atSteps) {
    Say(nConnection, tStep.strSay);
    WaitFor(nConnection, tStep.strThenWaitFor);
  }
  SetPatience(nConnection, 0);
  // Read to the end before closing: closing a socket with unread data can discard what was sent.
  ::shutdown(nConnection, SHUT_WR);
  WaitForEndOf(nConnection);
}

}  // namespace TALVEK::FUZZ

#include "session/transport.h"

#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <optional>
#include <sstream>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "core/child_process.h"
#include "session/failure.h"

namespace TALVEK::SESSION {

namespace {

constexpr std::chrono::milliseconds GRACE{2000};
/// The largest that the kernel gives to a process without privileges.
constexpr int MAX_PIPE = 1 << 20;

struct TPipe {
  TPipe() {
    int anEnds[2];
    if (::pipe2(anEnds, O_CLOEXEC) != 0)
      throw Aborted(std::string("cannot make a pipe: ") + std::strerror(errno));
    oRead = VCM::CDescriptor(anEnds[0]);
    oWrite = VCM::CDescriptor(anEnds[1]);
  }
  VCM::CDescriptor oRead;
  VCM::CDescriptor oWrite;
};

/// A path such as "./server" is relative to the command's folder, but the program starts in "/".
void MakeAbsolute(std::string& strProgram) {
  if (strProgram.find('/') == std::string::npos || strProgram[0] == '/') return;
  char achFolder[4096];
  if (::getcwd(achFolder, sizeof achFolder)) strProgram = std::string(achFolder) + "/" + strProgram;
}

bool EndsInTime(pid_t nChild) {
  const VCM::CDescriptor oChild = OpenProcess(nChild);
  pollfd tPoll = {oChild.Get(), POLLIN, 0};
  return ::poll(&tPoll, 1, static_cast<int>(GRACE.count())) > 0;
}

void EndChild(pid_t nChild) {
  for (const int nSignal : {SIGTERM, SIGKILL}) {
    if (EndsInTime(nChild)) break;
    VCM::SignalChild(nChild, nSignal);
  }
  VCM::WaitForChild(nChild);
}

/// An address to connect to, and its text.
struct TAddress {
  sockaddr_storage tSocket{};
  socklen_t nSize = 0;
  std::string strText;
};

/// Nothing for a text that isn't a numeric address.
std::optional<TAddress> ParseAddress(const std::string& strText, unsigned nPort) {
  TAddress tAddress;
  tAddress.strText = strText;
  auto* ptNew = reinterpret_cast<sockaddr_in6*>(&tAddress.tSocket);
  auto* ptOld = reinterpret_cast<sockaddr_in*>(&tAddress.tSocket);
  if (::inet_pton(AF_INET6, strText.c_str(), &ptNew->sin6_addr) == 1) {
    ptNew->sin6_family = AF_INET6;
    ptNew->sin6_port = htons(static_cast<std::uint16_t>(nPort));
    tAddress.nSize = sizeof *ptNew;
  } else if (::inet_pton(AF_INET, strText.c_str(), &ptOld->sin_addr) == 1) {
    ptOld->sin_family = AF_INET;
    ptOld->sin_port = htons(static_cast<std::uint16_t>(nPort));
    tAddress.nSize = sizeof *ptOld;
  } else {
    return std::nullopt;
  }
  return tAddress;
}

/// What a program writes to its standard output, until its end or the time-out.
std::string OutputOf(CTransport oProgram, const TWaitLimits& tLimits) {
  std::string strOutput;
  char achBlock[4096];
  while (WaitToRead({oProgram.ReadDescriptor()}, tLimits) == WAIT_READY) {
    const std::ptrdiff_t nRead = ReadSome(oProgram.ReadDescriptor(), achBlock, sizeof achBlock);
    if (nRead == 0) break;
    if (nRead > 0) strOutput.append(achBlock, static_cast<std::size_t>(nRead));
  }
  return strOutput;
}

/// The addresses of a host. glibc can't look names up in a statically linked program such as this one, so
/// getent does it.
std::vector<TAddress> AddressesOf(const std::string& strHost, unsigned nPort, const TWaitLimits& tLimits) {
  if (std::optional<TAddress> tAddress = ParseAddress(strHost, nPort)) return {*tAddress};
  std::istringstream oLines(OutputOf(CTransport::Start({"getent", "ahosts", "--", strHost}), tLimits));
  std::vector<TAddress> atAddresses;
  for (std::string strText, strKind, strRest;
       oLines >> strText >> strKind && std::getline(oLines, strRest);) {
    std::optional<TAddress> tAddress = ParseAddress(strText, nPort);
    if (tAddress && strKind == "STREAM") atAddresses.push_back(*tAddress);
  }
  if (atAddresses.empty()) throw EFailure("Unknown host " + strHost + ".");
  return atAddresses;
}

/// Waits for a connect that is in progress. Returns 0 or an errno.
int FinishConnecting(int nSocket, const TWaitLimits& tLimits) {
  pollfd atPolls[] = {{nSocket, POLLOUT, 0}, {tLimits.nCallerDescriptor, POLLIN, 0}};
  const auto nLimit = tLimits.nTimeout.count();
  if (::poll(atPolls, 2, static_cast<int>(nLimit)) <= 0 || !atPolls[0].revents) return ETIMEDOUT;
  int nError = 0;
  socklen_t nSize = sizeof nError;
  ::getsockopt(nSocket, SOL_SOCKET, SO_ERROR, &nError, &nSize);
  return nError;
}

VCM::CDescriptor TryAddress(const TAddress& tAddress, const TWaitLimits& tLimits, int& nError) {
  VCM::CDescriptor oSocket(
      ::socket(tAddress.tSocket.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP));
  nError = 0;
  const auto* ptSocket = reinterpret_cast<const sockaddr*>(&tAddress.tSocket);
  if (!oSocket.IsOpen() || ::connect(oSocket.Get(), ptSocket, tAddress.nSize) != 0) nError = errno;
  if (nError == EINPROGRESS) nError = FinishConnecting(oSocket.Get(), tLimits);
  if (nError != 0) return VCM::CDescriptor();
  const int nOn = 1;
  // Each request is one write, so the kernel needn't wait for more data.
  ::setsockopt(oSocket.Get(), IPPROTO_TCP, TCP_NODELAY, &nOn, sizeof nOn);
  ::setsockopt(oSocket.Get(), SOL_SOCKET, SO_KEEPALIVE, &nOn, sizeof nOn);
  return oSocket;
}

}  // namespace

CTransport CTransport::Start(std::vector<std::string> astrArguments) {
  MakeAbsolute(astrArguments[0]);
  TPipe oInput, oOutput, oErrors;
  VCM::TChildStart tStart;
  tStart.astrArguments = std::move(astrArguments);
  tStart.nStdInput = oInput.oRead.Get();
  tStart.nStdOutput = oOutput.oWrite.Get();
  tStart.nStdError = oErrors.oWrite.Get();
  tStart.pszFolder = "/";
  CTransport oTransport;
  if (const int nError = VCM::StartChild(tStart, oTransport.m_tChild.nId)) {
    const std::string strLine = "cvs [checkout aborted]: cannot exec " + tStart.astrArguments[0] + ": " +
                                std::strerror(nError) + "\n";
    [[maybe_unused]] const ssize_t nIgnored = ::write(oErrors.oWrite.Get(), strLine.data(), strLine.size());
  }
  oTransport.m_oRead = std::move(oOutput.oRead);
  oTransport.m_oWrite = std::move(oInput.oWrite);
  oTransport.m_oErrors = std::move(oErrors.oRead);
  // With a small pipe, server and reader wait for each other again and again during a large file. That works,
  // but slowly; so a failure here doesn't matter.
  ::fcntl(oTransport.m_oRead.Get(), F_SETPIPE_SZ, MAX_PIPE);
  for (const int nEnd : {oTransport.m_oRead.Get(), oTransport.m_oWrite.Get(), oTransport.m_oErrors.Get()})
    MakeNonBlocking(nEnd);
  return oTransport;
}

CTransport CTransport::Connect(const std::string& strHost, unsigned nPort, const TWaitLimits& tLimits) {
  std::string strReason;
  for (const TAddress& tAddress : AddressesOf(strHost, nPort, tLimits)) {
    int nError = 0;
    CTransport oTransport;
    oTransport.m_oRead = TryAddress(tAddress, tLimits, nError);
    if (nError == 0) return oTransport;
    strReason = "connect to " + strHost + "(" + tAddress.strText + "):" + std::to_string(nPort) +
                " failed: " + std::strerror(nError);
  }
  throw Aborted(strReason);
}

CTransport::~CTransport() {
  m_oWrite.Close();
  if (m_tChild.nId > 0) ReadToEnd();
  m_oRead.Close();
  m_oErrors.Close();
  if (m_tChild.nId > 0) EndChild(m_tChild.nId);
}

/// Reads the rest of a reply: a server that is blocked in writing it couldn't remove its temporary files.
void CTransport::ReadToEnd() {
  const auto nEnd = std::chrono::steady_clock::now() + GRACE;
  char achBlock[1 << 16];
  while (m_oRead.IsOpen()) {
    const auto nLeft =
        std::chrono::duration_cast<std::chrono::milliseconds>(nEnd - std::chrono::steady_clock::now());
    if (WaitToRead({m_oRead.Get(), m_oErrors.Get()}, TWaitLimits{nLeft, -1}) != WAIT_READY) return;
    if (ReadSome(m_oErrors.Get(), achBlock, sizeof achBlock) == 0) m_oErrors.Close();
    if (ReadSome(m_oRead.Get(), achBlock, sizeof achBlock) == 0) m_oRead.Close();
  }
}

}  // namespace TALVEK::SESSION

#include "session/waiting.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace TALVEK::SESSION {

namespace {

using CClock = std::chrono::steady_clock;

volatile std::sig_atomic_t s_bSignalled = 0;

/// Waits for an event of one of `nCount` descriptors, the last of which is the caller's pidfd.
TWaitType Wait(pollfd* ptPolls, nfds_t nCount, const TWaitLimits& tLimits) {
  const CClock::time_point nEnd = CClock::now() + tLimits.nTimeout;
  for (;;) {
    if (s_bSignalled && tLimits.nCallerDescriptor >= 0) return WAIT_CALLER_ENDED;
    const auto nLeft = std::chrono::ceil<std::chrono::milliseconds>(nEnd - CClock::now()).count();
    if (nLeft <= 0) return WAIT_TIMED_OUT;
    const int nReady = ::poll(ptPolls, nCount, static_cast<int>(nLeft));
    if (nReady < 0 && errno != EINTR) return WAIT_TIMED_OUT;
    if (nReady <= 0) continue;
    return ptPolls[nCount - 1].revents ? WAIT_CALLER_ENDED : WAIT_READY;
  }
}

TWaitType WaitToWrite(int nDescriptor, const TWaitLimits& tLimits) {
  pollfd atPolls[] = {{nDescriptor, POLLOUT, 0}, {tLimits.nCallerDescriptor, POLLIN, 0}};
  return Wait(atPolls, 2, tLimits);
}

/// Descriptors to read from, and the caller's pidfd behind them.
struct TPolls {
  TPolls(std::initializer_list<int> anDescriptors, int nCallerDescriptor) {
    for (const int nDescriptor : anDescriptors)
      atPolls[nCount++] = {nDescriptor, POLLIN, 0};
    atPolls[nCount++] = {nCallerDescriptor, POLLIN, 0};
  }
  pollfd atPolls[5];
  nfds_t nCount = 0;
};

}  // namespace

void LetSignalsEndWaits() {
  struct sigaction oAction {};
  oAction.sa_handler = [](int) { s_bSignalled = 1; };
  for (const int nSignal : {SIGHUP, SIGINT, SIGTERM}) {
    struct sigaction oBefore {};
    ::sigaction(nSignal, nullptr, &oBefore);
    if (oBefore.sa_handler != SIG_IGN) ::sigaction(nSignal, &oAction, nullptr);
  }
}

TWaitType WaitToRead(std::initializer_list<int> anDescriptors, const TWaitLimits& tLimits) {
  TPolls oPolls(anDescriptors, tLimits.nCallerDescriptor);
  return Wait(oPolls.atPolls, oPolls.nCount, tLimits);
}

TWaitType WaitWithNaps(std::initializer_list<int> anDescriptors, const TWaitLimits& tLimits) {
  constexpr timespec NAP{0, 100'000};
  constexpr int NAPS = 50;
  TPolls oPolls(anDescriptors, tLimits.nCallerDescriptor);
  int nReady = 0;
  for (int nNap = 0; nNap < NAPS && nReady == 0; ++nNap)
    nReady = ::ppoll(oPolls.atPolls, oPolls.nCount, &NAP, nullptr);
  return Wait(oPolls.atPolls, oPolls.nCount, tLimits);
}

bool WriteAll(int nDescriptor, std::string_view strBytes, const TWaitLimits& tLimits) {
  while (!strBytes.empty()) {
    const ssize_t nWritten = ::write(nDescriptor, strBytes.data(), strBytes.size());
    if (nWritten > 0) strBytes.remove_prefix(static_cast<std::size_t>(nWritten));
    if (nWritten > 0 || errno == EINTR) continue;
    if (errno != EAGAIN || WaitToWrite(nDescriptor, tLimits) != WAIT_READY) return false;
  }
  return true;
}

std::ptrdiff_t ReadSome(int nDescriptor, char* pBytes, std::size_t nBytes) {
  const ssize_t nRead = ::read(nDescriptor, pBytes, nBytes);
  if (nRead >= 0) return nRead;
  return errno == EAGAIN || errno == EINTR ? -1 : 0;
}

std::chrono::seconds SecondsFromEnvironment(const char* pszName, std::chrono::seconds nDefault) {
  const char* pszText = std::getenv(pszName);
  unsigned nSeconds = 0;
  // A day: more than anybody waits, and its milliseconds fit into poll's int.
  constexpr unsigned MAX_SECONDS = 86400;
  if (!pszText || std::from_chars(pszText, pszText + std::strlen(pszText), nSeconds).ec != std::errc())
    return nDefault;
  return nSeconds == 0 || nSeconds > MAX_SECONDS ? nDefault : std::chrono::seconds(nSeconds);
}

std::chrono::seconds ConfiguredTimeout() {
  return SecondsFromEnvironment("CVS_SESSION_TIMEOUT", std::chrono::seconds(300));
}

void MakeNonBlocking(int nDescriptor) {
  ::fcntl(nDescriptor, F_SETFL, ::fcntl(nDescriptor, F_GETFL) | O_NONBLOCK);
}

VCM::CDescriptor OpenProcess(pid_t nId) {
  // By number: before version 2.37 glibc's pidfd_open can't be called from C++.
  return VCM::CDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, nId, 0)));
}

}  // namespace TALVEK::SESSION

#include "host/stop_signal.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "host/exit_status.h"

namespace TALVEK::HOST {
namespace {

volatile std::sig_atomic_t s_nStopSignal = 0;

// Only calls that are safe in a signal handler.
void TellChildren(int nSignal) {
  const int nChildren = open("/proc/thread-self/children", O_RDONLY | O_CLOEXEC);
  if (nChildren < 0) return;
  char achPids[1024];
  const ssize_t nSize = read(nChildren, achPids, sizeof achPids);
  close(nChildren);
  pid_t nPid = 0;
  for (ssize_t nIndex = 0; nIndex < nSize; ++nIndex) {  // each number has a blank behind it
    if (achPids[nIndex] >= '0' && achPids[nIndex] <= '9') {
      nPid = nPid * 10 + (achPids[nIndex] - '0');
    } else {
      if (nPid > 0) kill(nPid, nSignal);
      nPid = 0;
    }
  }
}

// A terminal tells the children too, `kill` doesn't; and reading a history can take a child hours.
void RememberSignal(int nSignal) {
  const int nError = errno;
  s_nStopSignal = nSignal;
  TellChildren(nSignal);
  errno = nError;
}
void DoNothing(int) {}

void SetHandler(int nSignal, void (*pfnHandler)(int)) {
  struct sigaction tAction = {};
  tAction.sa_handler = pfnHandler;
  // Calls go on where they were: neither the provider nor the toolkit expects to be interrupted.
  tAction.sa_flags = SA_RESTART;
  sigemptyset(&tAction.sa_mask);
  sigaction(nSignal, &tAction, nullptr);
}

// A signal that the caller ignores (as nohup does for SIGHUP) stays ignored.
bool IsIgnored(int nSignal) {
  struct sigaction tAction = {};
  return sigaction(nSignal, nullptr, &tAction) == 0 && tAction.sa_handler == SIG_IGN;
}

}  // namespace

void CatchStopSignals() {
  for (const int nSignal : {SIGINT, SIGTERM, SIGHUP}) {
    if (!IsIgnored(nSignal)) SetHandler(nSignal, RememberSignal);
  }
  // A handler, not SIG_IGN: children start with the default action for it, as they expect.
  SetHandler(SIGPIPE, DoNothing);
}

bool IsStopRequested() {
  return s_nStopSignal != 0;
}

void ThrowIfStopped() {
  if (IsStopRequested()) throw EStopped(s_nStopSignal);
}

}  // namespace TALVEK::HOST

#include "host/stop_signal.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "core/child_process.h"
#include "host/exit_status.h"

namespace TALVEK::HOST {
namespace {

/// Time for a child to clean up after a stop signal; then it is killed.
constexpr unsigned GRACE_SECONDS = 10;

volatile std::sig_atomic_t s_nStopSignal = 0;

// The two functions below are signal handlers: only async-signal-safe calls.

/// Passes the first signal on to the children, because `kill` (unlike Ctrl-C) reaches only us, and a child
/// can read a history for hours. A second signal kills them.
void RememberSignal(int nSignal) {
  const int nError = errno;
  if (s_nStopSignal == 0) {
    s_nStopSignal = nSignal;
    VCM::StopChildren(nSignal);
    alarm(GRACE_SECONDS);
  } else {
    VCM::KillStoppedChildren();
  }
  errno = nError;
}

void OnAlarm(int) {
  const int nError = errno;
  VCM::KillStoppedChildren();
  errno = nError;
}

void DoNothing(int) {}

void SetHandler(int nSignal, void (*pfnHandler)(int)) {
  struct sigaction tAction = {};
  tAction.sa_handler = pfnHandler;
  // SA_RESTART: neither the provider nor wxWidgets expects a system call to fail with EINTR.
  tAction.sa_flags = SA_RESTART;
  sigfillset(&tAction.sa_mask);
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
  SetHandler(SIGALRM, OnAlarm);
  // Our caller may have set it to be ignored; then waitpid() couldn't tell how a child ended.
  SetHandler(SIGCHLD, SIG_DFL);
  // Handlers instead of SIG_IGN: children would inherit that, while exec resets handlers.
  SetHandler(SIGPIPE, DoNothing);
  SetHandler(SIGXFSZ, DoNothing);
}

bool IsStopRequested() {
  return s_nStopSignal != 0;
}

void ThrowIfStopped() {
  if (IsStopRequested()) throw EStopped(s_nStopSignal);
}

}  // namespace TALVEK::HOST

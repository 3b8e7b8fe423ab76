#include "host/stop_signal.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "core/child_process.h"
#include "host/exit_status.h"

namespace TALVEK::HOST {
namespace {

/// What a child may take to put its affairs in order after a signal that asks it to end.
constexpr unsigned GRACE_SECONDS = 10;

volatile std::sig_atomic_t s_nStopSignal = 0;

// The two functions below run in signal handlers: only calls that are safe there.

/// A terminal tells the children too, `kill` doesn't; and reading a history can take a child hours.
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
  // Calls go on where they were: neither the provider nor the toolkit expects to be interrupted.
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
  // Whoever started us may ignore it; then nobody could learn how a child ended.
  SetHandler(SIGCHLD, SIG_DFL);
  // A handler, not SIG_IGN: children start with the default action for it, as they expect.
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

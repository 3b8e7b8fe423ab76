#include "host/stop_signal.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "core/child_process.h"
#include "host/exit_status.h"
#include "host/process_tree.h"

namespace TALVEK::HOST {
namespace {

/// What a child may take to put its affairs in order after a signal that asks it to end.
constexpr unsigned GRACE_SECONDS = 10;

volatile std::sig_atomic_t s_nStopSignal = 0;

TProcesses s_tTold;

// The functions up to OnAlarm run in signal handlers: only calls that are safe there.

/// A terminal tells the children too, `kill` doesn't; and reading a history can take a child hours. With
/// their descendants, because a client may be a script, and what it runs would go on alone.
void TellChildren(int nSignal) {
  ReadOwnChildren(s_tTold);
  for (std::size_t nIndex = 0; nIndex < s_tTold.nCount; ++nIndex)
    SignalTree(s_tTold.anPids[nIndex], nSignal);
  alarm(GRACE_SECONDS);
}

/// Ends those that didn't listen. What was started since then is our own and clears up.
void KillTold() {
  TProcesses tChildren;
  ReadOwnChildren(tChildren);
  for (std::size_t nIndex = 0; nIndex < tChildren.nCount; ++nIndex) {
    if (s_tTold.Contains(tChildren.anPids[nIndex])) SignalTree(tChildren.anPids[nIndex], SIGKILL);
  }
}

void RememberSignal(int nSignal) {
  const int nError = errno;
  if (s_nStopSignal == 0) {
    s_nStopSignal = nSignal;
    VCM::RefuseChildren();
    TellChildren(nSignal);
  } else {
    KillTold();
  }
  errno = nError;
}

void OnAlarm(int) {
  const int nError = errno;
  KillTold();
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

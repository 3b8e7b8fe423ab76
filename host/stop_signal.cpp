#include "host/stop_signal.h"

#include <csignal>

#include "host/exit_status.h"

namespace TALVEK::HOST {
namespace {

volatile std::sig_atomic_t s_nStopSignal = 0;

void RememberSignal(int nSignal) {
  s_nStopSignal = nSignal;
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

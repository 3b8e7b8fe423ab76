#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

#include "core/export.h"

namespace TALVEK::VCM {

/// A program to start. It gets these descriptors and no other; its signals are as if nobody had touched them,
/// save that SIGHUP, SIGINT and SIGQUIT stay ignored where the caller ignores them, as under nohup.
struct TChildStart {
  std::vector<std::string> astrArguments;  ///< the program first; execvp finds it. No text holds a NUL.
  int nStdInput = -1;                      ///< -1: there is nothing to read
  int nStdOutput = -1;
  int nStdError = -1;
  const char* pszFolder = nullptr;         ///< its working folder; null: the caller's
  char* const* ppszEnvironment = nullptr;  ///< null: the caller's
  bool bAfterStop = false;                 ///< may be started after StopChildren, too: it clears up
};

/// How a child process came out.
struct TChildResult {
  enum TKindType : int {
    ENDED = 0,        ///< nValue is its exit status, or 128 + the number of the signal that ended it.
    NOT_STARTED = 1,  ///< nValue is the errno that says why; ECANCELED after StopChildren.
    LOST = 2,         ///< It ran, but how it ended can't be learnt: nValue is waitpid's errno.
  };
  TKindType nKind = NOT_STARTED;
  int nValue = 0;
};

/// Starts a program without a shell, sets `nChild` and returns 0; or sets it to -1 and returns the
/// errno that says why.
///
/// Owns     Nothing: the descriptors stay the caller's. The caller must wait for the child.
/// Threads  Any. The child gets SIGTERM when the thread that started it ends.
///
/// A child leads a process group of its own, so that a signal reaches what it has started, too; but not where
/// there is a terminal. Only the terminal's foreground group may read from it: an ssh that asks for a
/// password would be stopped in another one, and the import with it. The kernel sends Ctrl-C to the whole
/// foreground group. So what a child has started misses a signal only when that comes by `kill`, at a
/// terminal.
TALVEK_CORE_API int StartChild(const TChildStart& tStart, pid_t& nChild);

/// Waits for the end of a child that StartChild has started.
TALVEK_CORE_API TChildResult WaitForChild(pid_t nChild);

/// Sends a signal to a child that hasn't been waited for, and to its process group if it leads one.
TALVEK_CORE_API void SignalChild(pid_t nChild, int nSignal);

/// Runs a program to its end. While it runs, and the caller ignores SIGCHLD, that signal is set to its
/// default for the whole process.
TALVEK_CORE_API TChildResult RunChild(const TChildStart& tStart);

/// For the signal handler of a program that was asked to end; async-signal-safe. Sends the signal to all
/// children. From now on, and for good, only children with `bAfterStop` start: a caller that runs a failed
/// command again would outlive the signal with it.
TALVEK_CORE_API void StopChildren(int nSignal);
/// Kills the children that StopChildren has told and that still run. Async-signal-safe.
TALVEK_CORE_API void KillStoppedChildren();

}  // namespace TALVEK::VCM

#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

#include "core/export.h"

namespace TALVEK::VCM {

/// A program to start. It gets these three descriptors and no other. All its signals are unblocked and have
/// their default action, but SIGHUP, SIGINT and SIGQUIT stay ignored if the caller ignores them (nohup).
struct TChildStart {
  std::vector<std::string> astrArguments;  ///< the program first; execvp finds it. No text holds a NUL.
  int nStdInput = -1;                      ///< -1: /dev/null
  int nStdOutput = -1;
  int nStdError = -1;
  const char* pszFolder = nullptr;         ///< its working folder; null: the caller's
  char* const* ppszEnvironment = nullptr;  ///< null: the caller's
  bool bAfterStop = false;                 ///< may start even after StopChildren; for programs that clean up
};

/// How a child process ended.
struct TChildResult {
  enum TKindType : int {
    ENDED = 0,        ///< nValue is its exit status, or 128 + the number of the signal that ended it.
    NOT_STARTED = 1,  ///< nValue is the errno that says why; ECANCELED after StopChildren.
    LOST = 2,         ///< It ran, but its exit status is unknown: nValue is waitpid's errno.
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
/// Process groups: without a terminal a child leads its own group, so that SignalChild also reaches what the
/// child has started. At a terminal it stays in the caller's group: only the foreground group may read from
/// the terminal, and an ssh that asks for a password would be stopped in any other. Ctrl-C goes to the whole
/// foreground group anyway; only a signal sent by `kill` misses the child's children there.
TALVEK_CORE_API int StartChild(const TChildStart& tStart, pid_t& nChild);

/// Waits for the end of a child that StartChild has started.
TALVEK_CORE_API TChildResult WaitForChild(pid_t nChild);

/// Sends a signal to a child that hasn't been waited for, and to its process group if it leads one.
TALVEK_CORE_API void SignalChild(pid_t nChild, int nSignal);

/// Runs a program to its end. If the caller ignores SIGCHLD, the whole process has its default action while
/// the program runs; otherwise the exit status would be lost.
TALVEK_CORE_API TChildResult RunChild(const TChildStart& tStart);

/// Sends the signal to all children. Call it from the signal handler of a program that is to end;
/// async-signal-safe. From then on only children with `bAfterStop` start; otherwise a caller that retries a
/// failed command would keep the program running.
TALVEK_CORE_API void StopChildren(int nSignal);
/// Kills the children that StopChildren has signalled and that still run. Async-signal-safe.
TALVEK_CORE_API void KillStoppedChildren();

}  // namespace TALVEK::VCM

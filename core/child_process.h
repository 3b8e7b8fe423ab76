#pragma once

#include <string>
#include <vector>

#include "core/export.h"

namespace TALVEK::VCM {

/// How a child process came out.
struct TChildResult {
  enum TKindType : int {
    ENDED = 0,        ///< nValue is its exit status, or 128 + the number of the signal that ended it.
    NOT_STARTED = 1,  ///< nValue is the errno that says why.
    LOST = 2,         ///< It ran, but how it ended can't be learnt: nValue is waitpid's errno.
  };
  TKindType nKind = NOT_STARTED;
  int nValue = 0;
};

/// Runs a program to its end, without a shell; execvp finds it.
///
/// Shape    `astrArguments` starts with the program and isn't empty; no text in it holds a NUL. The child
///          reads nothing, writes to the two descriptors and has no other; its signals are as if nobody
///          had touched them.
/// Owns     Nothing: the descriptors stay the caller's.
/// Threads  Any. The child gets SIGTERM when the calling thread ends. While a program runs whose caller
///          ignores SIGCHLD, that signal is set to its default for the whole process.
TChildResult RunChild(std::vector<std::string> astrArguments, int nStdOutput, int nStdError);

/// From now on, and for good, RunChild starts nothing (ECANCELED). For the signal handler of a program that
/// was asked to end: a caller that runs a failed command again would outlive the signal with it.
TALVEK_CORE_API void RefuseChildren();

}  // namespace TALVEK::VCM

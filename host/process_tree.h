#pragma once

#include <cstddef>

#include <sys/types.h>

namespace TALVEK::HOST {

/// A few processes. Both functions below are safe in a signal handler: they take no memory and no lock.
struct TProcesses {
  static constexpr std::size_t MOST = 128;
  pid_t anPids[MOST];
  std::size_t nCount = 0;

  bool Contains(pid_t nPid) const;
};

/// Adds the children of the calling thread.
void ReadOwnChildren(TProcesses& tChildren);

/// Sends a signal to a process and to all that descend from it, eight generations deep.
void SignalTree(pid_t nPid, int nSignal);

}  // namespace TALVEK::HOST

#pragma once

#include <chrono>
#include <cstddef>
#include <initializer_list>
#include <string_view>

#include <sys/types.h>

#include "core/descriptor.h"

namespace TALVEK::SESSION {

/// What ends a wait when no data comes.
struct TWaitLimits {
  std::chrono::milliseconds nTimeout = std::chrono::seconds(300);
  int nCallerDescriptor = -1;  ///< a pidfd: the end of that process also ends the wait; -1: none
};

enum TWaitType {
  WAIT_READY,         ///< a descriptor is ready, or its other end has hung up
  WAIT_TIMED_OUT,     ///< nothing happened before the time-out
  WAIT_CALLER_ENDED,  ///< the process of `nCallerDescriptor` has ended, or a signal came (LetSignalsEndWaits)
};

/// From now on SIGHUP, SIGINT and SIGTERM, unless ignored, don't end the process. They end each wait that
/// watches the caller, as the caller's end does.
void LetSignalsEndWaits();

/// Waits until one of up to four descriptors can be read. -1 among them is ignored.
TWaitType WaitToRead(std::initializer_list<int> anDescriptors, const TWaitLimits& tLimits);

/// As WaitToRead, but polls every 100 us for the first 5 ms. This shortens a wait of local servers: a cvs
/// server forks a child, which finally loops, without sleeping, until its parent has read everything. If both
/// are on one processor, the parent runs only at the kernel's next tick (4 ms), although other processors are
/// idle. An idle processor that we wake up takes the waiting parent over.
TWaitType WaitWithNaps(std::initializer_list<int> anDescriptors, const TWaitLimits& tLimits);

/// Writes all bytes to a non-blocking descriptor. False when the other end has hung up, or takes nothing
/// before the time-out.
bool WriteAll(int nDescriptor, std::string_view strBytes, const TWaitLimits& tLimits);

/// Reads once from a non-blocking descriptor. Returns the number of bytes; 0 at the end or after an error; -1
/// when nothing is there yet.
std::ptrdiff_t ReadSome(int nDescriptor, char* pBytes, std::size_t nBytes);

/// CVS_SESSION_TIMEOUT, else 300 s.
std::chrono::seconds ConfiguredTimeout();

/// The number of seconds in an environment variable; `nDefault` when it isn't set or not from 1 to 86400 (a
/// day).
std::chrono::seconds SecondsFromEnvironment(const char* pszName, std::chrono::seconds nDefault);

void MakeNonBlocking(int nDescriptor);

/// A pidfd: it becomes readable when the process ends. Not open when there is no such process.
VCM::CDescriptor OpenProcess(pid_t nId);

}  // namespace TALVEK::SESSION

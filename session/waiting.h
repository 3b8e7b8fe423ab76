#pragma once

#include <chrono>
#include <cstddef>
#include <initializer_list>
#include <string_view>

#include <sys/types.h>

#include "core/descriptor.h"

namespace TALVEK::SESSION {

/// What ends a wait when nothing comes.
struct TWaitLimits {
  std::chrono::milliseconds nTimeout = std::chrono::seconds(300);
  int nCallerDescriptor = -1;  ///< the pidfd of a process whose end ends the wait, too; -1: none
};

enum TWaitType {
  WAIT_READY,         ///< something can be done, or the other end has gone
  WAIT_TIMED_OUT,     ///< nothing happened before the time-out
  WAIT_CALLER_ENDED,  ///< the process of `nCallerDescriptor` has ended
};

/// Waits until one of the descriptors, up to four, can be read. -1 stands for none.
TWaitType WaitToRead(std::initializer_list<int> anDescriptors, const TWaitLimits& tLimits);

/// As WaitToRead, for a server on this machine that should answer within milliseconds: wakes up every 100 us
/// for the first 5 ms. The child of a cvs server ends with a busy loop, in which it asks whether its parent
/// has read everything. When both share a processor, the parent can't read before the kernel's next tick (4
/// ms), while the other processors sleep. One that wakes up for us finds the parent waiting, and runs it.
TWaitType WaitWithNaps(std::initializer_list<int> anDescriptors, const TWaitLimits& tLimits);

/// Writes it all to a descriptor that doesn't block. False when the other end has gone, or
/// can't take more before the time-out.
bool WriteAll(int nDescriptor, std::string_view strBytes, const TWaitLimits& tLimits);

/// One read of a descriptor that doesn't block. Returns the number of bytes; 0 at the end or after an error;
/// -1 when there is nothing yet.
std::ptrdiff_t ReadSome(int nDescriptor, char* pBytes, std::size_t nBytes);

/// The time-out that the environment asks for, else 300 s.
std::chrono::seconds ConfiguredTimeout();

/// The number of seconds in an environment variable; `nDefault` when there is none, or none from 1 to a day.
std::chrono::seconds SecondsFromEnvironment(const char* pszName, std::chrono::seconds nDefault);

void MakeNonBlocking(int nDescriptor);

/// A pidfd: it becomes readable when the process ends. Not open when there is no such process.
VCM::CDescriptor OpenProcess(pid_t nId);

}  // namespace TALVEK::SESSION

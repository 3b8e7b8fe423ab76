#pragma once

#include <chrono>
#include <cstddef>
#include <initializer_list>
#include <string_view>

#include <sys/types.h>

#include "core/descriptor.h"

namespace TALVEK::SESSION {

/// How long a wait may last, and a process whose end ends every wait (-1: none).
struct TPatience {
  std::chrono::milliseconds nLimit = std::chrono::seconds(300);
  int nCallerDescriptor = -1;  ///< a pidfd
};

enum EWait {
  WAIT_READY,         ///< something can be done, or the other end has gone
  WAIT_TIMED_OUT,     ///< nothing happened for as long as the patience lasts
  WAIT_CALLER_ENDED,  ///< the process to wait with has ended
};

/// Waits until one of the descriptors, up to four, can be read. -1 stands for none.
EWait WaitToRead(std::initializer_list<int> anDescriptors, const TPatience& tPatience);

/// As WaitToRead, for what should come within milliseconds from a process of this machine: sleeps lightly at
/// first. A cvs server's child, when it has written its last, asks without pause whether its parent has read
/// it. On one processor with it the parent waits for its turn meanwhile, up to the kernel's next tick (4 ms),
/// and the other processors sleep. One that wakes up looks for work, and takes the parent over.
EWait WaitLightly(std::initializer_list<int> anDescriptors, const TPatience& tPatience);

/// Writes it all to a descriptor that doesn't block. False when the other end has gone, or the patience.
bool WriteAll(int nDescriptor, std::string_view strBytes, const TPatience& tPatience);

/// One read of a descriptor that doesn't block: bytes, 0 at the end (errors, too), -1 when there is nothing
/// yet.
std::ptrdiff_t ReadSome(int nDescriptor, char* pBytes, std::size_t nBytes);

/// The time-out that the environment asks for, else 300 s.
std::chrono::seconds ConfiguredTimeout();

/// The bare number of seconds in an environment variable; `nDefault` when there is none.
std::chrono::seconds SecondsFromEnvironment(const char* pszName, std::chrono::seconds nDefault);

void MakeNonBlocking(int nDescriptor);

/// A descriptor that can be read when the process has ended. Not open when there is no such process.
VCM::CDescriptor OpenProcess(pid_t nId);

}  // namespace TALVEK::SESSION

#include "session/short_turns.h"

#include <cstdint>

#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace TALVEK::SESSION {

namespace {

/// The first version of struct sched_attr, see sched_getattr(2). glibc declares it only from 2.41 on.
struct TAttributes {
  std::uint32_t nSize = sizeof(TAttributes);
  std::uint32_t nPolicy = 0;
  std::uint64_t nFlags = 0;
  std::int32_t nNice = 0;
  std::uint32_t nPriority = 0;
  std::uint64_t nRuntime = 0;  ///< with SCHED_OTHER: the length of a time slice, in nanoseconds
  std::uint64_t nDeadline = 0;
  std::uint64_t nPeriod = 0;
};

/// Nanoseconds: the kernel's lower bound.
constexpr std::uint64_t TURN = 100'000;

}  // namespace

void TakeShortTurns() {
  TAttributes tAttributes;
  if (::syscall(SYS_sched_getattr, 0, &tAttributes, sizeof tAttributes, 0) != 0) return;
  if (tAttributes.nPolicy != SCHED_OTHER) return;
  tAttributes.nRuntime = TURN;
  ::syscall(SYS_sched_setattr, 0, &tAttributes, 0);
}

}  // namespace TALVEK::SESSION

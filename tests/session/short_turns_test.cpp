#include "session/short_turns.h"

#include <gtest/gtest.h>

#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace TALVEK::SESSION {
namespace {

/// Runs TakeShortTurns in a child with this scheduling policy and niceness. 0 when both stay as they were.
int AskAs(int nPolicy, int nNice) {
  const pid_t nChild = ::fork();
  if (nChild == 0) {
    const sched_param tParameters{};
    if (::sched_setscheduler(0, nPolicy, &tParameters) != 0 || ::setpriority(PRIO_PROCESS, 0, nNice) != 0)
      ::_exit(2);
    TakeShortTurns();
    ::_exit(::sched_getscheduler(0) == nPolicy && ::getpriority(PRIO_PROCESS, 0) == nNice ? 0 : 1);
  }
  int nStatus = 0;
  ::waitpid(nChild, &nStatus, 0);
  return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
}

TEST(ShortTurnsTest, PolicyAndNicenessStayAsTheyWere) {
  EXPECT_EQ(AskAs(SCHED_OTHER, ::getpriority(PRIO_PROCESS, 0)), 0);
  EXPECT_EQ(AskAs(SCHED_OTHER, 19), 0);
  EXPECT_EQ(AskAs(SCHED_BATCH, 19), 0);
  EXPECT_EQ(AskAs(SCHED_IDLE, 19), 0);
}

}  // namespace
}  // namespace TALVEK::SESSION

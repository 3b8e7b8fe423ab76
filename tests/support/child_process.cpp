#include "tests/support/child_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <vector>

namespace TALVEK::TEST {

namespace {

pid_t Start(const std::function<int()>& fnBody) {
  const pid_t nChild = fork();
  if (nChild < 0) throw std::runtime_error("can't fork");
  if (nChild == 0) _exit(fnBody());
  return nChild;
}

int WaitFor(pid_t nChild) {
  int nStatus = 0;
  if (waitpid(nChild, &nStatus, 0) != nChild) throw std::runtime_error("can't wait");
  return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
}

}  // namespace

int RunInChild(const std::function<int()>& fnBody) {
  return WaitFor(Start(fnBody));
}

int RunInChildren(int nCount, const std::function<int()>& fnBody) {
  std::vector<pid_t> anChildren;
  for (int i = 0; i < nCount; ++i) {
    anChildren.push_back(Start(fnBody));
  }
  int nResult = 0;
  for (const pid_t nChild : anChildren) {
    const int nOfChild = WaitFor(nChild);
    if (nOfChild != 0) nResult = nOfChild;
  }
  return nResult;
}

}  // namespace TALVEK::TEST

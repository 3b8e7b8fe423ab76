#include "core/child_process.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/descriptor.h"

namespace TALVEK::VCM {

namespace {

/// The first descriptor behind the standard ones.
constexpr int FIRST_FREE = 3;

volatile std::sig_atomic_t s_bRefused = 0;

/// What the child needs before it becomes the program. Made before there is a child, which may allocate
/// nothing: another thread of the parent's may hold the allocator's lock.
struct TChildPlan {
  std::vector<char*> apszArguments;
  CDescriptor oNullDevice;
  CDescriptor oStdOutput;
  CDescriptor oStdError;
  CDescriptor oReport;  ///< takes the errno of an exec that failed; closed by one that succeeds
  pid_t nParent = 0;
};

/// Keeps every signal from the calling thread, so that no handler of the parent's ever runs in the child.
class CSignalsBlocked {
 public:
  CSignalsBlocked() {
    sigset_t oAll;
    sigfillset(&oAll);
    pthread_sigmask(SIG_SETMASK, &oAll, &m_oPrevious);
  }
  ~CSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_oPrevious, nullptr); }
  CSignalsBlocked(const CSignalsBlocked&) = delete;
  CSignalsBlocked& operator=(const CSignalsBlocked&) = delete;

 private:
  sigset_t m_oPrevious;
};

/// A process that ignores SIGCHLD never learns how its children end; for as long as one of ours runs it
/// doesn't.
class CChildSignalKept {
 public:
  CChildSignalKept() {
    sigaction(SIGCHLD, nullptr, &m_oPrevious);
    m_bChanged = m_oPrevious.sa_handler == SIG_IGN || (m_oPrevious.sa_flags & SA_NOCLDWAIT);
    struct sigaction oDefault {};
    oDefault.sa_handler = SIG_DFL;
    if (m_bChanged) sigaction(SIGCHLD, &oDefault, nullptr);
  }
  ~CChildSignalKept() {
    if (m_bChanged) sigaction(SIGCHLD, &m_oPrevious, nullptr);
  }
  CChildSignalKept(const CChildSignalKept&) = delete;
  CChildSignalKept& operator=(const CChildSignalKept&) = delete;

 private:
  struct sigaction m_oPrevious {};
  bool m_bChanged = false;
};

/// Makes a copy outside 0 to 2: in a process without standard descriptors a file may sit on one of those,
/// where the child's dup2 would overwrite it, or leave it closing on exec. False with errno set when that
/// fails.
bool DuplicateAboveStandard(int nDescriptor, CDescriptor& oCopy) {
  oCopy = CDescriptor(::fcntl(nDescriptor, F_DUPFD_CLOEXEC, FIRST_FREE));
  return oCopy.IsOpen();
}

// The four functions below run in the child: async-signal-safe calls only.

void ResetSignals() {
  struct sigaction oDefault {};
  oDefault.sa_handler = SIG_DFL;
  for (int nSignal = 1; nSignal < NSIG; ++nSignal)
    sigaction(nSignal, &oDefault, nullptr);  // fails for those that nobody can change
  sigset_t oNone;
  sigemptyset(&oNone);
  sigprocmask(SIG_SETMASK, &oNone, nullptr);
}

bool TieToParent(const TChildPlan& tPlan) {
  if (::prctl(PR_SET_PDEATHSIG, SIGTERM) != 0) return false;
  // A parent that died before the call above would never be noticed.
  if (::getppid() != tPlan.nParent) ::_exit(127);
  return true;
}

bool PlaceDescriptors(const TChildPlan& tPlan) {
  if (::dup2(tPlan.oNullDevice.Get(), STDIN_FILENO) < 0) return false;
  if (::dup2(tPlan.oStdOutput.Get(), STDOUT_FILENO) < 0) return false;
  if (::dup2(tPlan.oStdError.Get(), STDERR_FILENO) < 0) return false;
  // A server's sockets and locks aren't for its child. Where the kernel doesn't know the call (before 5.11)
  // the child keeps those that weren't opened to close by themselves.
  ::close_range(FIRST_FREE, ~0U, CLOSE_RANGE_CLOEXEC);
  return true;
}

/// Not inlined: the child runs on the parent's stack, where its variables must not take the place of ones
/// that the parent still needs.
[[noreturn, gnu::noinline]] void BecomeProgram(const TChildPlan& tPlan) {
  if (TieToParent(tPlan) && PlaceDescriptors(tPlan)) {
    ResetSignals();
    ::execvp(tPlan.apszArguments[0], tPlan.apszArguments.data());
  }
  const int nError = errno;
  [[maybe_unused]] const ssize_t nIgnored = ::write(tPlan.oReport.Get(), &nError, sizeof nError);
  ::_exit(127);
}

/// vfork and not fork, which copies the page tables: 130 ms a run in a server of 4 GB, where a run else takes
/// one. Until exec the child has the parent's memory, so that it writes to nothing but its own variables;
/// what it does to descriptors and signals is its own affair.
pid_t StartChild(const TChildPlan& tPlan) {
  const CSignalsBlocked oBlocked;
  // Asked here, where no handler can come in between: a child is refused, or there to be told.
  if (s_bRefused) {
    errno = ECANCELED;
    return -1;
  }
  const pid_t nChild = ::vfork();
  if (nChild == 0) BecomeProgram(tPlan);
  return nChild;
}

/// The errno that the child reported, 0 once it has become the program.
int ReadReport(int nDescriptor) {
  int nError = 0;
  ssize_t nRead = 0;
  do {
    nRead = ::read(nDescriptor, &nError, sizeof nError);
  } while (nRead < 0 && errno == EINTR);
  return nRead == sizeof nError ? nError : 0;
}

TChildResult WaitForEnd(pid_t nChild) {
  int nStatus = 0;
  pid_t nEnded = 0;
  do {
    nEnded = ::waitpid(nChild, &nStatus, 0);
  } while (nEnded < 0 && errno == EINTR);
  if (nEnded < 0) return {TChildResult::LOST, errno};
  if (WIFSIGNALED(nStatus)) return {TChildResult::ENDED, 128 + WTERMSIG(nStatus)};
  return {TChildResult::ENDED, WEXITSTATUS(nStatus)};
}

bool MakePlan(std::vector<std::string>& astrArguments, int nStdOutput, int nStdError, TChildPlan& tPlan) {
  for (std::string& strArgument : astrArguments)
    tPlan.apszArguments.push_back(strArgument.data());
  tPlan.apszArguments.push_back(nullptr);
  tPlan.nParent = ::getpid();
  const CDescriptor oNullDevice(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  return oNullDevice.IsOpen() && DuplicateAboveStandard(oNullDevice.Get(), tPlan.oNullDevice) &&
         DuplicateAboveStandard(nStdOutput, tPlan.oStdOutput) &&
         DuplicateAboveStandard(nStdError, tPlan.oStdError);
}

/// The pipe's end to read from, none with errno set when that fails; the other end goes into the plan.
CDescriptor OpenReport(TChildPlan& tPlan) {
  int anEnds[2] = {-1, -1};
  if (::pipe2(anEnds, O_CLOEXEC) != 0) return {};
  CDescriptor oReadEnd(anEnds[0]);
  const CDescriptor oWriteEnd(anEnds[1]);
  if (!DuplicateAboveStandard(oWriteEnd.Get(), tPlan.oReport)) return {};
  return oReadEnd;
}

}  // namespace

void RefuseChildren() {
  s_bRefused = 1;
}

TChildResult RunChild(std::vector<std::string> astrArguments, int nStdOutput, int nStdError) {
  TChildPlan tPlan;
  if (!MakePlan(astrArguments, nStdOutput, nStdError, tPlan)) return {TChildResult::NOT_STARTED, errno};
  const CDescriptor oReport = OpenReport(tPlan);
  if (!oReport.IsOpen()) return {TChildResult::NOT_STARTED, errno};
  const CChildSignalKept oSignal;
  const pid_t nChild = StartChild(tPlan);
  if (nChild < 0) return {TChildResult::NOT_STARTED, errno};
  tPlan.oReport.Close();  // or the read below would wait for ourselves
  const int nStartError = ReadReport(oReport.Get());
  const TChildResult tResult = WaitForEnd(nChild);
  return nStartError != 0 ? TChildResult{TChildResult::NOT_STARTED, nStartError} : tResult;
}

}  // namespace TALVEK::VCM

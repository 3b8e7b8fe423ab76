#include "core/child_process.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/descriptor.h"

namespace TALVEK::VCM {

namespace {

/// The first descriptor behind the standard ones.
constexpr int FIRST_FREE = 3;

/// A child that runs, for a signal handler to find.
struct TRunning {
  std::atomic<bool> bTaken{false};
  std::atomic<pid_t> nTarget{0};  ///< as kill(2) takes it: -pid for the child's group; 0: not started yet
  std::atomic<bool> bTold{false};
};
static_assert(std::atomic<pid_t>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

/// A host has two at a time: git fast-import, and a client or another git.
constexpr std::size_t MOST_CHILDREN = 16;

std::array<TRunning, MOST_CHILDREN> s_atRunning;
std::atomic<bool> s_bStopped{false};

/// Null when none is free.
TRunning* TakeFree() {
  for (TRunning& tRunning : s_atRunning) {
    if (tRunning.bTaken.exchange(true)) continue;
    tRunning.bTold = false;
    return &tRunning;
  }
  return nullptr;
}

void Free(TRunning& tRunning) {
  tRunning.nTarget = 0;
  tRunning.bTaken = false;
}

/// Null for a process that isn't a child of ours.
TRunning* Find(pid_t nChild) {
  if (nChild <= 0) return nullptr;
  for (TRunning& tRunning : s_atRunning) {
    if (tRunning.nTarget == nChild || tRunning.nTarget == -nChild) return &tRunning;
  }
  return nullptr;
}

/// What the child needs before it becomes the program. Made before there is a child, which may allocate
/// nothing: another thread of the parent's may hold the allocator's lock.
struct TChildPlan {
  std::vector<char*> apszArguments;
  char* const* ppszEnvironment = nullptr;
  const char* pszFolder = nullptr;
  CDescriptor oStdInput;
  CDescriptor oStdOutput;
  CDescriptor oStdError;
  CDescriptor oReport;  ///< takes the errno of an exec that failed; closed by one that succeeds
  pid_t nParent = 0;
  bool bOwnGroup = false;
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

// The five functions below run in the child: async-signal-safe calls only.

bool StaysIgnored(int nSignal) {
  if (nSignal != SIGHUP && nSignal != SIGINT && nSignal != SIGQUIT) return false;
  struct sigaction oNow {};
  return sigaction(nSignal, nullptr, &oNow) == 0 && oNow.sa_handler == SIG_IGN;
}

void ResetSignals() {
  struct sigaction oDefault {};
  oDefault.sa_handler = SIG_DFL;
  for (int nSignal = 1; nSignal < NSIG; ++nSignal) {
    // Fails for those that nobody can change.
    if (!StaysIgnored(nSignal)) sigaction(nSignal, &oDefault, nullptr);
  }
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
  if (::dup2(tPlan.oStdInput.Get(), STDIN_FILENO) < 0) return false;
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
  const bool bInGroup = !tPlan.bOwnGroup || ::setpgid(0, 0) == 0;
  const bool bInFolder = !tPlan.pszFolder || ::chdir(tPlan.pszFolder) == 0;
  if (bInGroup && bInFolder && TieToParent(tPlan) && PlaceDescriptors(tPlan)) {
    ResetSignals();
    ::execvpe(tPlan.apszArguments[0], tPlan.apszArguments.data(), tPlan.ppszEnvironment);
  }
  const int nError = errno;
  [[maybe_unused]] const ssize_t nIgnored = ::write(tPlan.oReport.Get(), &nError, sizeof nError);
  ::_exit(127);
}

/// vfork and not fork, which copies the page tables: 130 ms a run in a server of 4 GB, where a run else takes
/// one. Until exec the child has the parent's memory, so that it writes to nothing but its own variables;
/// what it does to descriptors and signals is its own affair.
pid_t Fork(const TChildPlan& tPlan, bool bAfterStop) {
  const CSignalsBlocked oBlocked;
  // Asked here, where no handler can come in between: a child is refused, or there to be told.
  if (s_bStopped && !bAfterStop) {
    errno = ECANCELED;
    return -1;
  }
  TRunning* const ptRunning = TakeFree();
  if (!ptRunning) {
    errno = EAGAIN;
    return -1;
  }
  // posix_spawn, which the check wants, can't tie the child to its parent.
  const pid_t nChild = ::vfork();         // NOLINT(clang-analyzer-security.insecureAPI.vfork)
  if (nChild == 0) BecomeProgram(tPlan);  // NOLINT(clang-analyzer-unix.Vfork): it keeps to the rule above
  if (nChild < 0) {
    Free(*ptRunning);
  } else {
    ptRunning->nTarget = tPlan.bOwnGroup ? -nChild : nChild;
  }
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

bool HasTerminal() {
  return CDescriptor(::open("/dev/tty", O_RDONLY | O_NOCTTY | O_CLOEXEC)).IsOpen();
}

/// `astrArguments` must outlive the plan. False with errno set when a descriptor can't be had.
bool MakePlan(const TChildStart& tStart, std::vector<std::string>& astrArguments, TChildPlan& tPlan) {
  for (std::string& strArgument : astrArguments)
    tPlan.apszArguments.push_back(strArgument.data());
  tPlan.apszArguments.push_back(nullptr);
  tPlan.ppszEnvironment = tStart.ppszEnvironment ? tStart.ppszEnvironment : environ;
  tPlan.pszFolder = tStart.pszFolder;
  tPlan.nParent = ::getpid();
  tPlan.bOwnGroup = !HasTerminal();
  CDescriptor oNothing;
  if (tStart.nStdInput < 0) oNothing = CDescriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  const int nStdInput = tStart.nStdInput < 0 ? oNothing.Get() : tStart.nStdInput;
  return nStdInput >= 0 && DuplicateAboveStandard(nStdInput, tPlan.oStdInput) &&
         DuplicateAboveStandard(tStart.nStdOutput, tPlan.oStdOutput) &&
         DuplicateAboveStandard(tStart.nStdError, tPlan.oStdError);
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

int StartChild(const TChildStart& tStart, pid_t& nChild) {
  std::vector<std::string> astrArguments = tStart.astrArguments;
  TChildPlan tPlan;
  if (!MakePlan(tStart, astrArguments, tPlan)) return errno;
  const CDescriptor oReport = OpenReport(tPlan);
  if (!oReport.IsOpen()) return errno;
  nChild = Fork(tPlan, tStart.bAfterStop);
  if (nChild < 0) return errno;
  tPlan.oReport.Close();  // or the read below would wait for ourselves
  const int nError = ReadReport(oReport.Get());
  if (nError != 0) WaitForChild(std::exchange(nChild, -1));
  return nError;
}

TChildResult WaitForChild(pid_t nChild) {
  siginfo_t tEnd{};
  while (::waitid(P_PID, static_cast<id_t>(nChild), &tEnd, WEXITED | WNOWAIT) < 0 && errno == EINTR) {
  }
  // Before the child is taken off, because from then on its number may be another's.
  if (TRunning* const ptRunning = Find(nChild)) Free(*ptRunning);
  int nStatus = 0;
  if (::waitpid(nChild, &nStatus, 0) < 0) return {TChildResult::LOST, errno};
  if (WIFSIGNALED(nStatus)) return {TChildResult::ENDED, 128 + WTERMSIG(nStatus)};
  return {TChildResult::ENDED, WEXITSTATUS(nStatus)};
}

void SignalChild(pid_t nChild, int nSignal) {
  if (const TRunning* const ptRunning = Find(nChild)) ::kill(ptRunning->nTarget, nSignal);
}

TChildResult RunChild(const TChildStart& tStart) {
  const CChildSignalKept oSignal;
  pid_t nChild = 0;
  const int nError = StartChild(tStart, nChild);
  return nError != 0 ? TChildResult{TChildResult::NOT_STARTED, nError} : WaitForChild(nChild);
}

void StopChildren(int nSignal) {
  s_bStopped = true;
  for (TRunning& tRunning : s_atRunning) {
    const pid_t nTarget = tRunning.nTarget;
    if (nTarget == 0) continue;
    tRunning.bTold = true;
    ::kill(nTarget, nSignal);
  }
}

void KillStoppedChildren() {
  for (const TRunning& tRunning : s_atRunning) {
    const pid_t nTarget = tRunning.nTarget;
    if (nTarget != 0 && tRunning.bTold) ::kill(nTarget, SIGKILL);
  }
}

}  // namespace TALVEK::VCM

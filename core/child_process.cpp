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

/// A running child, in a fixed table that a signal handler can read.
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

/// Null when all are taken.
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

/// What the child needs until exec. It is prepared before the fork, because the child must not allocate:
/// another thread of the parent may hold the allocator's lock.
struct TChildPlan {
  std::vector<char*> apszArguments;
  char* const* ppszEnvironment = nullptr;
  const char* pszFolder = nullptr;
  CDescriptor oStdInput;
  CDescriptor oStdOutput;
  CDescriptor oStdError;
  CDescriptor oReport;  ///< pipe for the errno of a failed exec; a successful exec closes it
  pid_t nParent = 0;
  bool bOwnGroup = false;
};

/// Blocks all signals in the calling thread, so that the parent's handlers can't run in the child.
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

/// Stops ignoring SIGCHLD for its lifetime: a process that ignores it gets no exit status of its children.
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

/// Copies a descriptor to a number above 2. In a process that was started without standard descriptors any
/// file may have got 0 to 2: the child's dup2 would overwrite it, or leave it close-on-exec. False with errno
/// set when that fails.
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
    // Fails for SIGKILL and SIGSTOP.
    if (!StaysIgnored(nSignal)) sigaction(nSignal, &oDefault, nullptr);
  }
  sigset_t oNone;
  sigemptyset(&oNone);
  sigprocmask(SIG_SETMASK, &oNone, nullptr);
}

bool TieToParent(const TChildPlan& tPlan) {
  if (::prctl(PR_SET_PDEATHSIG, SIGTERM) != 0) return false;
  // No signal comes for a parent that died before the call above.
  if (::getppid() != tPlan.nParent) ::_exit(127);
  return true;
}

bool PlaceDescriptors(const TChildPlan& tPlan) {
  if (::dup2(tPlan.oStdInput.Get(), STDIN_FILENO) < 0) return false;
  if (::dup2(tPlan.oStdOutput.Get(), STDOUT_FILENO) < 0) return false;
  if (::dup2(tPlan.oStdError.Get(), STDERR_FILENO) < 0) return false;
  // The child must not inherit the server's sockets and locks. Kernels before 5.11 lack this call; there the
  // child inherits what was opened without O_CLOEXEC.
  ::close_range(FIRST_FREE, ~0U, CLOSE_RANGE_CLOEXEC);
  return true;
}

/// Not inlined: after vfork the child runs on the parent's stack, and needs a frame of its own to leave the
/// parent's variables alone.
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

/// vfork, because fork copies the page tables: in a server of 4 GB that takes 130 ms, with vfork 1 ms. Until
/// exec the child shares the parent's memory, so it writes only to its own variables. Its descriptors and
/// signal actions are its own.
pid_t Fork(const TChildPlan& tPlan, bool bAfterStop) {
  const CSignalsBlocked oBlocked;
  // Checked while signals are blocked: StopChildren runs either before (no child starts) or after (it finds
  // the child).
  if (s_bStopped && !bAfterStop) {
    errno = ECANCELED;
    return -1;
  }
  TRunning* const ptRunning = TakeFree();
  if (!ptRunning) {
    errno = EAGAIN;
    return -1;
  }
  // posix_spawn, which the linter wants, can't set PR_SET_PDEATHSIG.
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

/// Makes the report pipe. Returns its read end, or none with errno set; the write end goes into the plan.
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
  tPlan.oReport.Close();  // otherwise the read below never sees the end of the pipe
  const int nError = ReadReport(oReport.Get());
  if (nError != 0) WaitForChild(std::exchange(nChild, -1));
  return nError;
}

TChildResult WaitForChild(pid_t nChild) {
  siginfo_t tEnd{};
  while (::waitid(P_PID, static_cast<id_t>(nChild), &tEnd, WEXITED | WNOWAIT) < 0 && errno == EINTR) {
  }
  // Freed before waitpid reaps the child: after that another process may get the same number.
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

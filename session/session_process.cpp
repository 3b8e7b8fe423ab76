#include "session/session_process.h"

#include <csignal>
#include <cstring>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "session/failure.h"
#include "session/frame.h"
#include "session/server_connection.h"
#include "session/short_turns.h"

namespace TALVEK::SESSION {

namespace {

/// An incomplete reply is passed on once this many bytes of it have come.
constexpr std::size_t PIECE = 1 << 16;

/// One session, from its first connection to its last.
class CSession {
 public:
  CSession(int nListener, const TWaitLimits& tLimits, const std::string& strKey)
      : m_oListener(nListener), m_tLimits(tLimits), m_strKey(strKey) {}

  void Run(const TCheckout& tCheckout) {
    const std::string strFailure = Open(tCheckout);
    // After Open, because the password file's path may be relative to the command's folder.
    if (::chdir("/") != 0) return;
    if (strFailure.empty()) {
      while (AwaitCommand() && ServeCommand()) {
      }
    } else {
      TellWaiting(strFailure);
    }
  }

 private:
  std::string Open(const TCheckout& tCheckout) try {
    m_poServer = std::make_unique<CServerConnection>(tCheckout, m_tLimits);
    return std::string();
  } catch (const EFailure& oFailure) {
    return oFailure.what();
  }

  /// Tells the failure to the commands that are waiting for this connection. The next command starts a new
  /// session.
  void TellWaiting(const std::string& strFailure) {
    TWaitLimits tShortLimits{std::chrono::seconds(1), m_tLimits.nCallerDescriptor};
    while (WaitToRead({m_oListener.Get()}, tShortLimits) == WAIT_READY) {
      if (!Accept()) continue;
      SendFrame(m_oCommand.Get(), FRAME_FAILED, strFailure, m_tLimits);
      WaitUntilCommandLeaves();
      // Without this, commands in close succession would be told of this one failure for ever.
      tShortLimits.nTimeout = std::chrono::milliseconds(0);
    }
  }

  bool Accept() {
    m_oCommand =
        VCM::CDescriptor(::accept4(m_oListener.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    return m_oCommand.IsOpen() && IsSameUser(m_oCommand.Get());
  }

  /// False when the session must end: no command came in time, the caller ended, or the server hung up.
  bool AwaitCommand() {
    const TWaitLimits tIdleLimits{SecondsFromEnvironment("CVS_SESSION_IDLE", std::chrono::seconds(60)),
                                  m_tLimits.nCallerDescriptor};
    // Between commands a server sends nothing, so anything from it ends the session, as its end does.
    m_oCommand.Close();
    while (WaitToRead({m_oListener.Get(), m_poServer->ReadDescriptor()}, tIdleLimits) == WAIT_READY) {
      bool bEnded = false;
      if (!m_poServer->ReadAvailable(bEnded).empty() || bEnded) return false;
      if (Accept()) return true;
    }
    return false;
  }

  /// False when the connection isn't fit for another command.
  bool ServeCommand() {
    CFrameReader oFrames(m_oCommand.Get(), m_tLimits);
    char chFrame = 0;
    std::string strText;
    if (oFrames.Read(chFrame, strText) != FRAME_READ || chFrame != FRAME_KEY) return true;
    if (strText != m_strKey) {
      SendFrame(m_oCommand.Get(), FRAME_REFUSED, "", m_tLimits);
      return true;
    }
    if (!SendFrame(m_oCommand.Get(), FRAME_READY, "", m_tLimits) || !PassErrors()) return true;
    return ServeRequests(oFrames);
  }

  bool ServeRequests(CFrameReader& oFrames) {
    for (bool bAsked = false;; bAsked = true) {
      char chFrame = 0;
      std::string strText;
      // If a command leaves in the middle of a reply, the next one would get the rest: end the session.
      if (oFrames.Read(chFrame, strText) != FRAME_READ) return !bAsked;
      if (chFrame != FRAME_REQUEST) return chFrame == FRAME_RELEASE;
      if (!m_poServer->Send(strText)) return Break();
      if (!Relay()) return false;
    }
  }

  bool PassErrors() { return PassErrors(m_poServer->TakeErrors()); }
  bool PassErrors(const std::string& strErrors) {
    return strErrors.empty() || SendFrame(m_oCommand.Get(), FRAME_ERRORS, strErrors, m_tLimits);
  }

  /// Passes the server's reply on until the command sends its next frame. False when the connection can't be
  /// used again.
  bool Relay() {
    std::string strReply;
    for (;;) {
      bool bEnded = false;
      const std::string strRead = m_poServer->ReadAvailable(bEnded);
      strReply += strRead;
      if (!PassErrors()) return false;
      if (bEnded) return PassReply(strReply) && Break();
      const bool bPass = LooksComplete(strReply) || strReply.size() >= PIECE;
      if (bPass && !PassReply(std::exchange(strReply, std::string()))) return false;
      if (!strRead.empty()) continue;
      char chByte;
      if (::recv(m_oCommand.Get(), &chByte, 1, MSG_PEEK) >= 0) return true;
      const TWaitType nWait = AwaitEither(!strReply.empty());
      if (nWait == WAIT_CALLER_ENDED) return false;
      if (nWait == WAIT_TIMED_OUT && !PassReply(std::exchange(strReply, std::string()))) return false;
    }
  }

  /// True when the reply may have ended. A server sends a reply in many small pieces. Passing on each would
  /// wake the command each time, which takes longer than all the rest of its work.
  static bool LooksComplete(std::string_view strReply) {
    if (!strReply.ends_with('\n')) return false;
    const std::size_t nLast =
        strReply.size() >= 2 ? strReply.rfind('\n', strReply.size() - 2) : strReply.npos;
    const std::string_view strLast = strReply.substr(nLast == strReply.npos ? 0 : nLast + 1);
    // ends_with: the last line of a file, before the "ok", need not have an end.
    return strLast.ends_with("ok\n") || strLast.starts_with("error");
  }

  /// Waits for the server, its errors or the command. There is no time-out here, because the command has its
  /// own. A piece that waits to be passed on makes the wait short, so that the command sees that a slow
  /// server is working.
  TWaitType AwaitEither(bool bHasPiece) {
    const TWaitLimits tLimits{bHasPiece ? std::chrono::milliseconds(50) : std::chrono::hours(24),
                              m_tLimits.nCallerDescriptor};
    return WaitWithNaps({m_poServer->ReadDescriptor(), m_poServer->ErrorDescriptor(), m_oCommand.Get()},
                        tLimits);
  }

  bool PassReply(std::string_view strReply) {
    while (!strReply.empty()) {
      const std::string_view strPiece = strReply.substr(0, MAX_FRAME);
      if (!SendFrame(m_oCommand.Get(), FRAME_REPLY, strPiece, m_tLimits)) return false;
      strReply.remove_prefix(strPiece.size());
    }
    return true;
  }

  /// Closes the listener first: a command that is told that the connection is broken binds the same name for
  /// a new session.
  bool Break() {
    m_oListener.Close();
    PassErrors(m_poServer->TakeLastErrors());
    SendFrame(m_oCommand.Get(), FRAME_BROKEN, "", m_tLimits);
    WaitUntilCommandLeaves();
    return false;
  }

  /// Reads until the command disconnects: closing a socket with unread requests would also discard our
  /// answer.
  void WaitUntilCommandLeaves() {
    const TWaitLimits tShortLimits{std::chrono::seconds(5), m_tLimits.nCallerDescriptor};
    CFrameReader oFrames(m_oCommand.Get(), tShortLimits);
    char chFrame = 0;
    std::string strText;
    while (oFrames.Read(chFrame, strText) == FRAME_READ) {
    }
  }

  VCM::CDescriptor m_oListener;
  TWaitLimits m_tLimits;
  const std::string& m_strKey;
  std::unique_ptr<CServerConnection> m_poServer;
  VCM::CDescriptor m_oCommand;
};

/// Closes all descriptors that came from the command, except these two.
void DetachFromCommand(VCM::CDescriptor& oListener, int& nCaller) {
  constexpr int FIRST_OWN = 3;
  // First copied above their final numbers, so that neither overwrites the other.
  const int nHighListener = ::fcntl(oListener.Get(), F_DUPFD_CLOEXEC, FIRST_OWN + 2);
  const int nHighCaller = ::fcntl(nCaller, F_DUPFD_CLOEXEC, FIRST_OWN + 2);
  const int nNull = ::open("/dev/null", O_RDWR);
  for (int nStandard = 0; nStandard < FIRST_OWN; ++nStandard)
    ::dup2(nNull, nStandard);
  oListener.Release();
  oListener = VCM::CDescriptor(::dup3(nHighListener, FIRST_OWN, O_CLOEXEC));
  nCaller = ::dup3(nHighCaller, FIRST_OWN + 1, O_CLOEXEC);
  ::close_range(FIRST_OWN + 2, ~0U, 0);
}

[[noreturn]] void BecomeSession(VCM::CDescriptor oListener, const TCheckout& tCheckout, int nCaller,
                                const std::string& strKey) {
  DetachFromCommand(oListener, nCaller);
  // If the caller ignores SIGCHLD, we inherit that, and waitpid for the server would fail.
  ::signal(SIGCHLD, SIG_DFL);
  TakeShortTurns();
  // A signal that stops an import reaches its session, too. Should the session die of it, its server would be
  // killed in the midst of a command, and a server that is killed leaves its temporary folder behind.
  LetSignalsEndWaits();
  {
    CSession oSession(oListener.Release(), TWaitLimits{ConfiguredTimeout(), nCaller}, strKey);
    try {
      oSession.Run(tCheckout);
    } catch (const std::exception&) {
      // The command sees that the session has ended, and starts another.
    }
  }
  ::_exit(0);
}

}  // namespace

void StartSession(VCM::CDescriptor oListener, const TCheckout& tCheckout, const TCaller& tCaller,
                  const std::string& strKey) {
  const pid_t nChild = ::fork();
  if (nChild < 0) throw Aborted(std::string("cannot fork: ") + std::strerror(errno));
  if (nChild == 0) {
    if (::fork() == 0) BecomeSession(std::move(oListener), tCheckout, tCaller.oDescriptor.Get(), strKey);
    ::_exit(0);
  }
  ::waitpid(nChild, nullptr, 0);
}

}  // namespace TALVEK::SESSION

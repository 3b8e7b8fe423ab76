#include "session/server_connection.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>

#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "session/failure.h"
#include "session/folder.h"
#include "session/reply.h"

namespace TALVEK::SESSION {

namespace {

constexpr unsigned DEFAULT_PORT = 2401;
constexpr std::size_t MAX_ERRORS = 1 << 20;

/// The responses that a checkout may bring. Left out are Checksum, which would have to be verified, and MT
/// (tagged text), in whose place servers then send M.
constexpr std::string_view VALID_RESPONSES =
    "ok error Valid-requests Checked-in New-entry Copy-file Updated Created Update-existing Merged Patched "
    "Rcs-diff Mode Mod-time Removed Remove-entry Set-static-directory Clear-static-directory Set-sticky "
    "Clear-sticky Template Notified Module-expansion Wrapper-rcsOption M Mbinary E F";

std::string Environment(const char* pszName, const char* pszDefault) {
  const char* pszValue = std::getenv(pszName);
  return pszValue && *pszValue ? pszValue : pszDefault;
}

unsigned PortOf(const TRoot& tRoot) {
  if (tRoot.nPort != 0) return tRoot.nPort;
  const long nPort = std::strtol(Environment("CVS_CLIENT_PORT", "0").c_str(), nullptr, 10);
  return nPort > 0 && nPort <= 65535 ? static_cast<unsigned>(nPort) : DEFAULT_PORT;
}

std::vector<std::string> ServerCommand(const TRoot& tRoot) {
  if (tRoot.nMethod == TRoot::LOCAL) return {Environment("CVS_SESSION_CVS", "cvs"), "server"};
  const std::string strServer = Environment("CVS_SERVER", "cvs");
  if (tRoot.nMethod == TRoot::FORK) return {strServer, "server"};
  std::vector<std::string> astrCommand = {Environment("CVS_RSH", "ssh")};
  if (!tRoot.strUser.empty()) astrCommand.insert(astrCommand.end(), {"-l", tRoot.strUser});
  astrCommand.insert(astrCommand.end(), {"--", tRoot.strHost, strServer + " server"});
  return astrCommand;
}

/// A folder in memory (tmpfs) with room for large files; empty when there is none, or when TMPDIR is set. For
/// each file that it sends a server writes half a dozen small files, which on a disk takes longer than
/// reading the repository.
std::string MemoryFolder() {
  constexpr const char* FOLDER = "/dev/shm";
  constexpr std::uint64_t ENOUGH = std::uint64_t(1) << 30;
  struct statfs tStatus {};
  if (!Environment("TMPDIR", "").empty() || ::statfs(FOLDER, &tStatus) != 0) return std::string();
  const bool bRoom = tStatus.f_bavail * static_cast<std::uint64_t>(tStatus.f_bsize) >= ENOUGH;
  const bool bInMemory = tStatus.f_type == TMPFS_MAGIC;
  return bInMemory && bRoom && ::access(FOLDER, W_OK | X_OK) == 0 ? FOLDER : std::string();
}

CTransport OpenTransport(const TRoot& tRoot, const TWaitLimits& tLimits) {
  if (tRoot.nMethod == TRoot::PSERVER) return CTransport::Connect(tRoot.strHost, PortOf(tRoot), tLimits);
  // Only for a local root: if its server fails (memory full), the client does the checkout without a server.
  const std::string strFolder = tRoot.nMethod == TRoot::LOCAL ? MemoryFolder() : std::string();
  if (!strFolder.empty()) ::setenv("TMPDIR", strFolder.c_str(), 1);
  return CTransport::Start(ServerCommand(tRoot));
}

/// The scrambled password. If none is known, `bKnown` becomes false and the result is the scrambled empty
/// password.
std::string PasswordOf(const TRoot& tRoot, bool& bKnown) {
  std::optional<std::string> strPassword;
  if (tRoot.strPassword) {
    strPassword = ScramblePassword(*tRoot.strPassword);
  } else {
    const std::string strFile = Environment("CVS_PASSFILE", (Environment("HOME", "") + "/.cvspass").c_str());
    strPassword = FindPassword(ReadFileText(strFile), tRoot, PortOf(tRoot));
  }
  bKnown = strPassword.has_value();
  return strPassword.value_or("A");
}

std::string Refusal(const TRoot& tRoot, bool bPasswordKnown) {
  std::string strText = "cvs checkout: authorization failed: server " + tRoot.strHost +
                        " rejected access to " + tRoot.strFolder + " for user " + tRoot.strUser;
  if (!bPasswordKnown)
    strText += "\ncvs checkout: used empty password; try \"cvs login\" with a real password";
  return strText;
}

/// The text after "error CODE ".
std::string ErrorText(const std::string& strLine) {
  const std::size_t nCode = strLine.find(' ');
  const std::size_t nText = nCode == std::string::npos ? nCode : strLine.find(' ', nCode + 1);
  return nText == std::string::npos ? std::string() : strLine.substr(nText + 1);
}

bool HasWord(const std::string& strWords, const std::string& strWord) {
  return (" " + strWords + " ").find(" " + strWord + " ") != std::string::npos;
}

}  // namespace

CServerConnection::CServerConnection(const TCheckout& tCheckout, const TWaitLimits& tLimits)
    : m_tLimits(tLimits), m_oTransport(OpenTransport(tCheckout.tRoot, tLimits)) {
  try {
    if (tCheckout.tRoot.nMethod == TRoot::PSERVER) LogIn(tCheckout.tRoot);
    Introduce(tCheckout);
  } catch (const EBrokenConnection&) {
    m_strErrors += TakeLastErrors();
    Fail("cvs [checkout aborted]: end of file from server (consult above messages if any)");
  }
}

void CServerConnection::Fail(const std::string& strReason) {
  std::string strText = TakeErrors() + strReason;
  while (strText.ends_with('\n'))
    strText.pop_back();
  if (strText.empty()) throw Aborted("the server refuses without a reason");
  throw EFailure(strText);
}

void CServerConnection::LogIn(const TRoot& tRoot) {
  bool bKnown = false;
  const std::string strPassword = PasswordOf(tRoot, bKnown);
  if (!Send("BEGIN AUTH REQUEST\n" + tRoot.strFolder + "\n" + tRoot.strUser + "\n" + strPassword +
            "\nEND AUTH REQUEST\n"))
    throw EBrokenConnection();
  CReplyReader oReader(*this);
  for (;;) {
    const std::string strLine = oReader.ReadLine();
    if (strLine == "I LOVE YOU") return;
    if (strLine == "I HATE YOU") Fail(Refusal(tRoot, bKnown));
    if (strLine.starts_with("error ")) Fail(ErrorText(strLine));
    if (!strLine.starts_with("E "))
      Fail("cvs [checkout aborted]: unrecognized auth response from " + tRoot.strHost + ": " + strLine);
    m_strErrors += strLine.substr(2) + "\n";
    if (m_strErrors.size() > MAX_ERRORS) Fail("cvs [checkout aborted]: the server sends errors without end");
  }
}

std::string CServerConnection::ReadValidRequests(CReplyReader& oReader) {
  std::string strRequests;
  for (;;) {
    const std::string strLine = oReader.ReadLine();
    if (strLine == "ok") return strRequests;
    if (strLine == "error" || strLine.starts_with("error ")) Fail(ErrorText(strLine));
    if (strLine.starts_with("Valid-requests ")) strRequests = strLine.substr(15);
    if (strLine.starts_with("E ")) m_strErrors += strLine.substr(2) + "\n";
    if (m_strErrors.size() > MAX_ERRORS) Fail("cvs [checkout aborted]: the server sends errors without end");
  }
}

void CServerConnection::Introduce(const TCheckout& tCheckout) {
  if (!Send("Root " + tCheckout.tRoot.strFolder + "\nValid-responses " + std::string(VALID_RESPONSES) +
            "\nvalid-requests\n"))
    throw EBrokenConnection();
  CReplyReader oReader(*this);
  const std::string strRequests = ReadValidRequests(oReader);
  std::string strRest = "UseUnchanged\n";
  const bool bCompress = tCheckout.nCompression > 0 && tCheckout.tRoot.nMethod != TRoot::LOCAL &&
                         HasWord(strRequests, "Gzip-stream");
  if (bCompress) strRest += "Gzip-stream " + std::to_string(tCheckout.nCompression) + "\n";
  if (!Send(strRest)) throw EBrokenConnection();
  if (bCompress) m_poCompression = std::make_unique<CCompression>(tCheckout.nCompression);
  std::string strOptions = TopRequests(tCheckout.tRoot);
  if (!tCheckout.strQuiet.empty()) strOptions += "Global_option " + tCheckout.strQuiet + "\n";
  if (tCheckout.bReadOnly) strOptions += "Global_option -r\n";
  if (!Send(strOptions)) throw EBrokenConnection();
}

bool CServerConnection::Send(std::string_view strRequests) {
  if (!m_poCompression) return WriteAll(m_oTransport.WriteDescriptor(), strRequests, m_tLimits);
  return WriteAll(m_oTransport.WriteDescriptor(), m_poCompression->Deflate(strRequests), m_tLimits);
}

std::string CServerConnection::ReadAvailable(bool& bEnded) {
  char achBlock[1 << 16];
  const std::ptrdiff_t nRead = ReadSome(m_oTransport.ReadDescriptor(), achBlock, sizeof achBlock);
  bEnded = nRead == 0;
  if (nRead <= 0) return std::string();
  const std::string_view strRead(achBlock, static_cast<std::size_t>(nRead));
  return m_poCompression ? m_poCompression->Inflate(strRead) : std::string(strRead);
}

std::string CServerConnection::Read() {
  for (;;) {
    bool bEnded = false;
    std::string strRead = ReadAvailable(bEnded);
    if (bEnded) throw EBrokenConnection();
    if (!strRead.empty()) return strRead;
    const std::string strErrors = TakeErrors();
    m_strErrors = strErrors;
    switch (WaitToRead({ReadDescriptor(), ErrorDescriptor()}, m_tLimits)) {
      case WAIT_READY:
        break;
      case WAIT_CALLER_ENDED:
        throw EBrokenConnection();
      case WAIT_TIMED_OUT:
        Fail("cvs [checkout aborted]: no answer from the server within " +
             std::to_string(std::chrono::duration_cast<std::chrono::seconds>(m_tLimits.nTimeout).count()) +
             " seconds");
    }
  }
}

std::string CServerConnection::TakeErrors() {
  std::string strErrors;
  strErrors.swap(m_strErrors);
  char achBlock[4096];
  while (ErrorDescriptor() >= 0 && strErrors.size() < MAX_ERRORS) {
    const std::ptrdiff_t nRead = ReadSome(ErrorDescriptor(), achBlock, sizeof achBlock);
    if (nRead == 0) m_oTransport.CloseErrors();
    if (nRead <= 0) break;
    strErrors.append(achBlock, static_cast<std::size_t>(nRead));
  }
  return strErrors;
}

std::string CServerConnection::TakeLastErrors() {
  // The connecting program may close its standard output before it has written its errors.
  TWaitLimits tShortLimits = m_tLimits;
  tShortLimits.nTimeout = std::chrono::seconds(1);
  std::string strErrors = TakeErrors();
  while (ErrorDescriptor() >= 0 && strErrors.size() < MAX_ERRORS &&
         WaitToRead({ErrorDescriptor()}, tShortLimits) == WAIT_READY)
    strErrors += TakeErrors();
  return strErrors;
}

}  // namespace TALVEK::SESSION

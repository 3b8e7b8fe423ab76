#include "session/session_address.h"

#include <algorithm>
#include <cinttypes>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "session/folder.h"
#include "session/waiting.h"

namespace TALVEK::SESSION {

namespace {

/// Shells change these between commands, and no program that a session starts reads them.
constexpr std::string_view UNSTEADY_VARIABLES[] = {"_=", "PWD=", "OLDPWD=", "SHLVL="};

/// The 22nd field of /proc/PID/stat. The search starts at the last ')', because the second field, the
/// program's name in parentheses, may contain anything.
std::string StartTimeOf(pid_t nId) {
  const std::string strText = ReadFileText("/proc/" + std::to_string(nId) + "/stat");
  std::size_t nAt = strText.rfind(')');
  for (int nField = 2; nField < 22 && nAt != std::string::npos; ++nField)
    nAt = strText.find(' ', nAt + 1);
  if (nAt == std::string::npos) return std::string();
  return strText.substr(nAt + 1, strText.find(' ', nAt + 1) - nAt - 1);
}

/// Identifies a namespace. Process numbers and paths mean something only within their pid and mount
/// namespace, but abstract socket names are shared across them.
std::string Namespace(const char* pszName) {
  struct stat tStat {};
  if (::stat((std::string("/proc/self/ns/") + pszName).c_str(), &tStat) != 0) return "?";
  return std::to_string(tStat.st_ino);
}

std::string SteadyEnvironment() {
  std::vector<std::string_view> astrVariables;
  for (char** ppszVariable = environ; ppszVariable && *ppszVariable; ++ppszVariable) {
    const std::string_view strVariable = *ppszVariable;
    const auto fnIsHead = [strVariable](std::string_view strHead) {
      return strVariable.starts_with(strHead);
    };
    if (std::none_of(std::begin(UNSTEADY_VARIABLES), std::end(UNSTEADY_VARIABLES), fnIsHead))
      astrVariables.push_back(strVariable);
  }
  std::sort(astrVariables.begin(), astrVariables.end());
  std::string strText;
  for (const std::string_view strVariable : astrVariables)
    (strText += strVariable) += '\0';
  return strText;
}

std::uint64_t Fnv1a(std::string_view strText, std::uint64_t nHash) {
  for (const char ch : strText)
    nHash = (nHash ^ static_cast<unsigned char>(ch)) * 0x100000001B3U;
  return nHash;
}

struct TAddress {
  explicit TAddress(std::string_view strKey) {
    tName.sun_family = AF_UNIX;
    // Any hash will do: a session refuses commands with another key of the same hash.
    const int nLength = std::snprintf(tName.sun_path + 1, sizeof tName.sun_path - 1,
                                      "cvs-session-%u-%016" PRIx64 "%016" PRIx64, ::geteuid(),
                                      Fnv1a(strKey, 0xCBF29CE484222325U), Fnv1a(strKey, 0x9E3779B97F4A7C15U));
    nSize = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + static_cast<unsigned>(nLength));
  }
  const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&tName); }
  sockaddr_un tName{};
  socklen_t nSize = 0;
};

VCM::CDescriptor MakeSocket() {
  return VCM::CDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

}  // namespace

std::optional<TCaller> FindCaller() {
  TCaller tCaller;
  tCaller.nId = ::getppid();
  tCaller.oDescriptor = OpenProcess(tCaller.nId);
  tCaller.strStartTime = StartTimeOf(tCaller.nId);
  // If it is still the parent, its number can't have been reused meanwhile.
  if (!tCaller.oDescriptor.IsOpen() || tCaller.strStartTime.empty() || ::getppid() != tCaller.nId)
    return std::nullopt;
  return tCaller;
}

std::string SessionKey(const TCheckout& tCheckout, const TCaller& tCaller) {
  std::string strKey;
  for (const std::string& strPart :
       {std::to_string(::getuid()), std::to_string(::geteuid()), std::to_string(::getegid()),
        std::to_string(tCaller.nId), tCaller.strStartTime, Namespace("pid"), Namespace("mnt"),
        tCheckout.tRoot.strText, tCheckout.strQuiet, std::string(tCheckout.bReadOnly ? "-r" : ""),
        std::to_string(tCheckout.nCompression)})
    (strKey += strPart) += '\0';
  return strKey + SteadyEnvironment();
}

VCM::CDescriptor ListenFor(std::string_view strKey) {
  constexpr int MAX_WAITING = 64;
  const TAddress oAddress(strKey);
  VCM::CDescriptor oSocket = MakeSocket();
  if (::bind(oSocket.Get(), oAddress.Get(), oAddress.nSize) != 0 || ::listen(oSocket.Get(), MAX_WAITING) != 0)
    return VCM::CDescriptor();
  return oSocket;
}

VCM::CDescriptor ConnectTo(std::string_view strKey) {
  const TAddress oAddress(strKey);
  VCM::CDescriptor oSocket = MakeSocket();
  if (::connect(oSocket.Get(), oAddress.Get(), oAddress.nSize) != 0) return VCM::CDescriptor();
  return oSocket;
}

bool IsSameUser(int nSocket) {
  ucred tPeer{};
  socklen_t nSize = sizeof tPeer;
  return ::getsockopt(nSocket, SOL_SOCKET, SO_PEERCRED, &tPeer, &nSize) == 0 && tPeer.uid == ::geteuid();
}

}  // namespace TALVEK::SESSION

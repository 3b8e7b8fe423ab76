#include "session/cvs_root.h"

#include <algorithm>
#include <charconv>
#include <sstream>

namespace TALVEK::SESSION {

namespace {

constexpr unsigned MAX_PORT = 65535;

/// What each letter from ' ' to '~' becomes. The mapping is its own inverse.
constexpr std::string_view SCRAMBLED =
    "rx5O`mHlF@LCtJDWo4Kw1\"RQ_ApVvnzi)9S+.f(Y&g-2*{[#}76B|~;/\\GsNXkj8$yuhedEIc?^]'%=0:q Z,b<3!a>MTPU";
static_assert(SCRAMBLED.size() == '~' - ' ' + 1);

std::string ToLower(std::string_view strText) {
  std::string strLower(strText);
  std::transform(strLower.begin(), strLower.end(), strLower.begin(),
                 [](char ch) { return ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch - 'A' + 'a') : ch; });
  return strLower;
}

bool ParseMethod(std::string_view strName, TRoot::TMethodType& nMethod) {
  const std::string strLower = ToLower(strName);
  if (strLower == "local") {
    nMethod = TRoot::LOCAL;
  } else if (strLower == "fork") {
    nMethod = TRoot::FORK;
  } else if (strLower == "ext" || strLower == "server") {
    nMethod = TRoot::RSH;
  } else if (strLower == "pserver") {
    nMethod = TRoot::PSERVER;
  } else {
    return false;
  }
  return true;
}

/// Refuses "//", "." and "..", because a pserver compares the folder as text with the roots that it serves.
bool ParseFolder(std::string_view strText, std::string& strFolder) {
  while (strText.size() > 1 && strText.ends_with('/'))
    strText.remove_suffix(1);
  if (strText.size() < 2 || strText[0] != '/') return false;
  const std::string strClosed = std::string(strText) + "/";
  for (const char* pszOdd : {"//", "/./", "/../"}) {
    if (strClosed.find(pszOdd) != std::string::npos) return false;
  }
  strFolder = strText;
  return true;
}

/// Cuts off "user:password@"; each part may be missing. False for a password that can't be scrambled.
bool ParseUser(std::string_view& strText, TRoot& tRoot) {
  // A password may hold "@", and so may a folder: the last "@" before the folder ends the password.
  const std::size_t nAt = strText.substr(0, strText.find('/')).rfind('@');
  if (nAt == std::string_view::npos) return true;
  const std::string_view strWho = strText.substr(0, nAt);
  const std::size_t nColon = strWho.find(':');
  tRoot.strUser = strWho.substr(0, nColon);
  if (nColon != std::string_view::npos) tRoot.strPassword = std::string(strWho.substr(nColon + 1));
  strText.remove_prefix(nAt + 1);
  return !tRoot.strPassword || ScramblePassword(*tRoot.strPassword);
}

bool ParsePort(std::string_view strText, unsigned& nPort) {
  if (strText.empty()) return true;
  const auto [pEnd, nError] = std::from_chars(strText.data(), strText.data() + strText.size(), nPort);
  return nError == std::errc() && pEnd == strText.data() + strText.size() && nPort > 0 && nPort <= MAX_PORT;
}

bool ParseRemote(std::string_view strText, TRoot& tRoot) {
  if (!ParseUser(strText, tRoot)) return false;
  const std::size_t nSlash = strText.find('/');
  if (nSlash == std::string_view::npos) return false;
  const std::string_view strPlace = strText.substr(0, nSlash);
  const std::size_t nColon = strPlace.find(':');
  tRoot.strHost = strPlace.substr(0, nColon);
  if (tRoot.strHost.empty() || tRoot.strHost[0] == '-' || tRoot.strUser.starts_with('-')) return false;
  if (nColon != std::string_view::npos && !ParsePort(strPlace.substr(nColon + 1), tRoot.nPort)) return false;
  if (tRoot.nMethod == TRoot::RSH && (tRoot.nPort != 0 || tRoot.strPassword)) return false;
  // Without a user name the client picks one, by rules of its own.
  if (tRoot.nMethod == TRoot::PSERVER && tRoot.strUser.empty()) return false;
  return ParseFolder(strText.substr(nSlash), tRoot.strFolder);
}

bool IsRemote(TRoot::TMethodType nMethod) {
  return nMethod == TRoot::RSH || nMethod == TRoot::PSERVER;
}

bool ParseInto(std::string_view strText, TRoot& tRoot) {
  if (strText.starts_with('/')) return ParseFolder(strText, tRoot.strFolder);
  if (!strText.starts_with(':')) {
    tRoot.nMethod = TRoot::RSH;
    return strText.substr(0, strText.find('/')).find(':') != std::string_view::npos &&
           ParseRemote(strText, tRoot);
  }
  const std::size_t nEnd = strText.find(':', 1);
  if (nEnd == std::string_view::npos || !ParseMethod(strText.substr(1, nEnd - 1), tRoot.nMethod))
    return false;
  const std::string_view strRest = strText.substr(nEnd + 1);
  return IsRemote(tRoot.nMethod) ? ParseRemote(strRest, tRoot) : ParseFolder(strRest, tRoot.strFolder);
}

bool IsSamePlace(const TRoot& tOne, const TRoot& tOther, unsigned nDefaultPort) {
  const auto fnPort = [nDefaultPort](const TRoot& tRoot) { return tRoot.nPort ? tRoot.nPort : nDefaultPort; };
  return tOne.nMethod == tOther.nMethod && tOne.strUser == tOther.strUser && tOne.strHost == tOther.strHost &&
         tOne.strFolder == tOther.strFolder && fnPort(tOne) == fnPort(tOther);
}

}  // namespace

std::optional<TRoot> ParseRoot(std::string_view strText) {
  TRoot tRoot;
  tRoot.strText = strText;
  if (strText.find_first_of(std::string_view("\n\r\0", 3)) != std::string_view::npos) return std::nullopt;
  if (!ParseInto(strText, tRoot)) return std::nullopt;
  return tRoot;
}

std::optional<std::string> ScramblePassword(std::string_view strPassword) {
  std::string strScrambled = "A";
  for (const char ch : strPassword) {
    if (ch < ' ' || ch > '~') return std::nullopt;
    strScrambled += SCRAMBLED[static_cast<std::size_t>(ch - ' ')];
  }
  return strScrambled;
}

std::optional<std::string> FindPassword(std::string_view strCvspass, const TRoot& tRoot,
                                        unsigned nDefaultPort) {
  std::istringstream oLines{std::string(strCvspass)};
  for (std::string strLine; std::getline(oLines, strLine);) {
    std::string_view strRest = strLine;
    if (strRest.starts_with("/1 ")) strRest.remove_prefix(3);
    // A scrambled password may contain blanks; a root in this file doesn't.
    const std::size_t nBlank = strRest.find(' ');
    if (nBlank == std::string_view::npos) continue;
    const std::optional<TRoot> tFound = ParseRoot(strRest.substr(0, nBlank));
    if (tFound && IsSamePlace(*tFound, tRoot, nDefaultPort)) return std::string(strRest.substr(nBlank + 1));
  }
  return std::nullopt;
}

}  // namespace TALVEK::SESSION

#include "session/cvs_root.h"

#include <algorithm>
#include <charconv>

#include "session/password.h"

namespace TALVEK::SESSION {

namespace {

constexpr unsigned MAX_PORT = 65535;

std::string ToLower(std::string_view strText) {
  std::string strLower(strText);
  std::transform(strLower.begin(), strLower.end(), strLower.begin(),
                 [](char ch) { return ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch - 'A' + 'a') : ch; });
  return strLower;
}

bool ParseMethod(std::string_view strName, TRoot::EMethod& nMethod) {
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

/// The server compares the folder it is told with those that it serves, letter by letter.
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

/// "user:password@" with both parts left out as one likes. False for a password that has no scrambled form.
bool ParseUser(std::string_view& strText, TRoot& tRoot) {
  // A password may hold "@", a folder too: the last one before the folder counts.
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
  // Who calls is the client's business to find out.
  if (tRoot.nMethod == TRoot::PSERVER && tRoot.strUser.empty()) return false;
  return ParseFolder(strText.substr(nSlash), tRoot.strFolder);
}

bool IsRemote(TRoot::EMethod nMethod) {
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

}  // namespace

std::optional<TRoot> ParseRoot(std::string_view strText) {
  TRoot tRoot;
  tRoot.strText = strText;
  if (strText.find_first_of(std::string_view("\n\r\0", 3)) != std::string_view::npos) return std::nullopt;
  if (!ParseInto(strText, tRoot)) return std::nullopt;
  return tRoot;
}

}  // namespace TALVEK::SESSION

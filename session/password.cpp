#include "session/password.h"

#include <sstream>

namespace TALVEK::SESSION {

namespace {

/// What stands for each letter from ' ' to '~'. Every pair stands for each other.
constexpr std::string_view SCRAMBLED =
    "rx5O`mHlF@LCtJDWo4Kw1\"RQ_ApVvnzi)9S+.f(Y&g-2*{[#}76B|~;/\\GsNXkj8$yuhedEIc?^]'%=0:q Z,b<3!a>MTPU";
static_assert(SCRAMBLED.size() == '~' - ' ' + 1);

bool IsSamePlace(const TRoot& tOne, const TRoot& tOther, unsigned nDefaultPort) {
  const auto Port = [nDefaultPort](const TRoot& tRoot) { return tRoot.nPort ? tRoot.nPort : nDefaultPort; };
  return tOne.nMethod == tOther.nMethod && tOne.strUser == tOther.strUser && tOne.strHost == tOther.strHost &&
         tOne.strFolder == tOther.strFolder && Port(tOne) == Port(tOther);
}

}  // namespace

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
    // A scrambled password may hold blanks, a root here doesn't.
    const std::size_t nBlank = strRest.find(' ');
    if (nBlank == std::string_view::npos) continue;
    const std::optional<TRoot> tFound = ParseRoot(strRest.substr(0, nBlank));
    if (tFound && IsSamePlace(*tFound, tRoot, nDefaultPort)) return std::string(strRest.substr(nBlank + 1));
  }
  return std::nullopt;
}

}  // namespace TALVEK::SESSION

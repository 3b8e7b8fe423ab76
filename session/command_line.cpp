#include "session/command_line.h"

#include <algorithm>
#include <span>
#include <sstream>

#include <unistd.h>

#include "session/client.h"

namespace TALVEK::SESSION {

namespace {

using CWords = std::span<const std::string>;

/// The client's global options, for getopt. "+" makes it stop at the command.
constexpr const char* GLOBAL_OPTIONS = "+HQqrwgntRvT:e:d:fz:xas:";
constexpr const char* CHECKOUT_OPTIONS = "+r:d:";

/// Calls `fnTake` with the letter and the argument of each option behind the first word. Returns the index of
/// the first word that is no option; nothing when an option is unknown, or `fnTake` refuses it.
template <class TTake>
std::optional<std::size_t> ReadOptions(CWords astrWords, const char* pszOptions, const TTake& fnTake) {
  std::vector<char*> apszWords;
  // The const_cast is safe: getopt at most reorders the words, and with "+" not even that.
  for (const std::string& strWord : astrWords)
    apszWords.push_back(const_cast<char*>(strWord.c_str()));
  apszWords.push_back(nullptr);
  ::opterr = 0;
  ::optind = 0;  // not 1: only 0 makes glibc's getopt start afresh
  for (int nLetter;
       (nLetter = ::getopt(static_cast<int>(astrWords.size()), apszWords.data(), pszOptions)) != -1;) {
    if (nLetter == '?' || !fnTake(nLetter, ::optarg)) return std::nullopt;
  }
  return static_cast<std::size_t>(::optind);
}

TRoot KnownRoot(const char* pszText) {
  std::optional<TRoot> tRoot = ParseRoot(pszText);
  if (!tRoot) throw EHandOver(HAND_OVER_ROOT);
  return std::move(*tRoot);
}

bool SetCompression(std::string_view strLevel, TCheckout& tCheckout) {
  if (strLevel.size() != 1 || strLevel[0] < '0' || strLevel[0] > '9') return false;
  tCheckout.nCompression = strLevel[0] - '0';
  return true;
}

/// False for an option that only the client understands.
bool SetGlobalOption(int nLetter, const char* pszArgument, TCheckout& tCheckout) {
  switch (nLetter) {
    case 'd':
      tCheckout.tRoot = KnownRoot(pszArgument);
      return true;
    case 'z':
      return SetCompression(pszArgument, tCheckout);
    case 'r':
      tCheckout.bReadOnly = true;
      return true;
    case 'Q':
      tCheckout.strQuiet = "-Q";
      return true;
    case 'q':
      if (tCheckout.strQuiet.empty()) tCheckout.strQuiet = "-q";
      return true;
    default:
      return nLetter == 'f';
  }
}

std::optional<std::size_t> SetGlobalOptions(CWords astrWords, TCheckout& tCheckout) {
  const auto fnSet = [&tCheckout](int nLetter, const char* pszArgument) {
    return SetGlobalOption(nLetter, pszArgument, tCheckout);
  };
  return ReadOptions(astrWords, GLOBAL_OPTIONS, fnSet);
}

bool IsCheckout(const std::string& strCommand) {
  return strCommand == "checkout" || strCommand == "co" || strCommand == "get";
}

bool IsRevision(std::string_view strText) {
  return strText.find('.') != std::string_view::npos && strText.front() != '.' && strText.back() != '.' &&
         strText.find("..") == std::string_view::npos &&
         strText.find_first_not_of("0123456789.") == std::string_view::npos;
}

/// "checkout -c" lists the modules. It fetches no file, so nothing is slow when the client does it.
bool ListsModules(CWords astrCommand) {
  return astrCommand.size() == 2 && astrCommand[1] == "-c";
}

/// "checkout -r REVISION -d FOLDER FILE", each exactly once.
void SetCheckout(CWords astrWords, TCheckout& tCheckout) {
  const auto fnSet = [&tCheckout](int nLetter, const char* pszArgument) {
    std::string& strValue = nLetter == 'r' ? tCheckout.strRevision : tCheckout.strFolder;
    const bool bFirst = strValue.empty();
    strValue = pszArgument;
    return bFirst;
  };
  const std::optional<std::size_t> nFile = ReadOptions(astrWords, CHECKOUT_OPTIONS, fnSet);
  if (!nFile || *nFile + 1 != astrWords.size() || !IsRevision(tCheckout.strRevision) ||
      tCheckout.strFolder.empty())
    throw EHandOver(HAND_OVER_KIND);
  tCheckout.strFile = astrWords.back();
  if (FolderOf(tCheckout.strFile).empty()) throw EHandOver(HAND_OVER_KIND);
  if (!IsPlainPath(tCheckout.strFolder) || !IsPlainPath(tCheckout.strFile)) throw EHandOver(HAND_OVER_PATH);
}

/// Applies the options of ~/.cvsrc. Lines with options for checkouts, or with quotes, are left to the client.
void ApplyCvsrc(std::string_view strCvsrc, TCheckout& tCheckout) {
  // Constructing a stream takes longer than all the rest of this.
  if (strCvsrc.empty()) return;
  std::istringstream oLines{std::string(strCvsrc)};
  for (std::string strLine; std::getline(oLines, strLine);) {
    std::istringstream oWords(strLine);
    std::vector<std::string> astrWords;
    for (std::string strWord; oWords >> strWord;)
      astrWords.push_back(strWord);
    if (astrWords.empty() || astrWords[0] == "#") continue;
    if (IsCheckout(astrWords[0])) throw EHandOver(HAND_OVER_CVSRC);
    if (astrWords[0] != "cvs") continue;
    if (strLine.find_first_of("\"'\\") != std::string::npos ||
        SetGlobalOptions(astrWords, tCheckout) != astrWords.size())
      throw EHandOver(HAND_OVER_CVSRC);
  }
}

bool IsPlainName(std::string_view strName) {
  return !strName.empty() && strName != "." && strName != ".." && strName != ADMIN &&
         std::none_of(strName.begin(), strName.end(), [](char ch) { return ch == '\n' || ch == '\0'; });
}

/// True when `fnTest` is true for each name in a path.
template <class TTest>
bool AllNames(std::string_view strPath, const TTest& fnTest) {
  for (;;) {
    const std::size_t nSlash = strPath.find('/');
    if (!fnTest(strPath.substr(0, nSlash))) return false;
    if (nSlash == std::string_view::npos) return true;
    strPath.remove_prefix(nSlash + 1);
  }
}

}  // namespace

bool IsPlainPath(std::string_view strPath) {
  return AllNames(strPath, IsPlainName);
}

bool IsAdminInOtherCase(std::string_view strName) {
  const auto fnSame = [](char chOne, char chOther) { return (chOne | 0x20) == (chOther | 0x20); };
  return strName != ADMIN && std::equal(strName.begin(), strName.end(), ADMIN.begin(), ADMIN.end(), fnSame);
}

bool HasAdminInOtherCase(std::string_view strPath) {
  return !AllNames(strPath, [](std::string_view strName) { return !IsAdminInOtherCase(strName); });
}

std::string FolderOf(std::string_view strPath) {
  const std::size_t nSlash = strPath.rfind('/');
  return std::string(nSlash == std::string_view::npos ? std::string_view() : strPath.substr(0, nSlash));
}

std::string NameOf(std::string_view strPath) {
  return std::string(strPath.substr(strPath.rfind('/') + 1));
}

std::optional<TCheckout> ParseCommandLine(const std::vector<std::string>& astrArguments,
                                          std::string_view strCvsrc) {
  std::vector<std::string> astrWords = {"cvs"};
  astrWords.insert(astrWords.end(), astrArguments.begin(), astrArguments.end());
  // At any place among the global options, -f keeps the client from reading ~/.cvsrc.
  bool bWithoutCvsrc = false;
  const auto fnNoteF = [&bWithoutCvsrc](int nLetter, const char*) {
    bWithoutCvsrc = bWithoutCvsrc || nLetter == 'f';
    return true;
  };
  const std::optional<std::size_t> nCommand = ReadOptions(astrWords, GLOBAL_OPTIONS, fnNoteF);
  if (!nCommand || *nCommand == astrWords.size() || !IsCheckout(astrWords[*nCommand])) return std::nullopt;
  const CWords astrCommand = CWords(astrWords).subspan(*nCommand);
  if (ListsModules(astrCommand)) return std::nullopt;
  TCheckout tCheckout;
  if (!bWithoutCvsrc) ApplyCvsrc(strCvsrc, tCheckout);
  // A root in ~/.cvsrc is ignored: the command line must name one.
  tCheckout.tRoot = TRoot();
  if (!SetGlobalOptions(astrWords, tCheckout)) throw EHandOver(HAND_OVER_OPTION);
  if (tCheckout.tRoot.strText.empty()) throw EHandOver(HAND_OVER_ROOT);
  SetCheckout(astrCommand, tCheckout);
  return tCheckout;
}

}  // namespace TALVEK::SESSION

#include "session/command_line.h"

#include <algorithm>
#include <sstream>

namespace TALVEK::SESSION {

namespace {

/// Takes options off a list of words as getopt does: "-qz3", "-q -z 3", "--".
class COptionReader {
 public:
  COptionReader(const std::vector<std::string>& astrWords, std::size_t nFirst)
      : m_astrWords(astrWords), m_nWord(nFirst) {}

  /// The next option's letter; 0 when there is no more.
  char Next() {
    if (m_nLetter == 0) {
      if (m_nWord == m_astrWords.size() || m_astrWords[m_nWord].size() < 2 || m_astrWords[m_nWord][0] != '-')
        return 0;
      if (m_astrWords[m_nWord] == "--") {
        ++m_nWord;
        return 0;
      }
      m_nLetter = 1;
    }
    const std::string& strWord = m_astrWords[m_nWord];
    const char chLetter = strWord[m_nLetter++];
    if (m_nLetter == strWord.size()) NextWord();
    return chLetter;
  }

  /// The argument of the option just read.
  std::optional<std::string> Argument() {
    if (m_nWord == m_astrWords.size()) return std::nullopt;
    const std::string strArgument = m_astrWords[m_nWord].substr(m_nLetter);
    NextWord();
    return strArgument;
  }

  /// Index of the first word that is no option, once Next has returned 0.
  std::size_t Position() const { return m_nWord; }

 private:
  void NextWord() {
    ++m_nWord;
    m_nLetter = 0;
  }

  const std::vector<std::string>& m_astrWords;
  std::size_t m_nWord;
  std::size_t m_nLetter = 0;  // in the word, 0: at its beginning
};

bool SetRoot(const std::optional<std::string>& strText, TCheckout& tCheckout) {
  const std::optional<TRoot> tRoot = strText ? ParseRoot(*strText) : std::nullopt;
  if (tRoot) tCheckout.tRoot = *tRoot;
  return tRoot.has_value();
}

bool SetCompression(const std::optional<std::string>& strLevel, TCheckout& tCheckout) {
  if (!strLevel || strLevel->size() != 1 || (*strLevel)[0] < '0' || (*strLevel)[0] > '9') return false;
  tCheckout.nCompression = (*strLevel)[0] - '0';
  return true;
}

bool ReadGlobalOption(char chLetter, COptionReader& oReader, TCheckout& tCheckout) {
  switch (chLetter) {
    case 'd':
      return SetRoot(oReader.Argument(), tCheckout);
    case 'z':
      return SetCompression(oReader.Argument(), tCheckout);
    case 'r':
      tCheckout.bReadOnly = true;
      return true;
    case 'Q':
      tCheckout.strQuiet = "-Q";
      return true;
    case 'q':
      if (tCheckout.strQuiet.empty()) tCheckout.strQuiet = "-q";
      return true;
    case 'f':
      return true;
    default:
      return false;
  }
}

bool ReadGlobalOptions(const std::vector<std::string>& astrWords, std::size_t& nWord, TCheckout& tCheckout) {
  COptionReader oReader(astrWords, nWord);
  while (const char chLetter = oReader.Next()) {
    if (!ReadGlobalOption(chLetter, oReader, tCheckout)) return false;
  }
  nWord = oReader.Position();
  return true;
}

bool IsCheckout(const std::string& strCommand) {
  return strCommand == "checkout" || strCommand == "co" || strCommand == "get";
}

bool IsRevision(std::string_view strText) {
  return strText.find('.') != std::string_view::npos && strText.front() != '.' && strText.back() != '.' &&
         strText.find("..") == std::string_view::npos &&
         strText.find_first_not_of("0123456789.") == std::string_view::npos;
}

/// "-r REVISION -d FOLDER FILE", each exactly once.
bool ReadCheckout(const std::vector<std::string>& astrWords, std::size_t nWord, TCheckout& tCheckout) {
  COptionReader oReader(astrWords, nWord);
  while (const char chLetter = oReader.Next()) {
    if (chLetter != 'r' && chLetter != 'd') return false;
    std::string& strValue = chLetter == 'r' ? tCheckout.strRevision : tCheckout.strFolder;
    const std::optional<std::string> strArgument = oReader.Argument();
    if (!strArgument || !strValue.empty()) return false;
    strValue = *strArgument;
  }
  if (oReader.Position() + 1 != astrWords.size()) return false;
  tCheckout.strFile = astrWords.back();
  return IsRevision(tCheckout.strRevision) && IsPlainPath(tCheckout.strFolder) &&
         IsPlainPath(tCheckout.strFile) && !FolderOf(tCheckout.strFile).empty();
}

/// Applies the options of ~/.cvsrc that are understood. A line about checkouts, or one with quotes, isn't.
bool ReadCvsrc(std::string_view strCvsrc, TCheckout& tCheckout) {
  // Setting up a stream takes longer than all the rest of this.
  if (strCvsrc.empty()) return true;
  std::istringstream oLines{std::string(strCvsrc)};
  for (std::string strLine; std::getline(oLines, strLine);) {
    std::istringstream oWords(strLine);
    std::vector<std::string> astrWords;
    for (std::string strWord; oWords >> strWord;)
      astrWords.push_back(strWord);
    if (astrWords.empty() || astrWords[0] == "#") continue;
    if (IsCheckout(astrWords[0])) return false;
    if (astrWords[0] != "cvs") continue;
    if (strLine.find_first_of("\"'\\") != std::string::npos) return false;
    std::size_t nWord = 1;
    if (!ReadGlobalOptions(astrWords, nWord, tCheckout) || nWord != astrWords.size()) return false;
  }
  return true;
}

/// -f keeps the client from reading ~/.cvsrc, wherever it stands among the global options.
bool HasOptionF(const std::vector<std::string>& astrWords) {
  COptionReader oReader(astrWords, 0);
  while (const char chLetter = oReader.Next()) {
    if (chLetter == 'f') return true;
    if (chLetter == 'd' || chLetter == 'z') oReader.Argument();
  }
  return false;
}

bool IsPlainName(std::string_view strName) {
  return !strName.empty() && strName != "." && strName != ".." && strName != ADMIN &&
         std::none_of(strName.begin(), strName.end(), [](char ch) { return ch == '\n' || ch == '\0'; });
}

/// True when `fnTest` is true of each name in a path.
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
  const auto Same = [](char chOne, char chOther) { return (chOne | 0x20) == (chOther | 0x20); };
  return strName != ADMIN && std::equal(strName.begin(), strName.end(), ADMIN.begin(), ADMIN.end(), Same);
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

std::optional<TCheckout> ParseCommandLine(const std::vector<std::string>& astrWords,
                                          std::string_view strCvsrc) {
  TCheckout tCheckout;
  if (!HasOptionF(astrWords) && !ReadCvsrc(strCvsrc, tCheckout)) return std::nullopt;
  // A root in ~/.cvsrc isn't this program's affair: the command line must name one.
  tCheckout.tRoot = TRoot();
  std::size_t nWord = 0;
  if (!ReadGlobalOptions(astrWords, nWord, tCheckout) || tCheckout.tRoot.strText.empty()) return std::nullopt;
  if (nWord == astrWords.size() || !IsCheckout(astrWords[nWord])) return std::nullopt;
  if (!ReadCheckout(astrWords, nWord + 1, tCheckout)) return std::nullopt;
  return tCheckout;
}

}  // namespace TALVEK::SESSION

#include "exact/modules_file.h"

#include <algorithm>
#include <cstddef>

namespace TALVEK::EXACT {

namespace {

constexpr std::string_view BLANKS = " \t\r";

std::vector<std::string> WordsOf(std::string_view strText) {
  std::vector<std::string> astrWords;
  for (std::size_t n = strText.find_first_not_of(BLANKS); n != std::string_view::npos;) {
    const std::size_t nEnd = std::min(strText.find_first_of(BLANKS, n), strText.size());
    astrWords.emplace_back(strText.substr(n, nEnd - n));
    n = strText.find_first_not_of(BLANKS, nEnd);
  }
  return astrWords;
}

void CutSlashes(std::string& strPath) {
  while (strPath.size() > 1 && strPath.back() == '/')
    strPath.pop_back();
}

/// Takes the options off the words, as getopt does: "-d place", "-dplace", "-ld place".
void TakeOptions(std::vector<std::string>& astrWords, TModule& tModule) {
  std::size_t nWord = 0;
  for (; nWord < astrWords.size() && astrWords[nWord].starts_with('-'); ++nWord) {
    for (std::size_t n = 1; n < astrWords[nWord].size(); ++n) {
      const char chOption = astrWords[nWord][n];
      if (chOption == 'a') tModule.bAlias = true;
      if (chOption == 'l') tModule.bLocal = true;
      if (chOption == 'a' || chOption == 'l') continue;
      // All others have an argument: programs to run, and the place.
      std::string strArgument = astrWords[nWord].substr(n + 1);
      if (strArgument.empty() && nWord + 1 < astrWords.size()) strArgument = astrWords[++nWord];
      if (chOption == 'd') tModule.strPlace = strArgument;
      break;
    }
  }
  astrWords.erase(astrWords.begin(), astrWords.begin() + static_cast<std::ptrdiff_t>(nWord));
}

TModule ReadModule(std::string_view strValue) {
  TModule tModule;
  strValue = strValue.substr(0, strValue.find('#'));
  const std::size_t nIncluded = strValue.find('&');
  tModule.astrWords = WordsOf(strValue.substr(0, nIncluded));
  TakeOptions(tModule.astrWords, tModule);
  for (std::size_t n = nIncluded; n != std::string_view::npos;) {
    const std::size_t nEnd = strValue.find('&', n + 1);
    const std::vector<std::string> astrName = WordsOf(strValue.substr(n + 1, nEnd - n - 1));
    if (!astrName.empty()) tModule.astrIncluded.push_back(astrName.front());
    n = nEnd;
  }
  for (std::vector<std::string>* pastrNames : {&tModule.astrWords, &tModule.astrIncluded})
    std::for_each(pastrNames->begin(), pastrNames->end(), CutSlashes);
  CutSlashes(tModule.strPlace);
  return tModule;
}

}  // namespace

TModules ReadModules(std::string_view strText) {
  std::vector<std::string> astrLines;
  while (!strText.empty()) {
    const std::size_t nEnd = std::min(strText.find('\n'), strText.size());
    const std::string_view strLine = strText.substr(0, nEnd);
    strText.remove_prefix(std::min(nEnd + 1, strText.size()));
    if (!astrLines.empty() && BLANKS.find(strLine.substr(0, 1)) != std::string_view::npos) {
      astrLines.back() += strLine;
    } else {
      astrLines.emplace_back(strLine);
    }
  }
  TModules atModules;
  for (const std::string& strLine : astrLines) {
    const std::size_t nName = std::min(strLine.find_first_of(BLANKS), strLine.size());
    if (nName != 0) atModules.emplace(strLine.substr(0, nName), ReadModule(strLine.substr(nName)));
  }
  return atModules;
}

}  // namespace TALVEK::EXACT

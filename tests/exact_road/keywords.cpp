#include "tests/exact_road/keywords.h"

#include <algorithm>

namespace TALVEK::TEST {

namespace {

/// Cuts "$Key: value $", on one line, back to "$Key$".
std::string CutBack(std::string_view strBytes, const std::vector<std::string>& astrKeys) {
  std::string strCut;
  while (!strBytes.empty()) {
    const std::size_t nDollar = strBytes.find('$');
    strCut += strBytes.substr(0, nDollar);
    if (nDollar == std::string_view::npos) break;
    strBytes.remove_prefix(nDollar);
    const auto itKey = std::find_if(astrKeys.begin(), astrKeys.end(), [&](const std::string& strKey) {
      return strBytes.substr(1).starts_with(strKey + ":");
    });
    const std::size_t nEnd = strBytes.find_first_of("$\n", 1);
    if (itKey == astrKeys.end() || nEnd == std::string_view::npos || strBytes[nEnd] == '\n') {
      strCut += '$';
      strBytes.remove_prefix(1);
    } else {
      strCut += "$" + *itKey + "$";
      strBytes.remove_prefix(nEnd + 1);
    }
  }
  return strCut;
}

}  // namespace

std::string CutNameBack(std::string_view strBytes) {
  return CutBack(strBytes, {"Name"});
}

std::string CutKeywordsBack(std::string_view strBytes) {
  return CutBack(strBytes, {"Author", "CVSHeader", "Date", "Header", "Id", "Locker", "Mdocdate", "Name",
                            "RCSfile", "Revision", "Source", "State"});
}

}  // namespace TALVEK::TEST

#include "tests/support/import_log.h"

#include <sstream>

namespace TALVEK::TEST {

// By hand: with sanitizers on, the compiler finds uninitialised memory in the standard library's regex.
std::string WithoutSeconds(const std::string& strLog) {
  std::string strText;
  std::istringstream oLines(strLog);
  for (std::string strLine; std::getline(oLines, strLine);) {
    const std::size_t nDigits = strLine.find_first_not_of("0123456789");
    const bool bHasSeconds =
        nDigits != 0 && nDigits != std::string::npos && strLine.compare(nDigits, 2, ": ") == 0;
    strText += bHasSeconds ? strLine.substr(nDigits + 2) : strLine;
    if (!oLines.eof()) strText += "\n";
  }
  return strText;
}

}  // namespace TALVEK::TEST

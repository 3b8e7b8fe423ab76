#include "exact/rcs_file.h"

namespace TALVEK::EXACT {

std::string NumberText(const TNumber& nNumber) {
  std::string strText;
  for (const std::uint32_t nPart : nNumber) {
    if (!strText.empty()) strText += '.';
    strText += std::to_string(nPart);
  }
  return strText;
}

}  // namespace TALVEK::EXACT

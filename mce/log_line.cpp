#include "mce/log_line.h"

#include <string>
#include <utility>

namespace TALVEK::MCE {

namespace {

// The hour's seconds only: enough to see how long a step took, whatever day the import ran.
constexpr int SECONDS_PER_HOUR = 3600;

}  // namespace

VCM::CString MakeLogLine(const VCM::CString& strText, long long nNow) {
  const std::string strPrefix = std::to_string(nNow % SECONDS_PER_HOUR) + ": ";
  std::wstring strLine;
  strLine.reserve(strPrefix.size() + strText.View().size() + 1);
  strLine.append(strPrefix.begin(), strPrefix.end());
  strLine += strText.View();
  if (!strText.View().ends_with(L'\n')) strLine += L'\n';
  return VCM::CString(std::move(strLine));
}

}  // namespace TALVEK::MCE

#include "mce/log_line.h"

namespace TALVEK::MCE {

namespace {

// The hour's seconds only: enough to see how long a step took, whatever day the import ran.
constexpr int SECONDS_PER_HOUR = 3600;

}  // namespace

VCM::CString MakeLogLine(const VCM::CString& strText, long long nNow) {
  VCM::CString strLine;
  strLine.Format(L"%d: ", static_cast<int>(nNow % SECONDS_PER_HOUR));
  strLine += strText;
  const int nLength = strText.GetLength();
  if (nLength == 0 || strText[nLength - 1] != L'\n') strLine += L'\n';
  return strLine;
}

}  // namespace TALVEK::MCE

#include "mce/log_line.h"

#include <string>
#include <utility>

#include "core/decimal.h"

namespace TALVEK::MCE {

namespace {

// The hour's seconds only: enough to see how long a step took, whatever day the import ran.
constexpr int SECONDS_PER_HOUR = 3600;

}  // namespace

VCM::CString MakeLogLine(VCM::CString strText, long long nNow) {
  std::wstring strLine = strText.Release();
  strLine.insert(0, L": ");
  strLine.insert(0, VCM::CDecimal(nNow % SECONDS_PER_HOUR).View());
  if (!strLine.ends_with(L'\n')) strLine += L'\n';
  return VCM::CString(std::move(strLine));
}

}  // namespace TALVEK::MCE

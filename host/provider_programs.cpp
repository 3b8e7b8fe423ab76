#include "host/provider_programs.h"

#include <algorithm>

#include "host/bundled_client.h"
#include "host/exit_status.h"
#include "host/text_output.h"

namespace TALVEK::HOST {

void RequirePrograms(const CPropertyTable& oTable, const VCM::CString& strEnvironment, CReport& oReport) {
  const VCM::CString strBehind = ClientBehindBundled(oTable);
  if (!strBehind.IsEmpty() && FindProgram(strBehind).empty()) {
    throw EHostError(STATUS_FAILED, "the program '" + ShowText(strBehind) + "' can't be found",
                     std::string("install it, or ") + PLACE_OF_CLIENT_HINT);
  }
  if (strEnvironment.IsEmpty()) return;
  const std::vector<const TProperty*> aptMissing = oTable.MissingPrograms();
  if (!aptMissing.empty()) {
    const TProperty& tProperty = *aptMissing.front();
    throw EHostError(STATUS_FAILED, "the program '" + ShowText(tProperty.strValue) + "' can't be found",
                     "install it, or say where it is with " +
                         (tProperty.strOption.empty() ? "--set " + ShowText(tProperty.strKey) + "=FILE"
                                                      : "--" + tProperty.strOption));
  }
  // Providers look for the bare name only and warn of what is on the PATH too; that warning helps nobody.
  const std::vector<TProperty>& atProperties = oTable.GetProperties();
  const bool bHasPrograms = std::any_of(
      atProperties.begin(), atProperties.end(),
      [](const TProperty& tProperty) { return tProperty.nType == MCE::TPropertyInfo::TYPE_EXECUTABLE; });
  if (!bHasPrograms) oReport.Warning(ShowText(strEnvironment));
}

}  // namespace TALVEK::HOST

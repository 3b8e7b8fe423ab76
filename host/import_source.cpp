#include "host/import_source.h"

#include <algorithm>

#include "core/text_codec.h"
#include "host/exit_status.h"
#include "host/text_output.h"

namespace TALVEK::HOST {
namespace {

constexpr const wchar_t* MODULE_KEY = L"ModuleName";
constexpr const wchar_t* REPOSITORY_KEY = L"ReposPath";
constexpr const wchar_t* LOG_FILE_KEY = L"LogFile";
constexpr const wchar_t* START_DATE_KEY = L"StartDate";

// The defaults of module and repository are only examples, so they don't count.
bool IsGiven(const TProperty& tProperty) {
  return tProperty.bGiven && !tProperty.strValue.IsEmpty();
}

// Drops empty items and ".", as the client does.
std::string NormalizedModule(const std::string& strModule) {
  std::string strNormalized;
  for (std::size_t nBegin = 0; nBegin <= strModule.size();) {
    const std::size_t nEnd = std::min(strModule.find('/', nBegin), strModule.size());
    const std::string strItem = strModule.substr(nBegin, nEnd - nBegin);
    if (!strItem.empty() && strItem != ".") strNormalized += (strNormalized.empty() ? "" : "/") + strItem;
    nBegin = nEnd + 1;
  }
  return strNormalized;
}

}  // namespace

bool ReadsSavedLog(const CPropertyTable& oTable) {
  const TProperty* ptLogFile = oTable.Find(LOG_FILE_KEY);
  return ptLogFile && !ptLogFile->strValue.IsEmpty();
}

bool IsVerifiable(const VCM::CString& strProvider) {
  return strProvider == L"cvs" || strProvider == L"cvsexact";
}

std::string WhyNotVerifiable(const CPropertyTable& oTable) {
  const TProperty* ptStart = oTable.Find(START_DATE_KEY);
  if (!ptStart || ptStart->strValue.IsEmpty()) return "";
  return "an import that begins at a date holds no state of the CVS repository";
}

void RequireSource(const CPropertyTable& oTable, bool bNeedsFiles) {
  const TProperty* ptModule = oTable.Find(MODULE_KEY);
  if (ptModule && !IsGiven(*ptModule)) {
    throw EHostError(STATUS_WRONG_USE, "no module is named", "give it with " + OptionHint(*ptModule));
  }
  const TProperty* ptRepository = oTable.Find(REPOSITORY_KEY);
  if (!ptRepository || IsGiven(*ptRepository)) return;
  if (ReadsSavedLog(oTable) && !bNeedsFiles) return;
  std::string strRemedy = "give it with " + OptionHint(*ptRepository);
  const TProperty* ptLogFile = oTable.Find(LOG_FILE_KEY);
  if (ptLogFile && !bNeedsFiles) strRemedy += ", or a saved log with " + OptionHint(*ptLogFile);
  throw EHostError(STATUS_WRONG_USE, "no repository is named", strRemedy);
}

// The provider cvs removes the first folder of a file's path and puts the module in front of the rest. With
// module "www/mk" it would ask for www/mk/a as www/mk/mk/a. A module that CVSROOT/modules defines as www/mk
// fails in the same way, but the host doesn't know those definitions.
std::optional<TModuleProblem> FindModuleProblem(const CPropertyTable& oTable,
                                                const VCM::CString& strProvider) {
  const TProperty* ptModule = oTable.Find(MODULE_KEY);
  if (strProvider != L"cvs" || !ptModule) return {};
  const std::string strModule = NormalizedModule(VCM::ToBytes(ptModule->strValue));
  const std::size_t nEnd = strModule.find('/');
  if (nEnd == std::string::npos) return {};
  const std::string strTop = "'" + ShowBytes(strModule.substr(0, nEnd)) + "'";
  const TProperty* ptRepository = oTable.Find(REPOSITORY_KEY);
  const TProperty* ptLogFile = oTable.Find(LOG_FILE_KEY);
  std::string strRemedy = "import the module " + strTop;
  if (ptRepository && ptLogFile) {
    strRemedy += "; for the folder alone save its log with 'cvs -d " + ShowText(ptRepository->strValue) +
                 " rlog " + ShowBytes(strModule) + " > FILE' and import the module " + strTop + " with " +
                 OptionHint(*ptLogFile) + " FILE";
  }
  return TModuleProblem{
      "'" + ShowBytes(strModule) + "' is a folder within a module, of which provider cvs can fetch no file",
      strRemedy};
}

void RequireFetchableModule(const CPropertyTable& oTable, const VCM::CString& strProvider) {
  if (const std::optional<TModuleProblem> tProblem = FindModuleProblem(oTable, strProvider))
    throw EHostError(STATUS_WRONG_USE, tProblem->strWhat, tProblem->strRemedy);
}

}  // namespace TALVEK::HOST

#include "host/import_source.h"

#include "host/exit_status.h"

namespace TALVEK::HOST {
namespace {

constexpr const wchar_t* MODULE_KEY = L"ModuleName";
constexpr const wchar_t* REPOSITORY_KEY = L"ReposPath";
constexpr const wchar_t* LOG_FILE_KEY = L"LogFile";

// The table's defaults of these two are examples; importing somebody's example helps nobody.
bool IsGiven(const TProperty& tProperty) {
  return tProperty.bGiven && !tProperty.strValue.IsEmpty();
}

}  // namespace

bool ReadsSavedLog(const CPropertyTable& oTable) {
  const TProperty* ptLogFile = oTable.Find(LOG_FILE_KEY);
  return ptLogFile && !ptLogFile->strValue.IsEmpty();
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

}  // namespace TALVEK::HOST

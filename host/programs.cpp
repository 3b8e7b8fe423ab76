#include "host/programs.h"

#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <vector>

#include "core/text_codec.h"
#include "host/exit_status.h"
#include "host/text_output.h"

namespace fs = std::filesystem;

namespace TALVEK::HOST {
namespace {

constexpr const wchar_t* CLIENT_KEY = L"CVSPath";
constexpr const wchar_t* FILE_BY_FILE_KEY = L"ForceFileByFile";
constexpr const char* BUNDLED_CLIENT = "cvs-session";

bool IsRunnable(const std::string& strFile) {
  std::error_code oError;
  return fs::is_regular_file(strFile, oError) && access(strFile.c_str(), X_OK) == 0;
}

// The provider puts the path between double quotes, where '"' and '\' have a meaning.
bool CanStandBetweenQuotes(const std::string& strPath) {
  return strPath.find_first_of("\"\\") == std::string::npos;
}

[[noreturn]] void ThrowMissing(const VCM::CString& strProgram, const std::string& strHint) {
  throw EHostError(STATUS_FAILED, "the program " + ShowQuoted(strProgram) + " can't be found",
                   "install it, or " + strHint);
}

std::vector<const TProperty*> ProgramsOf(const CPropertyTable& oTable) {
  std::vector<const TProperty*> aptPrograms;
  for (const TProperty& tProperty : oTable.GetProperties()) {
    if (tProperty.nType == MCE::TPropertyInfo::TYPE_EXECUTABLE) aptPrograms.push_back(&tProperty);
  }
  return aptPrograms;
}

}  // namespace

fs::path ProgramFolder() {
  std::error_code oError;
  return fs::read_symlink("/proc/self/exe", oError).parent_path();
}

std::string FindProgram(const VCM::CString& strProgram) {
  const std::string strName = VCM::ToBytes(strProgram);
  if (strName.empty()) return "";
  if (strName.find('/') != std::string::npos) return IsRunnable(strName) ? strName : "";
  const char* pszPath = std::getenv("PATH");
  std::istringstream oFolders(pszPath ? pszPath : "/bin:/usr/bin");
  std::string strFolder;
  while (std::getline(oFolders, strFolder, ':')) {
    std::string strFile = (strFolder.empty() ? "." : strFolder) + '/' + strName;
    if (IsRunnable(strFile)) return strFile;
  }
  return "";
}

std::string BundledClient(const fs::path& oProgramFolder) {
  const std::string strClient = (oProgramFolder / BUNDLED_CLIENT).string();
  const bool bUsable = CanStandBetweenQuotes(strClient) && !FindProgram(VCM::FromBytes(strClient)).empty();
  return bUsable ? strClient : "";
}

void PreferBundledClient(CPropertyTable& oTable, const fs::path& oProgramFolder) {
  const std::string strClient = BundledClient(oProgramFolder);
  if (strClient.empty() || !oTable.Find(CLIENT_KEY)) return;
  oTable.SetHostDefault(CLIENT_KEY, VCM::FromBytes(strClient));
  if (oTable.Find(FILE_BY_FILE_KEY)) oTable.SetHostDefault(FILE_BY_FILE_KEY, L"1");
}

bool LacksBundledClient(const CPropertyTable& oTable) {
  const TProperty* ptClient = oTable.Find(CLIENT_KEY);
  return ptClient && !ptClient->bGiven && ptClient->strHostDefault == ptClient->strDefault;
}

VCM::CString ClientBehindBundled(const CPropertyTable& oTable) {
  const TProperty* ptClient = oTable.Find(CLIENT_KEY);
  if (!ptClient) return VCM::CString();
  if (fs::path(VCM::ToBytes(ptClient->strValue)).filename() != BUNDLED_CLIENT) return VCM::CString();
  const char* pszOverride = std::getenv("CVS_SESSION_CVS");
  return VCM::FromBytes(pszOverride && *pszOverride ? pszOverride : "cvs");
}

void RequirePrograms(const CPropertyTable& oTable, const VCM::CString& strEnvironment, CReport& oReport) {
  const VCM::CString strBehind = ClientBehindBundled(oTable);
  if (!strBehind.IsEmpty() && FindProgram(strBehind).empty()) ThrowMissing(strBehind, PLACE_OF_CLIENT_HINT);
  if (strEnvironment.IsEmpty()) return;
  const std::vector<const TProperty*> aptPrograms = ProgramsOf(oTable);
  for (const TProperty* ptProgram : aptPrograms) {
    if (FindProgram(ptProgram->strValue).empty())
      ThrowMissing(ptProgram->strValue, "say where it is with " + OptionHint(*ptProgram));
  }
  if (aptPrograms.empty()) oReport.Warning(ShowText(strEnvironment));
}

}  // namespace TALVEK::HOST

#include "host/bundled_client.h"

#include <cstdlib>

#include "core/text_codec.h"

namespace fs = std::filesystem;

namespace TALVEK::HOST {
namespace {

constexpr const wchar_t* CLIENT_KEY = L"CVSPath";
constexpr const wchar_t* FILE_BY_FILE_KEY = L"ForceFileByFile";
constexpr const char* BUNDLED_CLIENT = "cvs-session";

// The provider puts the path between double quotes, where these two have a meaning.
bool StandsBetweenQuotes(const std::string& strPath) {
  return strPath.find_first_of("\"\\") == std::string::npos;
}

}  // namespace

void PreferBundledClient(CPropertyTable& oTable, const fs::path& oProgramFolder) {
  const std::string strClient = (oProgramFolder / BUNDLED_CLIENT).string();
  if (!StandsBetweenQuotes(strClient) || FindProgram(VCM::FromBytes(strClient)).empty()) return;
  if (!oTable.Find(CLIENT_KEY) || !oTable.Find(FILE_BY_FILE_KEY)) return;
  oTable.SetHostDefault(CLIENT_KEY, VCM::FromBytes(strClient));
  oTable.SetHostDefault(FILE_BY_FILE_KEY, L"1");
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

}  // namespace TALVEK::HOST

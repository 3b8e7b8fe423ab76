#include "host/provider_library.h"

#include <dlfcn.h>

#include <algorithm>
#include <vector>

#include "host/exit_status.h"
#include "host/programs.h"
#include "host/text_output.h"

namespace fs = std::filesystem;

namespace TALVEK::HOST {
namespace {

constexpr std::string_view PREFIX = "talvek-em-";
constexpr std::string_view SUFFIX = ".so";

bool IsProviderName(const std::string& strName) {
  return !strName.empty() && std::all_of(strName.begin(), strName.end(), [](char ch) {
    return (ch >= 'a' && ch <= 'z') || (ch >= '0' && ch <= '9') || ch == '_';
  });
}

// The name of the provider in the plug-in's file name; empty when there is none.
std::string NameFromFile(const fs::path& oFile) {
  const std::string strFile = oFile.filename().string();
  if (!strFile.starts_with(PREFIX) || !strFile.ends_with(SUFFIX)) return "";
  return strFile.substr(PREFIX.size(), strFile.size() - PREFIX.size() - SUFFIX.size());
}

std::vector<fs::path> UsualFolders() {
  const fs::path oProgramFolder = ProgramFolder();
  return {oProgramFolder, oProgramFolder.parent_path() / "lib", fs::path(TALVEK_PLUGIN_FOLDER)};
}

fs::path FindPlugin(const TProviderChoice& tChoice) {
  const std::string strFile = std::string(PREFIX) + tChoice.strName + std::string(SUFFIX);
  const std::vector<fs::path> aoFolders =
      tChoice.strPath.empty() ? UsualFolders() : std::vector<fs::path>{fs::absolute(tChoice.strPath)};
  for (const fs::path& oFolder : aoFolders) {
    if (fs::is_regular_file(oFolder / strFile)) return oFolder / strFile;
  }
  throw EHostError(STATUS_WRONG_USE,
                   "there is no provider '" + ShowBytes(tChoice.strName) + "' (" + strFile + ")",
                   "check --provider, or say where it is with --provider-path");
}

TProviderChoice Complete(TProviderChoice tChoice, fs::path& oFile) {
  if (!tChoice.strPath.empty() && fs::is_regular_file(tChoice.strPath)) {
    oFile = fs::absolute(tChoice.strPath);
    const std::string strName = NameFromFile(oFile);
    if (!strName.empty()) tChoice.strName = strName;
  }
  if (!IsProviderName(tChoice.strName)) {
    throw EHostError(STATUS_WRONG_USE, "'" + ShowBytes(tChoice.strName) + "' is no provider's name",
                     "names have lower-case letters, digits and '_', such as cvs");
  }
  if (oFile.empty()) oFile = FindPlugin(tChoice);
  return tChoice;
}

}  // namespace

void CProviderLibrary::TUnload::operator()(void* pLibrary) const {
  dlclose(pLibrary);
}

CProviderLibrary::CProviderLibrary(const TProviderChoice& tChoice) {
  const std::string strName = Complete(tChoice, m_oFile).strName;
  m_pLibrary.reset(dlopen(m_oFile.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (!m_pLibrary) throw EHostError(STATUS_FAILED, std::string("can't load the provider: ") + dlerror(), "");
  const std::string strExport = "talvek_em_" + strName;
  const auto pfnGetOptions = reinterpret_cast<TALVEK_EM_GETOPTIONS*>(FindFunction(strExport + "_getoptions"));
  const auto pfnCreate =
      reinterpret_cast<TALVEK_EM_CREATEPROVIDER*>(FindFunction(strExport + "_createprovider"));
  constexpr int BUFFER_LENGTH = 1024;
  wchar_t achName[BUFFER_LENGTH] = {};
  wchar_t achDisplayName[BUFFER_LENGTH] = {};
  unsigned nFlags = 0;
  pfnGetOptions(achName, achDisplayName, &nFlags);
  m_strDisplayName = achDisplayName;
  m_poProvider.reset(pfnCreate());
}

void* CProviderLibrary::FindFunction(const std::string& strName) const {
  void* pFunction = dlsym(m_pLibrary.get(), strName.c_str());
  if (!pFunction) {
    throw EHostError(STATUS_FAILED,
                     "'" + ShowBytes(m_oFile.string()) + "' is no import provider: it has no " + strName,
                     "check --provider and --provider-path");
  }
  return pFunction;
}

}  // namespace TALVEK::HOST

// The two functions that the plug-in exports (mce/provider.h has their types).

#include <cwchar>

#include "mcv/cvs_provider.h"

extern "C" {

__attribute__((visibility("default"))) void talvek_em_cvs_getoptions(wchar_t* pszName,
                                                                     wchar_t* pszDisplayName,
                                                                     unsigned int* pnFlags) {
  std::wcscpy(pszName, L"cvs");
  std::wcscpy(pszDisplayName, L"CVS");
  *pnFlags = 0;
}

__attribute__((visibility("default"))) TALVEK::MCE::CProvider* talvek_em_cvs_createprovider() {
  return new TALVEK::MCV::CProvider();
}
}

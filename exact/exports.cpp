// What the plug-in shows to its host.

#include <cwchar>

#include "exact/exact_provider.h"

extern "C" {

__attribute__((visibility("default"))) void talvek_em_cvsexact_getoptions(wchar_t* pszName,
                                                                          wchar_t* pszDisplayName,
                                                                          unsigned int* pnFlags) {
  std::wcscpy(pszName, L"cvsexact");
  std::wcscpy(pszDisplayName, L"CVS, exact");
  *pnFlags = 0;
}

__attribute__((visibility("default"))) TALVEK::MCE::CProvider* talvek_em_cvsexact_createprovider() {
  return new TALVEK::EXACT::CProvider();
}
}

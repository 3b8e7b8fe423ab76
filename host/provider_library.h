#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "core/string.h"
#include "mce/provider.h"

namespace TALVEK::HOST {

/// Which plug-in to load.
struct TProviderChoice {
  std::string strName = "cvsexact";  ///< the NAME of talvek-em-NAME.so
  std::string strPath;               ///< the plug-in or the folder it is in; empty: the usual places
};

/// A plug-in and its one provider.
///
/// Shape    Without a path the plug-in is looked for beside the program, in ../lib beside the program's
///          folder (the build tree, or the folder it is installed in) and in the folder that the build
///          was set up to install to.
/// Errors   EHostError: STATUS_WRONG_USE when there is no such plug-in, STATUS_FAILED when it can't be
///          loaded.
/// Owns     Both; the provider is ended with Destroy, whatever happens.
class CProviderLibrary {
 public:
  explicit CProviderLibrary(const TProviderChoice& tChoice);
  CProviderLibrary(const CProviderLibrary&) = delete;
  CProviderLibrary& operator=(const CProviderLibrary&) = delete;

  MCE::CProvider& GetProvider() const { return *m_poProvider; }
  const VCM::CString& GetDisplayName() const { return m_strDisplayName; }
  const std::filesystem::path& GetFile() const { return m_oFile; }

 private:
  struct TUnload {
    void operator()(void* pLibrary) const;
  };
  struct TDestroy {
    void operator()(MCE::CProvider* poProvider) const { poProvider->Destroy(); }
  };

  void* FindFunction(const std::string& strName) const;

  std::filesystem::path m_oFile;
  VCM::CString m_strDisplayName;
  // In this order: the provider's code must be there until it is gone.
  std::unique_ptr<void, TUnload> m_pLibrary;
  std::unique_ptr<MCE::CProvider, TDestroy> m_poProvider;
};

}  // namespace TALVEK::HOST

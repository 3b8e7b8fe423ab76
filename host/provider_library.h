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
/// Shape    Without a path the plug-in is searched for in the program's folder, in ../lib from there (as in
///          the build tree and after an installation), and in the build's configured installation folder.
/// Errors   EHostError: STATUS_WRONG_USE when there is no such plug-in, STATUS_FAILED when it can't be
///          loaded.
/// Owns     Both. The destructor calls the provider's Destroy and then unloads the plug-in.
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
  // Keep the order: the library must be unloaded after the provider is destroyed.
  std::unique_ptr<void, TUnload> m_pLibrary;
  std::unique_ptr<MCE::CProvider, TDestroy> m_poProvider;
};

}  // namespace TALVEK::HOST

#pragma once

#include "core/string.h"

namespace TALVEK::CLIENT {

/// What a client is asked for: a module of a repository.
struct TModule {
  VCM::CString strRoot;  ///< the CVS root, as behind `cvs -d`
  VCM::CString strName;
};

/// The repository's directory in a root such as ":pserver:joe@host:/cvs": what stands behind the last ":".
VCM::CString GetRootDirectory(const VCM::CString& strRoot);

/// "2009/03/14 07:05:09", in UTC: the form in which the client takes dates. From seconds since 1970 UTC.
VCM::CString FormatUTCDateTime(long long nSeconds);

/// Builds a command line of the client, for CCvsClient::Execute:
///
///   CCommandLine(oClient.GetCommand(), tModule, L"checkout").Word(L"-r 1.4").Quoted(L"-d",
///   strFolder).Module()
///
/// Each text goes in up to its first NUL, where a command line would end: refuse names that hold one before.
class CCommandLine {
 public:
  /// The module is lent. Its root goes in as it is, without quotes.
  CCommandLine(const VCM::CString& strCvsCommand, const TModule& tModule, const wchar_t* pszCommand);

  /// Adds a text as it is: one word, or several.
  CCommandLine& Word(const VCM::CString& strText);
  /// Adds an option and its argument in quotes, so that the client gets the argument unchanged.
  CCommandLine& Quoted(const wchar_t* pszOption, const VCM::CString& strArgument);
  /// The whole line, with the module as its last word, or with a path in the module that begins with "/".
  /// Where that word begins with "-", a "--" in front keeps it from being an option.
  VCM::CString Module(const VCM::CString& strPathInModule = VCM::CString());

 private:
  const TModule& m_tModule;
  VCM::CString m_strLine;
};

}  // namespace TALVEK::CLIENT

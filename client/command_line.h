#pragma once

#include "core/string.h"

namespace TALVEK::CLIENT {

/// A module of a repository.
struct TModule {
  VCM::CString strRoot;  ///< the CVS root, as behind `cvs -d`
  VCM::CString strName;
};

/// The repository's directory in a root such as ":pserver:joe@host:/cvs": the text after the last ":".
VCM::CString GetRootDirectory(const VCM::CString& strRoot);

/// "2009/03/14 07:05:09", in UTC: the form in which the client takes dates. From seconds since 1970 UTC.
VCM::CString FormatUTCDateTime(long long nSeconds);

/// Builds a command line of the client, for CCvsClient::Execute:
///
///   CCommandLine oLine(oClient.GetCommand(), tModule, L"checkout");
///   oClient.Execute(oLine.Word(L"-r 1.4").Quoted(L"-d", strFolder).Module());
///
/// A text is cut at its first NUL, so check names from the log with HasNul (client/client_folder.h).
class CCommandLine {
 public:
  /// The module is lent. Its root is added as it is, without quotes.
  CCommandLine(const VCM::CString& strCvsCommand, const TModule& tModule, const wchar_t* pszCommand);

  /// Adds a text as it is: one word, or several.
  CCommandLine& Word(const VCM::CString& strText);
  /// Adds an option and its argument in quotes, so that the client gets the argument unchanged.
  CCommandLine& Quoted(const wchar_t* pszOption, const VCM::CString& strArgument);
  /// The line so far, for a command that needs no module.
  const VCM::CString& Line() const { return m_strLine; }
  /// Returns the whole line. Its last word is the module, followed by the path in it, which begins with "/".
  /// If that word begins with "-", "--" goes before it, so that it is no option.
  VCM::CString Module(const VCM::CString& strPathInModule = VCM::CString());

 private:
  const TModule& m_tModule;
  VCM::CString m_strLine;
};

}  // namespace TALVEK::CLIENT

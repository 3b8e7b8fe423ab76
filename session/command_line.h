#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "session/cvs_root.h"

namespace TALVEK::SESSION {

/// A checkout of one revision of one file into a named folder: the command that this program does itself.
struct TCheckout {
  TRoot tRoot;
  std::string strQuiet;  ///< "-q", "-Q" or empty
  bool bReadOnly = false;
  int nCompression = 0;     ///< 0 to 9
  std::string strRevision;  ///< digits and dots
  std::string strFolder;    ///< a plain path below the working folder
  std::string strFile;      ///< a plain path, the module first; at least two names
};

/// Shape    `astrArguments` is the command line after the program's name, `strCvsrc` the text of ~/.cvsrc.
/// Returns  Nothing for a command other than a checkout, and for unknown options.
/// Errors   EHandOver for a checkout that TCheckout can't express: the client does that.
std::optional<TCheckout> ParseCommandLine(const std::vector<std::string>& astrArguments,
                                          std::string_view strCvsrc);

/// The folder in which the client keeps its own files, in every folder that it checks out.
inline const std::string ADMIN = "CVS";

/// True for a relative path without empty names, ".", ".." and "CVS".
bool IsPlainPath(std::string_view strPath);

/// True for "cvs", "Cvs" and so on, but not "CVS". If the file system ignores case, such a name means the
/// client's folder.
bool IsAdminInOtherCase(std::string_view strName);
/// True when a path contains such a name.
bool HasAdminInOtherCase(std::string_view strPath);

/// The folder part of a path, without the slash; empty when it has none.
std::string FolderOf(std::string_view strPath);
/// The part behind the last slash.
std::string NameOf(std::string_view strPath);

}  // namespace TALVEK::SESSION

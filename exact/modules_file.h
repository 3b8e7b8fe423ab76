#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace TALVEK::EXACT {

/// A module of the file CVSROOT/modules.
struct TModule {
  bool bAlias = false;   ///< -a: stands for the words as if they had been asked for
  bool bLocal = false;   ///< -l: the files of the folder alone
  std::string strPlace;  ///< -d: where a checkout puts it; empty: a folder of the module's name
  /// Of an alias what it stands for; else a folder of the repository, then those of its files that are meant
  /// (none: all). Without trailing slashes.
  std::vector<std::string> astrWords;
  std::vector<std::string> astrIncluded;  ///< names behind "&": their folders come into the module's
};

using TModules = std::map<std::string, TModule, std::less<>>;  // by name

/// Reads what `cvs checkout -c` prints: a module a line, its name in front; long ones go on in lines that
/// begin with blanks. What stands behind "#" is a comment, as for the client.
TModules ReadModules(std::string_view strText);

}  // namespace TALVEK::EXACT

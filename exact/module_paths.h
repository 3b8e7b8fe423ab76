#pragma once

#include <string>
#include <string_view>

namespace TALVEK::EXACT {

/// Tells a file's path in the import from its path in the repository, and back.
///
/// Paths are those of `cvs checkout -d FOLDER MODULE`, within FOLDER. The module is a folder of the
/// repository: "mod", "mod/sub", or "." for all of it. All are bytes with "/" between the parts.
class CModulePaths {
 public:
  explicit CModulePaths(std::string strModule);

  /// "sub/a.c" for "mod/sub/a.c" in the module "mod". A file outside the module keeps its whole path.
  std::string InModule(std::string_view strInRepository) const;
  /// The folder of the repository below which the module's paths lie; empty for all of it.
  const std::string& Folder() const { return m_strFolder; }

 private:
  std::string m_strFolder;
};

}  // namespace TALVEK::EXACT

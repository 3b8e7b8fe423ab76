#pragma once

#include <filesystem>

#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {

/// A repository with the folders app, lib, tools and www, a file at its top, and modules of every kind in
/// CVSROOT/modules, made by the real client: a vendor import (V, V1), changes, a tag (T1), a branch (b1) with
/// a change, an added and a removed file, and changes of the trunk after it.
class CModuleWorld {
 public:
  CModuleWorld();
  std::filesystem::path Root() const { return m_oFolder / "root"; }
  std::filesystem::path Folder() const { return m_oFolder.Path(); }

 private:
  CTempFolder m_oFolder;
};

}  // namespace TALVEK::TEST

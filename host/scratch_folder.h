#pragma once

#include <filesystem>

namespace TALVEK::HOST {

/// A new, empty folder in the system's temporary folder that removes itself with all it holds. EHostError
/// when it can't be made.
class CScratchFolder {
 public:
  CScratchFolder();
  ~CScratchFolder();
  CScratchFolder(const CScratchFolder&) = delete;
  CScratchFolder& operator=(const CScratchFolder&) = delete;

  const std::filesystem::path& GetPath() const { return m_oPath; }

 private:
  std::filesystem::path m_oPath;
};

}  // namespace TALVEK::HOST

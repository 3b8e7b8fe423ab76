#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace TALVEK::TEST {

/// A new, empty folder that removes itself with all it holds.
class CTempFolder {
 public:
  CTempFolder();
  ~CTempFolder();
  CTempFolder(const CTempFolder&) = delete;
  CTempFolder& operator=(const CTempFolder&) = delete;

  const std::filesystem::path& Path() const { return m_oPath; }
  std::filesystem::path operator/(std::string_view strName) const { return m_oPath / strName; }

 private:
  std::filesystem::path m_oPath;
};

/// The whole file as bytes; fails the running test when it can't be read.
std::string ReadFile(const std::filesystem::path& oPath);
/// Writes the whole file (and makes its folder); fails the running test when that can't be done.
void WriteFile(const std::filesystem::path& oPath, std::string_view strBytes);

}  // namespace TALVEK::TEST

#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/descriptor.h"

namespace TALVEK::HOST {

/// The path of a file below a stream's folder, split into its items and checked once.
class CItemPath {
 public:
  /// Splits `strPath` at each "/"; empty items are dropped. None for a path at which no file may be looked
  /// for: one without items, or with an item that is "." or ".." or holds a NUL.
  static std::optional<CItemPath> Parse(std::string_view strPath);

  /// At least one; the last is the file's name, the others are its folders.
  const std::vector<std::string>& GetItems() const { return m_astrItems; }
  /// The items joined by "/".
  std::string GetText() const;

 private:
  explicit CItemPath(std::vector<std::string> astrItems) : m_astrItems(std::move(astrItems)) {}

  std::vector<std::string> m_astrItems;
};

/// A file that the provider has retrieved.
struct TRetrievedFile {
  VCM::CDescriptor oDescriptor;  ///< open for reading, at its beginning; none: see strProblem
  std::uint64_t nSize = 0;       ///< bytes
  bool bExecutable = false;
  std::string strProblem;
};

/// The folder into which a provider retrieves the files of one stream.
///
/// Errors   None: what can't be removed stays, and what can't be opened comes with its problem.
/// Safety   No symbolic link below the folder is ever followed.
class CStreamFolder {
 public:
  CStreamFolder() = default;
  explicit CStreamFolder(std::filesystem::path oPath) : m_oPath(std::move(oPath)) {}

  const std::filesystem::path& GetPath() const { return m_oPath; }
  /// Makes the folder, and those above it, where they are missing.
  void Make() const;
  TRetrievedFile Open(const CItemPath& oItem) const;
  /// True when something is at the path, whatever it is.
  bool Has(const CItemPath& oItem) const;
  /// Removes what is at the path, and any file that stands where the path needs a folder: what an earlier
  /// changeset left must not be taken for what a later one failed to bring.
  void Clear(const CItemPath& oItem) const;
  /// Removes the file at the path. A folder stays: other files in it may wait to be read.
  void RemoveFile(const CItemPath& oItem) const;
  /// Removes all that is in the folder, and keeps the folder.
  void Empty() const;

 private:
  std::filesystem::path m_oPath;
};

}  // namespace TALVEK::HOST

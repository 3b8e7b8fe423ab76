#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/descriptor.h"

namespace TALVEK::HOST {

/// The checked path of a file below a stream's folder, split into its items.
class CItemPath {
 public:
  /// Splits `strPath` at each "/"; empty items are dropped. None for an unsafe path: one without items, or
  /// with an item that is "." or ".." or has a NUL in it.
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
  VCM::CDescriptor oDescriptor;  ///< open for reading at offset 0; not open: see strProblem
  std::uint64_t nSize = 0;       ///< bytes
  bool bExecutable = false;
  std::string strProblem;
};

/// The folder into which a provider retrieves the files of one stream.
///
/// Errors   None are thrown: what can't be removed stays; Open returns why a file can't be opened.
/// Safety   No symbolic link below the folder is ever followed.
class CStreamFolder {
 public:
  CStreamFolder() = default;
  explicit CStreamFolder(std::filesystem::path oPath) : m_oPath(std::move(oPath)) {}

  const std::filesystem::path& GetPath() const { return m_oPath; }
  /// Makes the folder and its parents if they are missing.
  void Make() const;
  TRetrievedFile Open(const CItemPath& oItem) const;
  /// True when something is at the path, whatever it is.
  bool Has(const CItemPath& oItem) const;
  /// Removes what is at the path, and any file where the path needs a folder. Otherwise a file of an earlier
  /// changeset could be taken for the one that a later changeset failed to retrieve.
  void Clear(const CItemPath& oItem) const;
  /// Removes the file at the path, but no folder: other files in it may not have been read yet.
  void RemoveFile(const CItemPath& oItem) const;
  /// Removes all that is in the folder, and keeps the folder.
  void Empty() const;

 private:
  std::filesystem::path m_oPath;
};

}  // namespace TALVEK::HOST

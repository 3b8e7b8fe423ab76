#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "core/descriptor.h"
#include "host/scratch_folder.h"

namespace TALVEK::HOST {

/// A file that the provider has retrieved.
struct TRetrievedFile {
  VCM::CDescriptor oDescriptor;  ///< open for reading, at its beginning; none: see strProblem
  std::uint64_t nSize = 0;
  bool bExecutable = false;
  std::string strProblem;
};

/// The client folder, with one folder per stream in it.
///
/// Shape    A temporary folder that goes at the end, or one that the administrator names, which stays: it
///          must be empty or come from an earlier run (a file in it says so), and is emptied first.
/// Errors   EHostError: STATUS_WRONG_USE for a folder with foreign things in it, STATUS_FAILED when it can't
///          be made or emptied.
/// Safety   No symbolic link below a stream's folder is ever followed, and no ".." either.
class CWorkFolder {
 public:
  /// An empty path: a temporary folder.
  explicit CWorkFolder(const std::filesystem::path& oFolder);

  const std::filesystem::path& GetPath() const { return m_oPath; }
  /// EHostError when the folder's disk is full: then a file that is missing is no loss of the foreign
  /// system's.
  void RequireRoom() const;
  /// Makes the folder of a stream, where providers expect it: its name below the client folder ("a/b" is a
  /// folder in a folder). A name that would lead out of there ("../a", "/a"), or that is no clean path, gets
  /// "stream-ID"; the stream's files are then not found.
  std::filesystem::path MakeStreamFolder(std::uint32_t nStreamID, const std::string& strName) const;

  /// Opens the file at `strItemPath` below a stream's folder.
  static TRetrievedFile OpenFile(const std::filesystem::path& oStreamFolder, std::string_view strItemPath);
  /// Removes what is at the path, and any file that stands where it needs a folder: what an earlier changeset
  /// left must not be taken for what a later one failed to bring.
  static void ClearPath(const std::filesystem::path& oStreamFolder, std::string_view strItemPath);
  /// Removes all that is in a stream's folder, and keeps the folder.
  static void EmptyFolder(const std::filesystem::path& oStreamFolder);
  /// True when something is at the path.
  static bool HasPath(const std::filesystem::path& oStreamFolder, std::string_view strItemPath);
  /// Removes the file at the path, if it is one: never a folder, in which other files may wait to be read.
  static void RemoveFile(const std::filesystem::path& oStreamFolder, std::string_view strItemPath);

 private:
  void TakeOver() const;

  std::optional<CScratchFolder> m_oScratch;
  std::filesystem::path m_oPath;
};

}  // namespace TALVEK::HOST

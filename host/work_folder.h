#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "host/stream_folder.h"

namespace TALVEK::HOST {

/// A new, empty folder in the system's temporary folder. The destructor removes it with everything in it.
/// EHostError when it can't be made.
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

/// The client folder, with one folder per stream in it.
///
/// Shape    Either a temporary folder that is removed at the end, or one that the administrator names, which
///          stays. That one must be empty or have the marker file of an earlier run, and is emptied first.
/// Errors   EHostError: STATUS_WRONG_USE for a folder with other files in it, STATUS_FAILED when it can't be
///          made or emptied.
class CWorkFolder {
 public:
  /// An empty path: a temporary folder.
  explicit CWorkFolder(const std::filesystem::path& oFolder);

  const std::filesystem::path& GetPath() const { return m_oPath; }
  /// EHostError when the folder's disk is full. Call it when a file is missing: with a full disk the run must
  /// fail instead of reporting a loss.
  void RequireRoom() const;
  /// Makes the folder of a stream where providers expect it: in the client folder, under the stream's name
  /// ("a/b" is a folder in a folder). An unsafe name ("../a", "/a", "a//b") is replaced by "stream-ID"; the
  /// stream's files are then not found. A folder that can't be made is no error here: its files are reported
  /// as lost, one by one.
  CStreamFolder MakeStreamFolder(std::uint32_t nStreamID, const std::string& strName) const;

 private:
  void TakeOver() const;

  std::optional<CScratchFolder> m_oScratch;
  std::filesystem::path m_oPath;
};

}  // namespace TALVEK::HOST

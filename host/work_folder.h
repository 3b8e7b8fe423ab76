#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "host/stream_folder.h"

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

/// The client folder, with one folder per stream in it.
///
/// Shape    A temporary folder that goes at the end, or one that the administrator names, which stays: it
///          must be empty or come from an earlier run (a marker file shows that), and is emptied first.
/// Errors   EHostError: STATUS_WRONG_USE for a folder with foreign things in it, STATUS_FAILED when it can't
///          be made or emptied.
class CWorkFolder {
 public:
  /// An empty path: a temporary folder.
  explicit CWorkFolder(const std::filesystem::path& oFolder);

  const std::filesystem::path& GetPath() const { return m_oPath; }
  /// EHostError when the folder's disk is full: then a missing file is not the foreign system's fault, and
  /// the run must fail instead of reporting a loss.
  void RequireRoom() const;
  /// Makes the folder of a stream, where providers expect it: its name below the client folder ("a/b" is a
  /// folder in a folder). A name that would lead out of there ("../a", "/a"), or that is no clean path, gets
  /// "stream-ID"; the stream's files are then not found. A folder that can't be made is no error: the
  /// stream's files can't be retrieved then, and are reported one by one.
  CStreamFolder MakeStreamFolder(std::uint32_t nStreamID, const std::string& strName) const;

 private:
  void TakeOver() const;

  std::optional<CScratchFolder> m_oScratch;
  std::filesystem::path m_oPath;
};

}  // namespace TALVEK::HOST

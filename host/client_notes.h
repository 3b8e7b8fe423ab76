#pragma once

#include <filesystem>
#include <string>

#include "host/work_folder.h"

namespace TALVEK::HOST {

/// Counts the checkouts that the bundled client handed on to the plain `cvs`, by reason. Most of them cost a
/// second.
///
/// Shape    While the object lives, the environment variable CVS_SESSION_NOTES names a file. For each such
///          checkout the client appends the reason to it as a line. Only one object at a time.
/// Errors   EHostError when the file's folder can't be made.
/// Owns     The file; the destructor removes it.
class CClientNotes {
 public:
  CClientNotes();
  ~CClientNotes();
  CClientNotes(const CClientNotes&) = delete;
  CClientNotes& operator=(const CClientNotes&) = delete;

  /// A sentence with the total and the count of each reason, the most frequent first; empty when there were
  /// none.
  std::string GetText() const;

 private:
  CScratchFolder m_oFolder;
  std::filesystem::path m_oFile;
};

}  // namespace TALVEK::HOST

#pragma once

#include <filesystem>
#include <string>

#include "host/work_folder.h"

namespace TALVEK::HOST {

/// Learns which checkouts the bundled client handed on to the plain `cvs`, and why: most of
/// them cost a second.
///
/// Shape    While the object lives, the environment variable CVS_SESSION_NOTES names a file, to which the
///          client appends a line, the reason, for each such checkout. Only one object at a time.
/// Errors   EHostError when the file's folder can't be made.
/// Owns     The file, which goes with the object.
class CClientNotes {
 public:
  CClientNotes();
  ~CClientNotes();
  CClientNotes(const CClientNotes&) = delete;
  CClientNotes& operator=(const CClientNotes&) = delete;

  /// How many there were, by reason, the most frequent first; empty when there were none.
  std::string GetText() const;

 private:
  CScratchFolder m_oFolder;
  std::filesystem::path m_oFile;
};

}  // namespace TALVEK::HOST

#pragma once

#include "core/string.h"
#include "mce/cvs_revision.h"

namespace TALVEK::CLIENT {

/// Whether a file has an entry in its folder's "CVS/Entries".
enum TEntryType {
  NO_ENTRIES,     ///< the folder has no such list: it wasn't checked out by the client
  ENTRY_MISSING,  ///< the list lacks the file: the client has never finished it
  ENTRY_FOUND,
};

/// A file's entry in its folder's "CVS/Entries".
struct TClientEntry {
  TEntryType nType = NO_ENTRIES;
  MCE::TCVSRevision oRevision;  ///< ENTRY_FOUND: the revision that the client wrote last and finished
};

/// Reads the entry of a file. The client writes it when the file is complete. So a file on which the client
/// was killed, or ran out of disk space, has no entry, or that of an earlier revision.
TClientEntry ReadEntry(const VCM::CString& strPath);

}  // namespace TALVEK::CLIENT

#pragma once

#include "core/string.h"
#include "mce/cvs_revision.h"

namespace TALVEK::CLIENT {

/// Whether the client has noted a file.
enum TEntryType {
  NO_ENTRIES,     ///< the folder isn't one of the client's
  ENTRY_MISSING,  ///< the client has never finished the file
  ENTRY_FOUND,
};

/// What the client has noted of a file in its folder's "CVS/Entries".
struct TClientEntry {
  TEntryType nType = NO_ENTRIES;
  MCE::TCVSRevision oRevision;  ///< ENTRY_FOUND: the revision that the client wrote last and finished
};

/// Reads the note of a file. The client makes it once the file is whole: one that it was ended over, or found
/// no room for, stays behind without a note, or with that of an earlier revision.
TClientEntry ReadEntry(const VCM::CString& strPath);

}  // namespace TALVEK::CLIENT

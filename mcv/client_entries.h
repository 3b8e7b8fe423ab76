#pragma once

#include "core/string.h"

namespace TALVEK::MCV {

/// What the client has noted of a file in its folder's "CVS/Entries". It does so once the file is whole; one
/// that it was ended over, or found no room for, stays behind without a note, or with that of an earlier
/// revision.
enum TEntryState { ENTRY_OF_REVISION, ENTRY_MISSING, NO_ENTRIES };

/// NO_ENTRIES: the folder isn't one of the client's.
TEntryState FindEntry(const VCM::CString& strPath, const VCM::CString& strRevision);

}  // namespace TALVEK::MCV

#pragma once

#include "mce/provider_base.h"
#include "mce/stream_list.h"
#include "mcv/file_enum.h"

namespace TALVEK::MCV {

/// Records each revision of a file as a change item of its stream: what it does to the file, and until when
/// it stays current. The engine's AddChangeItem decides which changeset takes it. A revision whose branch is
/// no stream gives no item.
///
/// `tStream` is the search's working record; afterwards it holds the stream of the last revision. The numbers
/// of the file's revisions are moved out of it.
void AddFileChanges(TFileInfo& tFile, MCE::CProvider::TStreamInfo& tStream, const MCE::CStreamList& oStreams,
                    MCE::CProviderBase& oEngine);

}  // namespace TALVEK::MCV

#pragma once

#include "mce/provider_base.h"
#include "mce/stream_list.h"
#include "mcv/file_enum.h"

namespace TALVEK::MCV {

/// Gives each revision of a file to the engine as a change item of its stream: what it does to the file, and
/// when the next revision replaces it. A revision whose branch is no stream gives no item. Which changeset
/// takes the item is decided by CChangeGrouping::AddItem (mce/change_grouping.h), behind AddChangeItem.
///
/// `tStream` is the search's working record; afterwards it holds the stream of the last revision, with ID 0
/// if that has none. The numbers of the file's revisions are moved out of `tFile`.
void AddFileChanges(TFileInfo& tFile, MCE::CProvider::TStreamInfo& tStream, const MCE::CStreamList& oStreams,
                    MCE::CProviderBase& oEngine);

}  // namespace TALVEK::MCV

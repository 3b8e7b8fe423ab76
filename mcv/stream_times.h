#pragma once

#include <cstdint>

#include "mce/import_log.h"
#include "mce/provider.h"
#include "mcv/file_enum.h"
#include "mcv/stream_registry.h"

// When a stream was made. CVS doesn't record it. Each file that has the branch or tag narrows the range: it
// was made after the revision from which it starts, and (an assumption) before the one that replaced it.
// Times are seconds since 1970 UTC; 0: not known. CProvider::ResolveStreamLinkage later uses the result to
// find the change from which the stream starts.
namespace TALVEK::MCV {

/// Earliest time at which it was made, as far as one file tells: one second after the revision from which it
/// starts.
std::uint32_t GetStreamCreationTime(const TTagInfo& tTag, const TFileInfo& tFile);
/// Time before which it was made: that of the revision with the next number (1.3 for a start at 1.2).
std::uint32_t GetStreamMaxCreationTime(const TTagInfo& tTag, const TFileInfo& tFile);

/// Narrows the stream's range (STREAM_CREATED, STREAM_MAX_CREATED) with this file's evidence; true when it
/// wrote to the record. A lower bound that contradicts other files is logged and ignored.
bool SetStreamCreationTime(MCE::CProvider::TStreamInfo& tStream, const TFileInfo& tFile, const TTagInfo& tTag,
                           const CStreamRegistry& oStreams, const MCE::CLogSink& oLog);

}  // namespace TALVEK::MCV

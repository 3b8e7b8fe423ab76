#pragma once

#include <cstdint>

#include "mce/import_log.h"
#include "mce/provider.h"
#include "mcv/file_enum.h"
#include "mcv/stream_registry.h"

// When a stream was made. CVS doesn't record it. Each file that carries the branch or tag narrows the range:
// not before the revision from which it starts, and taken to be before the revision that replaced that one.
// Times are seconds since 1970 UTC; 0: not known.
namespace TALVEK::MCV {

/// Earliest time at which it can have been made, as far as one file tells: just after the revision that it
/// starts from.
std::uint32_t GetStreamCreationTime(const TTagInfo& tTag, const TFileInfo& tFile);
/// Latest such time: when the revision that it starts from was replaced.
std::uint32_t GetStreamMaxCreationTime(const TTagInfo& tTag, const TFileInfo& tFile);

/// Narrows the stream's range with this file's evidence; true when it wrote to the record. Evidence that
/// contradicts what other files have shown is logged and dropped.
bool SetStreamCreationTime(MCE::CProvider::TStreamInfo& tStream, const TFileInfo& tFile, const TTagInfo& tTag,
                           const CStreamRegistry& oStreams, const MCE::CLogSink& oLog);

}  // namespace TALVEK::MCV

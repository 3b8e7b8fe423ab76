#pragma once

#include <memory>

#include "core/string.h"
#include "host/byte_sink.h"
#include "host/history_walk.h"

namespace TALVEK::HOST {

/// A form of the preview: sees the whole history, then writes it.
class CPreview : public CHistoryVisitor {
 public:
  virtual void Write(CByteSink& oSink) = 0;
};

/// A tree of the streams with counts, for a person. `strFolder`: where the provider may make folders.
std::unique_ptr<CPreview> MakeTextPreview(const VCM::CString& strFolder);

/// One JSON object per line: streams by id, changesets by stream, time and id, items by changeset and number.
/// Takes some 50 bytes of memory for a changeset; the rest waits on disk.
std::unique_ptr<CPreview> MakeJsonPreview(const VCM::CString& strFolder);

}  // namespace TALVEK::HOST

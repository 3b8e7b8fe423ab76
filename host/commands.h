#pragma once

#include <memory>

#include "core/string.h"
#include "host/byte_sink.h"
#include "host/command_line.h"
#include "host/console.h"
#include "host/history_walk.h"
#include "host/property_table.h"
#include "host/provider_library.h"

namespace TALVEK::HOST {

/// What every command works with.
struct TCommandContext {
  const CProviderLibrary& oLibrary;
  const CPropertyTable& oTable;
  const TCommandLine& tCommandLine;
  CConsole& oConsole;
};

/// Each runs one command and returns the exit status, or throws EHostError or EStopped.
int PropertiesCommand(const TCommandContext& tContext);
int CheckCommand(const TCommandContext& tContext);
int PreviewCommand(const TCommandContext& tContext);
int RunCommand(const TCommandContext& tContext);

/// A format of the preview. As a visitor it collects the whole history; Write then prints it.
class CPreview : public CHistoryVisitor {
 public:
  virtual void Write(CByteSink& oSink) = 0;
};

/// A tree of the streams with counts, for a person. `strFolder`: where the provider may make folders.
std::unique_ptr<CPreview> MakeTextPreview(const VCM::CString& strFolder);

/// One JSON object per line: streams by id, changesets by stream, time and id, items by changeset and number.
/// Needs about 50 bytes of memory for each changeset; the lines wait in temporary files.
std::unique_ptr<CPreview> MakeJsonPreview(const VCM::CString& strFolder);

}  // namespace TALVEK::HOST

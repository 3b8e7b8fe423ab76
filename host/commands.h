#pragma once

#include "host/command_line.h"
#include "host/console.h"
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

/// Each carries out one command and returns the exit status, or throws EHostError or EStopped.
int PropertiesCommand(const TCommandContext& tContext);
int CheckCommand(const TCommandContext& tContext);
int PreviewCommand(const TCommandContext& tContext);
int RunCommand(const TCommandContext& tContext);

}  // namespace TALVEK::HOST

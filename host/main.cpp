#include <clocale>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "core/descriptor.h"
#include "host/commands.h"
#include "host/exit_status.h"
#include "host/programs.h"
#include "host/stop_signal.h"
#include "host/text_output.h"
#include "host/verify_command.h"

namespace TALVEK::HOST {
namespace {

int Dispatch(const TCommandContext& tContext) {
  switch (tContext.tCommandLine.eCommand) {
    case TCommandLine::COMMAND_PROPERTIES:
      return PropertiesCommand(tContext);
    case TCommandLine::COMMAND_CHECK:
      return CheckCommand(tContext);
    case TCommandLine::COMMAND_PREVIEW:
      return PreviewCommand(tContext);
    case TCommandLine::COMMAND_RUN:
      return RunCommand(tContext);
    case TCommandLine::COMMAND_SHOW:
      break;
  }
  WriteOutput(tContext.tCommandLine.strShow);
  return STATUS_IMPORTED;
}

// Help is shown even when the provider can't be loaded, then without the provider's options.
int ShowHelpAlone(const std::vector<std::string>& astrArguments) {
  CPropertyTable oNoProperties;
  WriteOutput(ParseCommandLine(astrArguments, oNoProperties).strShow);
  return STATUS_IMPORTED;
}

constexpr const char* VERIFY = "verify";

// A verification needs no provider, and its options are another program's.
bool AsksForVerification(const std::vector<std::string>& astrArguments) {
  return !astrArguments.empty() && astrArguments.front() == VERIFY;
}

int Run(const std::vector<std::string>& astrArguments, CConsole& oConsole) {
  if (AsksForVerification(astrArguments)) {
    return VerifyCommand(std::vector<std::string>(astrArguments.begin() + 1, astrArguments.end()));
  }
  std::optional<CProviderLibrary> oLibrary;
  try {
    oLibrary.emplace(FindProviderChoice(astrArguments));
  } catch (const EHostError&) {
    if (!AsksForHelp(astrArguments)) throw;
    return ShowHelpAlone(astrArguments);
  }
  CPropertyTable oTable(oLibrary->GetProvider());
  PreferBundledClient(oTable, ProgramFolder());
  const TCommandLine tCommandLine = ParseCommandLine(astrArguments, oTable);
  return Dispatch({*oLibrary, oTable, tCommandLine, oConsole});
}

int RunGuarded(const std::vector<std::string>& astrArguments) {
  CConsole oConsole;
  try {
    return Run(astrArguments, oConsole);
  } catch (const EHostError& oError) {
    oConsole.Line(oError.what() + oConsole.GetPostscript());
    return oError.GetStatus();
  } catch (const EStopped& oStopped) {
    oConsole.Line("stopped; nothing was imported");
    return 128 + oStopped.GetSignal();
  } catch (const std::exception& oError) {
    oConsole.Line(std::string("failed: ") + oError.what() + oConsole.GetPostscript());
    return STATUS_FAILED;
  }
}

}  // namespace
}  // namespace TALVEK::HOST

int main(int argc, char** argv) {
  // The import must be the same in every locale: names and messages are read as UTF-8, and other bytes are
  // kept.
  std::setlocale(LC_CTYPE, "C.UTF-8");
  // The import must be the same in every time zone: a client prints dates in its caller's zone, and the
  // provider reads only the whole hours of an offset.
  setenv("TZ", "UTC", 1);
  TALVEK::VCM::OpenStandardDescriptors();
  TALVEK::HOST::CatchStopSignals();
  return TALVEK::HOST::RunGuarded(std::vector<std::string>(argv + 1, argv + argc));
}

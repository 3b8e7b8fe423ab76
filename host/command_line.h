#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/property_table.h"
#include "host/provider_library.h"

namespace TALVEK::HOST {

/// What the administrator asks for.
struct TCommandLine {
  enum TCommand { COMMAND_SHOW, COMMAND_PROPERTIES, COMMAND_CHECK, COMMAND_PREVIEW, COMMAND_RUN };

  TCommand eCommand = COMMAND_SHOW;
  std::string strShow;  ///< COMMAND_SHOW: the help or version text
  bool bQuiet = false;
  std::string strFormat = "text";
  std::string strImportLog;   ///< empty: kept only after a failure or losses
  std::string strInto;        ///< run needs this or strFastExport
  std::string strFastExport;  ///< "-": standard output
  std::string strWork;        ///< empty: a temporary folder
  std::string strTrunkBranch = "main";
  bool bBare = false;
  bool bVerify = true;
  std::uint64_t nMaxLosses = 50;  ///< the run fails when this many first files are all lost; 0: never
};

/// Which plug-in to load. It must be known first, because the other options are made from the plug-in's
/// properties.
TProviderChoice FindProviderChoice(const std::vector<std::string>& astrArguments);
bool AsksForHelp(const std::vector<std::string>& astrArguments);

/// Reads the arguments (without the program's name); the values of properties go into `oTable`. EHostError
/// (STATUS_WRONG_USE) when they are wrong.
TCommandLine ParseCommandLine(const std::vector<std::string>& astrArguments, CPropertyTable& oTable);

}  // namespace TALVEK::HOST

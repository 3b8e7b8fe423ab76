#pragma once

#include <string>
#include <vector>

namespace TALVEK::HOST {

/// Where the program is that verifies imports of the cvs providers; empty when it doesn't lie beside this
/// one.
std::string VerifyProgram();

/// Runs it with these arguments and returns its exit status. `nStdOutput`: where its result goes. EHostError
/// (STATUS_FAILED) when it can't be run.
int RunVerifyProgram(const std::vector<std::string>& astrArguments, int nStdOutput);

/// The command `verify`: its arguments are the program's.
int VerifyCommand(const std::vector<std::string>& astrArguments);

}  // namespace TALVEK::HOST

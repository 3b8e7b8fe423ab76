#include "host/verify_command.h"

#include <unistd.h>

#include <cstring>

#include "core/child_process.h"
#include "core/text_codec.h"
#include "host/exit_status.h"
#include "host/programs.h"
#include "host/text_output.h"

namespace TALVEK::HOST {
namespace {

constexpr const char* PROGRAM = "cvs-verify";

}  // namespace

std::string VerifyProgram() {
  return FindProgram(VCM::FromBytes((ProgramFolder() / PROGRAM).string()));
}

int RunVerifyProgram(const std::vector<std::string>& astrArguments, int nStdOutput) {
  VCM::TChildStart tStart;
  tStart.astrArguments = {VerifyProgram()};
  if (tStart.astrArguments.front().empty()) {
    throw EHostError(STATUS_FAILED, std::string(PROGRAM) + " doesn't lie beside talvek-import",
                     "install the two together");
  }
  tStart.astrArguments.insert(tStart.astrArguments.end(), astrArguments.begin(), astrArguments.end());
  tStart.nStdOutput = nStdOutput;
  tStart.nStdError = STDERR_FILENO;
  const VCM::TChildResult tResult = VCM::RunChild(tStart);
  if (tResult.nKind == VCM::TChildResult::ENDED) return tResult.nValue;
  throw EHostError(
      STATUS_FAILED,
      "can't run " + ShowBytes(tStart.astrArguments.front()) + ": " + std::strerror(tResult.nValue), "");
}

int VerifyCommand(const std::vector<std::string>& astrArguments) {
  return RunVerifyProgram(astrArguments, STDOUT_FILENO);
}

}  // namespace TALVEK::HOST

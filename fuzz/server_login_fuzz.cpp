// A server's whole conversation: log-in, its valid requests, and its reply to a checkout, perhaps compressed.

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/check.h"
#include "fuzz/fuzz_input.h"
#include "fuzz/scripted_server.h"
#include "fuzz/server_outcome.h"
#include "fuzz/work_limits.h"
#include "session/compression.h"
#include "session/failure.h"
#include "session/server_connection.h"

namespace TALVEK::FUZZ {

namespace {

constexpr std::chrono::seconds PATIENCE{30};

/// Splits the text at form feeds into `nParts` parts.
std::vector<std::string> PartsOf(std::string_view strText, std::size_t nParts) {
  std::vector<std::string> astrParts(nParts);
  for (std::size_t i = 0; i < nParts; ++i) {
    const std::size_t nEnd = i + 1 < nParts ? strText.find('\f') : std::string_view::npos;
    astrParts[i] = strText.substr(0, nEnd);
    strText.remove_prefix(nEnd == std::string_view::npos ? strText.size() : nEnd + 1);
  }
  return astrParts;
}

void Talk(const SESSION::TCheckout& tCheckout, std::size_t nBytes) {
  try {
    SESSION::CServerConnection oConnection(tCheckout, {PATIENCE, -1});
    oConnection.Send(SESSION::CheckoutRequests(tCheckout));
    ReadOutcome(oConnection, tCheckout, nBytes);
  } catch (const SESSION::EFailure& eFailure) {
    Check(*eFailure.what() != '\0', "a failure has a reason");
  }
}

/// The text's first part answers the log-in, the second one "valid-requests", the third one the checkout.
/// Options: z  the third part is sent compressed;  c  the client asks for compression.
void Run(const CFuzzInput& oInput) {
  constexpr std::size_t MAX_INFLATION = 1100;
  static CScriptedServer& s_oServer = *new CScriptedServer;  // its thread never ends
  std::vector<std::string> astrParts = PartsOf(oInput.Text(), 3);
  if (oInput.Has('z')) astrParts[2] = SESSION::CCompression(6).Deflate(astrParts[2]);
  s_oServer.Prepare({{"", "END AUTH REQUEST\n"},
                     {astrParts[0], "valid-requests\n"},
                     {astrParts[1], "UseUnchanged\n"},
                     {astrParts[2], ""}});
  SESSION::TCheckout tCheckout =
      MakeCheckout(":pserver:joe:pw@127.0.0.1:" + std::to_string(s_oServer.GetPort()) + "/cvs");
  tCheckout.nCompression = oInput.Has('c') ? 3 : 0;
  const std::size_t nBytes = astrParts[2].size() * (oInput.Has('c') ? MAX_INFLATION : 1);
  const CWorkLimits oLimits(oInput.Text().size() + nBytes);
  const auto nBegin = std::chrono::steady_clock::now();
  Talk(tCheckout, nBytes);
  Check(std::chrono::steady_clock::now() - nBegin < PATIENCE, "nobody waits for a server that hung up");
  s_oServer.WaitForEnd();
  oLimits.Check();
}

}  // namespace

}  // namespace TALVEK::FUZZ

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nBytes) {
  TALVEK::FUZZ::Run(TALVEK::FUZZ::CFuzzInput(pBytes, nBytes));
  return 0;
}

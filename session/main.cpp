// A cvs command that leaves its connection open for the next one. This file has the steps of one command:
// read the command line, look at the working folder, ask the session, write the file; or become the client.

#include <csignal>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <unistd.h>

#include "session/client.h"
#include "session/command_line.h"
#include "session/conversation.h"
#include "session/failure.h"
#include "session/folder.h"
#include "session/reply.h"
#include "session/working_folder.h"

namespace TALVEK::SESSION {
namespace {

std::string ReadCvsrc() {
  const char* pszHome = std::getenv("HOME");
  if (!pszHome) return std::string();
  return ReadFileText(std::string(pszHome) + "/.cvsrc");
}

std::optional<TCheckout> ReadCommandLine(char** ppszArguments) {
  std::vector<std::string> astrWords;
  for (char** ppszWord = ppszArguments + 1; *ppszWord; ++ppszWord)
    astrWords.emplace_back(*ppszWord);
  std::optional<TCheckout> tCheckout = ParseCommandLine(astrWords, ReadCvsrc());
  if (tCheckout && std::getenv("CVSREAD")) tCheckout->bReadOnly = true;
  return tCheckout;
}

/// Reads the reply to a checkout into `tReply`, and the content into the file that it returns.
std::unique_ptr<CStagedFile> TakeReply(CConversation& oConversation, const TCheckout& tCheckout,
                                       const CWorkingFolder& oFolder, TReply& tReply) {
  std::unique_ptr<CStagedFile> poFile = oFolder.Stage();
  const auto fnTake = [&poFile](std::string_view strBytes) { poFile->Write(strBytes); };
  CReplyReader oReader(oConversation);
  ReadReply(oReader, tCheckout, oFolder.Repository(), fnTake, tReply);
  return poFile;
}

/// Asks on one connection, and puts the file in its place.
void Ask(const TCheckout& tCheckout, const TCaller& tCaller, CWorkingFolder& oFolder, TReply& tReply) {
  CConversation oConversation(tCheckout, tCaller);
  const std::string strRequests =
      QuestionRequests(tCheckout.tRoot, oFolder.Questions()) + CheckoutRequests(tCheckout);
  const std::string strRefusal = oConversation.Reach(strRequests);
  if (!strRefusal.empty()) {
    // With a local root the client needs no server, so it may still succeed.
    if (tCheckout.tRoot.nMethod == TRoot::LOCAL) throw EHandOver(HAND_OVER_SERVER);
    throw EFailure(strRefusal);
  }
  const std::string strReset = ResetRequests(tCheckout, oFolder.Repository());
  std::unique_ptr<CStagedFile> poFile = TakeReply(oConversation, tCheckout, oFolder, tReply);
  // A server that has sent the file before leaves out its time, or sends nothing. So reset it, and ask again.
  if (tReply.bIsWhole && !(tReply.bIsFile && tReply.nTime)) {
    oConversation.Ask(strReset + strRequests);
    poFile = TakeReply(oConversation, tCheckout, oFolder, tReply);
  }
  if (tReply.bIsFile) oConversation.Ask(strReset);
  if (tReply.bIsWhole) oConversation.Release();
  if (!tReply.bIsFile) throw EHandOver(HAND_OVER_ANSWER);
  oFolder.Apply(tReply, *poFile);
}

void AskTwice(const TCheckout& tCheckout, const TCaller& tCaller, CWorkingFolder& oFolder, TReply& tReply) {
  try {
    return Ask(tCheckout, tCaller, oFolder, tReply);
  } catch (const EBrokenConnection&) {
    // The server may have been restarted.
  }
  try {
    return Ask(tCheckout, tCaller, oFolder, tReply);
  } catch (const EBrokenConnection&) {
    throw Aborted("end of file from server (consult above messages if any)");
  }
}

void CheckOut(const TCheckout& tCheckout, TReply& tReply) {
  const std::optional<TCaller> tCaller = FindCaller();
  if (!tCaller) throw EHandOver(HAND_OVER_CALLER);
  CWorkingFolder oFolder(tCheckout);
  AskTwice(tCheckout, *tCaller, oFolder, tReply);
}

/// Carries out the command line. False when the client must do it.
bool Do(char** ppszArguments, TReply& tReply) try {
  const std::optional<TCheckout> tCheckout = ReadCommandLine(ppszArguments);
  if (tCheckout) CheckOut(*tCheckout, tReply);
  return tCheckout.has_value();
} catch (const EHandOver& oHandOver) {
  NoteHandOver(oHandOver.Reason());
  return false;
}

int Run(char** ppszArguments) {
  TReply tReply;
  int nStatus = 0;
  const auto nPipeBefore = ::signal(SIGPIPE, SIG_IGN);
  try {
    if (!Do(ppszArguments, tReply)) {
      ::signal(SIGPIPE, nPipeBefore);
      return BecomeClient(ppszArguments);
    }
  } catch (const std::exception& oFailure) {
    tReply.strErrors += std::string(oFailure.what()) + "\n";
    // The output may say that the file was updated, but it wasn't written.
    tReply.strOutput.clear();
    nStatus = 1;
  }
  ::signal(SIGPIPE, nPipeBefore);
  const TWaitLimits tLimits{ConfiguredTimeout(), -1};
  const bool bShown = WriteAll(STDERR_FILENO, tReply.strErrors, tLimits) &&
                      WriteAll(STDOUT_FILENO, tReply.strOutput, tLimits);
  return bShown ? nStatus : 1;
}

}  // namespace
}  // namespace TALVEK::SESSION

int main(int, char** ppszArguments) {
  return TALVEK::SESSION::Run(ppszArguments);
}

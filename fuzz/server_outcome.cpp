#include "fuzz/server_outcome.h"

#include <algorithm>
#include <optional>

#include "fuzz/check.h"
#include "session/failure.h"

namespace TALVEK::FUZZ {

namespace {

bool IsField(const std::string& strText) {
  return strText.find_first_of("/\n") == std::string::npos && strText.find('\0') == std::string::npos;
}

void CheckEntry(const SESSION::TEntry& tEntry) {
  Check(tEntry.strName == "a.c", "the entry is the file's");
  Check(tEntry.strTime.empty(), "the entry has no time yet");
  Check(IsField(tEntry.strRevision) && IsField(tEntry.strOptions) && IsField(tEntry.strTag),
        "no field of an entry contains a '/', line end or NUL");
}

void CheckOutcome(const TOutcome& tOutcome, std::size_t nBytes) {
  const SESSION::TReply& tReply = tOutcome.tReply;
  Check(tOutcome.strContent.size() <= nBytes, "the content isn't longer than the reply");
  Check(tReply.strOutput.size() + tReply.strErrors.size() <= nBytes,
        "the output isn't longer than the reply");
  Check((tReply.nMode & ~mode_t{0777}) == 0, "a mode has bits for reading, writing and running only");
  if (!tOutcome.strFailure.empty()) return;
  if (tReply.bIsFile) {
    Check(tReply.bIsWhole, "a file comes with its whole reply");
    CheckEntry(tReply.tEntry);
  }
}

}  // namespace

std::string CPieceSource::Read() {
  if (m_strRest.empty()) throw SESSION::EBrokenConnection();
  const std::string strPiece(m_strRest.substr(0, m_nPiece));
  m_strRest.remove_prefix(strPiece.size());
  return strPiece;
}

SESSION::TCheckout MakeCheckout(const std::string& strRoot, const std::string& strFile) {
  const std::optional<SESSION::TCheckout> tCheckout =
      SESSION::ParseCommandLine({"-f", "-d", strRoot, "co", "-r", "1.1", "-d", "Main/src", strFile}, "");
  Check(tCheckout.has_value(), "cvs-session carries this command line out itself");
  return *tCheckout;
}

TOutcome ReadOutcome(SESSION::CByteSource& oSource, const SESSION::TCheckout& tCheckout, std::size_t nBytes) {
  TOutcome tOutcome;
  const auto Take = [&](std::string_view strBytes) { tOutcome.strContent += strBytes; };
  SESSION::CReplyReader oReader(oSource);
  try {
    SESSION::ReadReply(oReader, tCheckout, "mod/src", Take, tOutcome.tReply);
  } catch (const SESSION::EBrokenConnection& eFailure) {
    tOutcome.strFailure = eFailure.what();
  } catch (const SESSION::EFailure& eFailure) {
    tOutcome.strFailure = eFailure.what();
  }
  CheckOutcome(tOutcome, nBytes);
  return tOutcome;
}

std::string TextOf(const TOutcome& tOutcome) {
  const SESSION::TReply& tReply = tOutcome.tReply;
  return tOutcome.strFailure + "|" + tOutcome.strContent + "|" + tReply.strOutput + "|" + tReply.strErrors +
         "|" + SESSION::EntryLine(tReply.tEntry) + "|" + std::to_string(tReply.bIsFile) +
         std::to_string(tReply.bIsWhole) + " " + std::to_string(tReply.nMode) + " " +
         std::to_string(tReply.nTime.value_or(-1));
}

}  // namespace TALVEK::FUZZ

// A server's reply to a checkout, and its effect on the working folder.

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "core/file_system.h"
#include "core/text_codec.h"
#include "fuzz/check.h"
#include "fuzz/fuzz_input.h"
#include "fuzz/server_outcome.h"
#include "fuzz/work_limits.h"
#include "session/client.h"
#include "session/compression.h"
#include "session/failure.h"
#include "session/working_folder.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::FUZZ {

namespace {

constexpr std::size_t BLOCK_BYTES = 65536;

/// All paths below a folder; those of folders end in a slash.
std::set<std::string> Below(const std::filesystem::path& oFolder) {
  std::set<std::string> astrNames;
  for (const auto& oEntry : std::filesystem::recursive_directory_iterator(oFolder)) {
    const std::string strName = std::filesystem::relative(oEntry.path(), oFolder).string();
    astrNames.insert(oEntry.is_directory() ? strName + "/" : strName);
  }
  return astrNames;
}

std::set<std::string> Expected(bool bFile) {
  if (!bFile) return {};
  std::set<std::string> astrNames = {"Main/", "Main/src/", "Main/src/a.c"};
  for (const std::string strFolder : {"Main/CVS/", "Main/src/CVS/"}) {
    for (const char* pszName : {"", "Entries", "Entries.Static", "Repository", "Root"})
      astrNames.insert(strFolder + pszName);
  }
  return astrNames;
}

/// True when nothing in the working folder makes the checkout the client's.
bool IsInOrder(const SESSION::TCheckout& tCheckout) {
  try {
    const SESSION::CWorkingFolder oWorking(tCheckout);
    return true;
  } catch (const SESSION::EHandOver&) {
    return false;
  }
}

void CheckFolder(const std::filesystem::path& oFolder, bool bFile, const std::string& strContent) {
  std::set<std::string> astrNames = Below(oFolder);
  astrNames.erase("Main/CVS/Entries.Log");  // whether it is there depends on the file system's order of names
  Check(astrNames == Expected(bFile), "a reply makes the file and the client's own files, and nothing else");
  if (!bFile) return;
  Check(TEST::ReadFile(oFolder / "Main/src/a.c") == strContent, "the file holds what was sent");
  const SESSION::TCheckout tOther = MakeCheckout(":fork:/cvs", "mod/src/b.c");
  Check(IsInOrder(tOther), "cvs-session can do the next checkout in this folder");
}

/// Puts the file in its place if the reply was the file; else false.
bool Apply(SESSION::CWorkingFolder& oWorking, const TOutcome& tOutcome) {
  const std::unique_ptr<SESSION::CStagedFile> poFile = oWorking.Stage();
  poFile->Write(tOutcome.strContent);
  if (!tOutcome.strFailure.empty() || !tOutcome.tReply.bIsFile) return false;
  oWorking.Apply(tOutcome.tReply, *poFile);
  return true;
}

void CheckWorkingFolder(const TOutcome& tOutcome) {
  const TEST::CTempFolder oFolder;
  const std::filesystem::path oWork = oFolder / "work";
  std::filesystem::create_directory(oWork);
  const VCM::CWorkingFolderScope oScope(VCM::FromBytes(oWork.string()));
  const SESSION::TCheckout tCheckout = MakeCheckout(":fork:/cvs");
  Check(IsInOrder(tCheckout), "cvs-session can check out into an empty folder");
  SESSION::CWorkingFolder oWorking(tCheckout);
  const bool bFile = Apply(oWorking, tOutcome);
  // The server may send a mode without read permission.
  if (bFile) std::filesystem::permissions(oWork / "Main/src/a.c", std::filesystem::perms::owner_all);
  CheckFolder(oWork, bFile, tOutcome.strContent);
  for (const auto& oEntry : std::filesystem::directory_iterator(oFolder.Path()))
    Check(oEntry.path() == oWork, "nothing is made beside the working folder");
}

/// Decompresses zlib's bytes, in pieces of `nPiece` bytes. Nothing when they are damaged.
std::optional<std::string> Inflate(std::string_view strBytes, std::size_t nPiece) {
  SESSION::CCompression oCompression(0);
  std::string strText;
  try {
    for (; !strBytes.empty(); strBytes.remove_prefix(std::min(nPiece, strBytes.size())))
      strText += oCompression.Inflate(strBytes.substr(0, nPiece));
  } catch (const SESSION::EFailure&) {
    return std::nullopt;
  }
  return strText;
}

TOutcome Read(std::string_view strReply, std::size_t nPiece, const std::string& strRoot) {
  CPieceSource oSource(strReply, nPiece);
  return ReadOutcome(oSource, MakeCheckout(strRoot), strReply.size());
}

/// Options: l  the root is local;  1, 7  the reply is also read in pieces of that many bytes;  z  it is
/// compressed; w  it is applied to a working folder.
void Run(const CFuzzInput& oInput) {
  // The most bytes that zlib can make of one.
  constexpr std::size_t MAX_INFLATION = 1100;
  const std::string strRoot = oInput.Has('l') ? "/cvs" : ":fork:/cvs";
  std::optional<std::string> strInflated;
  if (oInput.Has('z')) strInflated = Inflate(oInput.Text(), BLOCK_BYTES);
  const std::string strReply = oInput.Has('z') ? strInflated.value_or("") : std::string(oInput.Text());
  Check(strReply.size() <= BLOCK_BYTES + oInput.Text().size() * MAX_INFLATION, "inflation is bounded");
  const CWorkLimits oLimits(strReply.size());
  const TOutcome tOutcome = Read(strReply, BLOCK_BYTES, strRoot);
  oLimits.Check();
  for (const std::size_t nPiece : {std::size_t{1}, std::size_t{7}}) {
    if (!oInput.Has(static_cast<char>('0' + nPiece))) continue;
    Check(TextOf(Read(strReply, nPiece, strRoot)) == TextOf(tOutcome),
          "a reply is read in pieces of any size");
    if (oInput.Has('z'))
      Check(Inflate(oInput.Text(), nPiece) == strInflated,
            "a compressed reply is read in pieces of any size");
  }
  if (oInput.Has('w')) CheckWorkingFolder(tOutcome);
}

}  // namespace

}  // namespace TALVEK::FUZZ

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nBytes) {
  TALVEK::FUZZ::Run(TALVEK::FUZZ::CFuzzInput(pBytes, nBytes));
  return 0;
}

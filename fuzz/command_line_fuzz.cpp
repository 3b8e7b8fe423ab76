// Splitting command lines, and the command lines that the provider makes.

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <string>
#include <vector>

#include "core/process_capture.h"
#include "core/text_codec.h"
#include "fuzz/check.h"
#include "fuzz/fuzz_input.h"
#include "fuzz/work_limits.h"
#include "mcv/cvs_provider.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::FUZZ {

namespace {

using TWords = std::vector<VCM::CString>;

/// A plain second version of SplitCommandLine, character by character.
TWords PlainSplit(std::wstring_view strLine) {
  TWords astrWords;
  bool bInWord = false;
  bool bQuoted = false;
  for (std::size_t i = 0; i < strLine.size(); ++i) {
    const wchar_t ch = strLine[i];
    const bool bBlank = ch == L' ' || ch == L'\t';
    if (bBlank && !bQuoted) {
      bInWord = false;
      continue;
    }
    if (!bInWord) astrWords.emplace_back();
    bInWord = true;
    const wchar_t chNext = i + 1 < strLine.size() ? strLine[i + 1] : L'\0';
    if (bQuoted && ch == L'\\' && (chNext == L'"' || chNext == L'\\')) {
      astrWords.back() += chNext;
      ++i;
    } else if (ch == L'"') {
      bQuoted = !bQuoted;
    } else {
      astrWords.back() += ch;
    }
  }
  return astrWords;
}

void CheckSplitting(const VCM::CString& strLine) {
  const TWords astrWords = VCM::SplitCommandLine(strLine);
  Check(astrWords == PlainSplit(strLine.View()), "a line is split by the rules");
  VCM::CString strQuoted;
  for (const VCM::CString& strWord : astrWords)
    strQuoted += L"\t\"" + VCM::EscapeQuoted(strWord) + L"\" ";
  Check(VCM::SplitCommandLine(strQuoted) == astrWords, "a quoted word comes out as it was");
}

bool LeadsOut(const VCM::CString& strFolder) {
  const std::wstring strSlashes = L"/" + std::wstring(strFolder.View()) + L"/";
  return strFolder.Find(L'/') == 0 || strSlashes.find(L"/../") != std::wstring::npos ||
         strSlashes.find(L"/./") != std::wstring::npos;
}

/// A provider that runs no command, but keeps the one that it would have run.
class CCommandKeeper : public MCV::CProvider {
 public:
  CCommandKeeper() {
    m_oClient.SetCommand(L"cvs", 0);
    SetProperty(L"ReposPath", L"/repo");
  }

  bool IsLogOpen() const override { return true; }
  void WriteLog(const wchar_t* pszFormat, ...) override {
    constexpr std::wstring_view COMMAND = L"Performing command ";
    VCM::CString strLine;
    va_list args;
    va_start(args, pszFormat);
    strLine.FormatV(pszFormat, args);
    va_end(args);
    if (strLine.View().starts_with(COMMAND)) m_strCommand.Assign(strLine.View().substr(COMMAND.size()));
  }

  void BeginStream(const VCM::CString& strName, unsigned nParent) {
    m_tCurrentStream.strName = strName;
    m_tCurrentStream.nParentID = nParent;
  }

  /// The words of the command since the last call; none when there was no command.
  TWords TakeWords() {
    const TWords astrWords = VCM::SplitCommandLine(m_strCommand);
    m_strCommand.Clear();
    return astrWords;
  }
  /// The same for a checkout. Checks the folder to check out into: the word before the module, or before the
  /// "--" in front of a module that looks like an option.
  TWords TakeCheckout() {
    const TWords astrWords = TakeWords();
    if (astrWords.empty()) return astrWords;
    const std::size_t nFolder = astrWords.size() - (astrWords.back().View().starts_with(L'-') ? 3 : 2);
    Check(!LeadsOut(astrWords.at(nFolder)), "no command names a folder outside the client folder");
    return astrWords;
  }

 private:
  VCM::CString m_strCommand;
};

/// A line of the input as a text, in which byte 1 stands for a line feed and 2 for a NUL.
VCM::CString TextOf(std::string_view strLine) {
  std::string strBytes(strLine);
  std::replace(strBytes.begin(), strBytes.end(), '\1', '\n');
  std::replace(strBytes.begin(), strBytes.end(), '\2', '\0');
  return VCM::FromBytes(strBytes);
}

VCM::CString UpToNul(const VCM::CString& strText) {
  return strText.Find(L'\0') < 0 ? strText : strText.Left(strText.Find(L'\0'));
}

bool HasNul(const VCM::CString& strText) {
  return strText.Find(L'\0') >= 0;
}

/// Appends the module, or a file in it; after a "--" when it looks like an option.
void AddModule(const VCM::CString& strModule, const VCM::CString& strPathInModule, TWords& astrWords) {
  const VCM::CString strArgument = UpToNul(strModule + strPathInModule);
  if (strArgument.View().starts_with(L'-')) astrWords.emplace_back(L"--");
  astrWords.push_back(strArgument);
}

struct TNames {
  VCM::CString strModule;
  VCM::CString strStream;
  VCM::CString strPath;
  VCM::CString strRevision;
  VCM::CString strStart;
  VCM::CString strEnd;
};

TNames NamesOf(std::vector<std::string_view> astrLines) {
  astrLines.resize(7);
  const auto Field = [&](std::size_t nLine) { return TextOf(astrLines[nLine]); };
  return {Field(1), Field(2), Field(3), Field(4), Field(5), Field(6)};
}

void CheckLogCommand(CCommandKeeper& oProvider, const TNames& tNames) {
  oProvider.GenerateLog();
  TWords astrExpected = {L"cvs", L"-d", L"/repo", L"rlog"};
  const VCM::CString strStart = UpToNul(tNames.strStart);
  if (!tNames.strStart.IsEmpty())
    astrExpected.insert(astrExpected.end(), {L"-d", UpToNul(tNames.strEnd) + L">" + strStart});
  AddModule(tNames.strModule, L"", astrExpected);
  Check(oProvider.TakeWords() == astrExpected, "the command for the log has the words it should have");
}

void CheckFileCommand(CCommandKeeper& oProvider, const TNames& tNames) {
  MCE::TChangeItemRecord tItem;
  if (!tItem.oFilePath.Parse(tNames.strPath, VCM::CFilePath::PARSE_REPOSITORY)) return;
  const MCE::TCVSRevision oRevision(tNames.strRevision);
  if (oRevision.IsEmpty()) return;  // no item of a log is without one
  tItem.oProps.SetProperty(MCE::ITEM_FOREIGN_REVISION, tNames.strRevision);
  oProvider.RetrieveChangeFiles(MCE::TChangeRecord());
  oProvider.RetrieveChangeItemFile(tItem, L"no such file");
  const TWords astrWords = oProvider.TakeCheckout();
  const VCM::CString strInside = tItem.oFilePath.GenerateFolderPath();
  const VCM::CString strFolder =
      tItem.oFilePath.GetCount() < 2 ? tNames.strStream : tNames.strStream + L"/" + strInside;
  const VCM::CString strFile = L"/" + tItem.oFilePath.GeneratePath();
  if (LeadsOut(strFolder) || HasNul(strFolder) || HasNul(strFile))
    return Check(astrWords.empty(), "nothing is checked out under another name");
  TWords astrExpected = {L"cvs", L"-d", L"/repo", L"checkout", L"-r", oRevision.GetText(), L"-d", strFolder};
  AddModule(tNames.strModule, strFile, astrExpected);
  Check(astrWords == astrExpected, "the command for a file has the words it should have");
}

void CheckModuleCommand(CCommandKeeper& oProvider, const TNames& tNames, bool bTrunk) {
  oProvider.RetrieveFiles(1);
  const TWords astrWords = oProvider.TakeCheckout();
  if (LeadsOut(tNames.strStream) || HasNul(tNames.strStream))
    return Check(astrWords.empty(), "nothing is checked out under another name");
  TWords astrExpected = {L"cvs", L"-d", L"/repo", L"checkout"};
  if (!bTrunk) astrExpected.insert(astrExpected.end(), {L"-r", tNames.strStream});
  astrExpected.insert(astrExpected.end(), {L"-D", L"1970/01/01 00:00:01 UTC", L"-d", tNames.strStream});
  AddModule(tNames.strModule, L"", astrExpected);
  Check(astrWords == astrExpected, "the command for the module has the words it should have");
}

/// The first line is a command line; then module, stream, file, revision, start and end date, a line each.
/// Options: t  the stream is the trunk.
void Run(const CFuzzInput& oInput) {
  static const TEST::CTempFolder s_oClientFolder;
  const std::vector<std::string_view> astrLines = oInput.Lines();
  const TNames tNames = NamesOf(astrLines);
  const CWorkLimits oLimits(oInput.Text().size());
  CheckSplitting(TextOf(astrLines[0]));
  CCommandKeeper oProvider;
  oProvider.SetProperty(L"ModuleName", tNames.strModule);
  oProvider.SetProperty(L"StartDate", tNames.strStart);
  oProvider.SetProperty(L"EndDate", tNames.strEnd);
  oProvider.InitialiseClients(VCM::FromBytes(s_oClientFolder.Path().string()));
  oProvider.BeginStream(tNames.strStream, oInput.Has('t') ? 0 : 1);
  CheckLogCommand(oProvider, tNames);
  CheckFileCommand(oProvider, tNames);
  CheckModuleCommand(oProvider, tNames, oInput.Has('t'));
  oLimits.Check();
}

}  // namespace

}  // namespace TALVEK::FUZZ

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nBytes) {
  TALVEK::FUZZ::Run(TALVEK::FUZZ::CFuzzInput(pBytes, nBytes));
  return 0;
}

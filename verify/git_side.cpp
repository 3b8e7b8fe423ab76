#include "verify/git_side.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>
#include <sstream>

#include "host/exit_status.h"
#include "host/text_output.h"

namespace fs = std::filesystem;

namespace TALVEK::VERIFY {
namespace {

constexpr std::string_view KEYWORD = "$Name";

std::uint8_t Digit(char ch) {
  return static_cast<std::uint8_t>(ch >= 'a' ? ch - 'a' + 10 : ch - '0');
}

std::string ReadFile(const fs::path& oFile) {
  std::ifstream oStream(oFile, std::ios::binary);
  std::string strBytes((std::istreambuf_iterator<char>(oStream)), std::istreambuf_iterator<char>());
  if (!oStream.good() && !oStream.eof()) {
    throw HOST::EHostError(HOST::STATUS_FAILED, "can't read " + oFile.string(), "");
  }
  return strBytes;
}

}  // namespace

TObjectId TObjectId::Parse(std::string_view strHex) {
  TObjectId tId;
  for (std::size_t nIndex = 0; nIndex + 1 < strHex.size() && nIndex / 2 < tId.achBytes.size(); nIndex += 2) {
    tId.achBytes[nIndex / 2] =
        static_cast<std::uint8_t>(Digit(strHex[nIndex]) << 4 | Digit(strHex[nIndex + 1]));
  }
  return tId;
}

std::string TObjectId::Text(std::size_t nDigits) const {
  constexpr char DIGITS[] = "0123456789abcdef";
  std::string strHex;
  for (std::size_t nIndex = 0; nIndex < nDigits / 2; ++nIndex)
    strHex += {DIGITS[achBytes[nIndex] >> 4], DIGITS[achBytes[nIndex] & 15]};
  return strHex;
}

std::string CutNameBack(std::string_view strBytes) {
  std::string strCut;
  for (;;) {
    const std::size_t nBegin = strBytes.find(std::string(KEYWORD) + ':');
    if (nBegin == std::string_view::npos) return strCut.append(strBytes);
    const std::size_t nValue = nBegin + KEYWORD.size();
    const std::size_t nEnd = strBytes.find_first_of("$\n", nValue);
    const bool bKeyword = nEnd != std::string_view::npos && strBytes[nEnd] == '$';
    strCut.append(strBytes.substr(0, nValue));
    strBytes.remove_prefix(bKeyword ? nEnd : nValue);
  }
}

CGitSide::CGitSide(const fs::path& oFolder, const fs::path& oScratch) : m_oScratchFile(oScratch / "content") {
  const HOST::TProcessResult tResult =
      HOST::RunGit({"-C", oFolder.string(), "rev-parse", "--absolute-git-dir", "--show-object-format"});
  std::istringstream oLines(tResult.strOutput);
  std::string strFormat;
  std::string strGitFolder;
  if (tResult.nStatus != 0 || !std::getline(oLines, strGitFolder) || !std::getline(oLines, strFormat)) {
    throw HOST::EHostError(HOST::STATUS_WRONG_USE,
                           "'" + HOST::ShowBytes(oFolder.string()) + "' is no Git repository: " +
                               HOST::ShowBytes(HOST::BestErrorLine(tResult.strError)),
                           "name one that an import has made");
  }
  m_oGitFolder = strGitFolder;
  if (strFormat == "sha256") m_nDigits = 64;
}

std::vector<std::string> CGitSide::Command(const std::vector<std::string>& astrArguments) const {
  std::vector<std::string> astrAll = {"--git-dir", m_oGitFolder.string()};
  astrAll.insert(astrAll.end(), astrArguments.begin(), astrArguments.end());
  return astrAll;
}

std::string CGitSide::Run(const std::vector<std::string>& astrArguments) const {
  HOST::TProcessResult tResult = HOST::RunGit(Command(astrArguments));
  if (tResult.nStatus == 0) return std::move(tResult.strOutput);
  throw HOST::EHostError(
      HOST::STATUS_FAILED,
      "git " + astrArguments.front() + " failed: " + HOST::ShowBytes(HOST::BestErrorLine(tResult.strError)),
      "see that the repository is whole");
}

std::map<std::string, TObjectId> CGitSide::Refs() const {
  std::istringstream oLines(
      Run({"for-each-ref", "--format=%(objectname) %(refname)", "refs/heads", "refs/tags"}));
  std::map<std::string, TObjectId> atRefs;
  for (std::string strLine; std::getline(oLines, strLine);)
    atRefs[strLine.substr(m_nDigits + 1)] = TObjectId::Parse(std::string_view(strLine).substr(0, m_nDigits));
  return atRefs;
}

// A line is "MODE TYPE ID\tPATH" and a NUL.
TGitTree CGitSide::Tree(const std::string& strName) const {
  const std::string strOutput = Run({"ls-tree", "-r", "-z", "--full-tree", strName});
  TGitTree atFiles;
  for (std::size_t nBegin = 0; nBegin < strOutput.size();) {
    const std::size_t nEnd = strOutput.find('\0', nBegin);
    const std::string_view strLine = std::string_view(strOutput).substr(nBegin, nEnd - nBegin);
    const std::size_t nTab = strLine.find('\t');
    const std::string_view strMode = strLine.substr(0, strLine.find(' '));
    TGitFile& tFile = atFiles[std::string(strLine.substr(nTab + 1))];
    tFile.tBlob = TObjectId::Parse(strLine.substr(nTab - m_nDigits, m_nDigits));
    tFile.bExecutable = strMode == "100755";
    tFile.bPlain = strMode.starts_with("100");
    nBegin = nEnd + 1;
  }
  return atFiles;
}

std::optional<std::string> CGitSide::CommitAt(const std::string& strRef, std::int64_t nTime) const {
  std::istringstream oLines(Run({"log", "--first-parent", "--format=%ct %H", strRef}));
  for (std::string strLine; std::getline(oLines, strLine);) {
    const std::size_t nBlank = strLine.find(' ');
    std::int64_t nCommitTime = 0;
    std::from_chars(strLine.data(), strLine.data() + nBlank, nCommitTime);
    if (nCommitTime <= nTime) return strLine.substr(nBlank + 1);
  }
  return std::nullopt;
}

// --no-filters: the bytes as they are, whatever attributes the repository has.
TObjectId CGitSide::HashFile(const fs::path& oFile) {
  if (!m_poHash) {
    m_poHash =
        std::make_unique<HOST::CAnsweringGit>(Command({"hash-object", "--no-filters", "--stdin-paths"}));
  }
  m_poHash->Ask(oFile.string());
  return TObjectId::Parse(m_poHash->ReadLine());
}

TObjectId CGitSide::HashBytes(const std::string& strBytes) {
  std::ofstream oStream(m_oScratchFile, std::ios::binary | std::ios::trunc);
  oStream << strBytes;
  oStream.close();
  if (!oStream) throw HOST::EHostError(HOST::STATUS_FAILED, "can't write to the temporary folder", "");
  return HashFile(m_oScratchFile);
}

TContentIds CGitSide::IdsOf(const fs::path& oFile) {
  TContentIds tIds;
  tIds.tWhole = tIds.tCut = HashFile(oFile);
  const std::string strBytes = ReadFile(oFile);
  tIds.bHasName = strBytes.find(KEYWORD) != std::string::npos;
  if (!tIds.bHasName) return tIds;
  const std::string strCut = CutNameBack(strBytes);
  if (strCut != strBytes) tIds.tCut = HashBytes(strCut);
  return tIds;
}

TObjectId CGitSide::CutIdOf(const TObjectId& tBlob) {
  const auto [oFound, bNew] = m_atCutIds.try_emplace(tBlob, tBlob);
  if (bNew) {
    const std::string strBytes = Blob(tBlob);
    const std::string strCut = CutNameBack(strBytes);
    if (strCut != strBytes) oFound->second = HashBytes(strCut);
  }
  return oFound->second;
}

std::string CGitSide::Blob(const TObjectId& tBlob) {
  if (!m_poBlobs) m_poBlobs = std::make_unique<HOST::CAnsweringGit>(Command({"cat-file", "--batch"}));
  m_poBlobs->Ask(tBlob.Text(m_nDigits));
  // "ID blob SIZE", or "ID missing".
  const std::string strHeader = m_poBlobs->ReadLine();
  std::size_t nSize = 0;
  const char* pszSize = strHeader.data() + strHeader.rfind(' ') + 1;
  if (std::from_chars(pszSize, strHeader.data() + strHeader.size(), nSize).ec != std::errc()) {
    throw HOST::EHostError(HOST::STATUS_FAILED, "git lacks a file: " + HOST::ShowBytes(strHeader),
                           "see that the repository is whole");
  }
  std::string strBytes = m_poBlobs->ReadBytes(nSize + 1);
  strBytes.pop_back();
  return strBytes;
}

std::uint64_t CGitSide::SizeOf(const TObjectId& tBlob) {
  return Blob(tBlob).size();
}

}  // namespace TALVEK::VERIFY

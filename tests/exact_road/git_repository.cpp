#include "tests/exact_road/git_repository.h"

#include <iterator>
#include <sstream>
#include <utility>

#include "tests/support/shell.h"

namespace TALVEK::TEST {

namespace {

constexpr std::size_t ID_BYTES = 20;

std::string Hexadecimal(const std::string& strBytes) {
  static constexpr char DIGITS[] = "0123456789abcdef";
  std::string strText;
  for (const char ch : strBytes) {
    const auto nByte = static_cast<unsigned char>(ch);
    strText += {DIGITS[nByte >> 4], DIGITS[nByte & 15]};
  }
  return strText;
}

/// "Anna <anna@host> 1000000000 +0000"
void ReadPerson(const std::string& strText, TGitCommit* ptCommit) {
  const std::size_t nMail = strText.find('<');
  const std::size_t nMailEnd = strText.find('>', nMail);
  ptCommit->strAuthorName = strText.substr(0, nMail == 0 ? 0 : nMail - 1);
  ptCommit->strAuthorMail = strText.substr(nMail + 1, nMailEnd - nMail - 1);
}

TGitCommit ReadCommit(const std::string& strBytes) {
  TGitCommit tCommit;
  std::istringstream oLines(strBytes);
  for (std::string strLine; std::getline(oLines, strLine) && !strLine.empty();) {
    const std::size_t nKey = strLine.find(' ');
    const std::string strKey = strLine.substr(0, nKey);
    const std::string strValue = strLine.substr(nKey + 1);
    if (strKey == "tree") tCommit.strTree = strValue;
    if (strKey == "parent") tCommit.astrParents.push_back(strValue);
    if (strKey == "author") ReadPerson(strValue, &tCommit);
    if (strKey == "committer") tCommit.nTime = std::stoll(strValue.substr(strValue.find('>') + 1));
  }
  tCommit.strMessage.assign(std::istreambuf_iterator<char>(oLines), {});
  return tCommit;
}

}  // namespace

CGitRepository::CGitRepository(const std::filesystem::path& oFolder) {
  const std::string strGit = "git --git-dir " + ShellQuote(oFolder.string()) + " ";
  ReadRefs(strGit);
  ReadObjects(strGit);
  DropUnreachableCommits();
}

void CGitRepository::ReadRefs(const std::string& strGit) {
  std::istringstream oLines(ShellOutput(strGit + "show-ref --dereference || [ $? = 1 ]"));
  for (std::string strId, strRef; oLines >> strId >> strRef;) {
    // "refs/tags/x^{}" is the commit that the annotated tag before it names.
    if (strRef.ends_with("^{}")) strRef.resize(strRef.size() - 3);
    m_astrRefs[strRef] = strId;
  }
}

void CGitRepository::ReadObjects(const std::string& strGit) {
  const std::string strAll = ShellOutput(strGit + "cat-file --batch --batch-all-objects");
  for (std::size_t nPlace = 0; nPlace < strAll.size();) {
    const std::size_t nLineEnd = strAll.find('\n', nPlace);
    std::istringstream oHead(strAll.substr(nPlace, nLineEnd - nPlace));
    std::string strId, strType;
    std::size_t nSize = 0;
    oHead >> strId >> strType >> nSize;
    std::string strBytes = strAll.substr(nLineEnd + 1, nSize);
    if (strType == "commit") m_atCommits[strId] = ReadCommit(strBytes);
    if (strType == "tree") m_astrTrees[strId] = std::move(strBytes);
    if (strType == "blob") m_astrBlobs[strId] = std::move(strBytes);
    nPlace = nLineEnd + 1 + nSize + 1;
  }
}

void CGitRepository::DropUnreachableCommits() {
  std::map<std::string, TGitCommit> atReached;
  std::vector<std::string> astrToVisit;
  for (const auto& [strRef, strId] : m_astrRefs)
    astrToVisit.push_back(strId);
  while (!astrToVisit.empty()) {
    const std::string strId = astrToVisit.back();
    astrToVisit.pop_back();
    const auto& tCommit = m_atCommits.at(strId);
    if (!atReached.emplace(strId, tCommit).second) continue;
    astrToVisit.insert(astrToVisit.end(), tCommit.astrParents.begin(), tCommit.astrParents.end());
  }
  m_atCommits = std::move(atReached);
}

TGitTree CGitRepository::TreeOf(const std::string& strCommit) const {
  TGitTree mapFiles;
  AddFiles(m_atCommits.at(strCommit).strTree, "", &mapFiles);
  return mapFiles;
}

void CGitRepository::AddFiles(const std::string& strTree, const std::string& strFolder,
                              TGitTree* pmapFiles) const {
  // "100644 name", a byte 0 and the id, as often as there are entries. The empty tree needn't be stored.
  const auto itTree = m_astrTrees.find(strTree);
  if (itTree == m_astrTrees.end()) return;
  const std::string& strBytes = itTree->second;
  for (std::size_t nPlace = 0; nPlace < strBytes.size();) {
    const std::size_t nName = strBytes.find(' ', nPlace) + 1;
    const std::size_t nNameEnd = strBytes.find('\0', nName);
    const std::string strMode = strBytes.substr(nPlace, nName - 1 - nPlace);
    const std::string strPath = strFolder + strBytes.substr(nName, nNameEnd - nName);
    const std::string strId = Hexadecimal(strBytes.substr(nNameEnd + 1, ID_BYTES));
    if (strMode == "40000") {
      AddFiles(strId, strPath + "/", pmapFiles);
    } else {
      (*pmapFiles)[strPath] = {strId, strMode == "100755"};
    }
    nPlace = nNameEnd + 1 + ID_BYTES;
  }
}

}  // namespace TALVEK::TEST

#include "tests/exact_road/rcs_file.h"

#include <algorithm>
#include <cctype>
#include <ctime>
#include <stdexcept>

#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {

namespace fs = std::filesystem;

namespace {

/// The words of the file: names and numbers, ";" and ":", and strings between "@".
class CRcsWords {
 public:
  explicit CRcsWords(std::string strBytes) : m_strBytes(std::move(strBytes)) { SkipBlanks(); }

  bool IsAtEnd() const { return m_nPlace == m_strBytes.size(); }

  std::string Next() {
    if (IsAtEnd()) throw std::runtime_error("the history is cut off");
    std::string strWord = m_strBytes[m_nPlace] == '@' ? NextString() : NextWord();
    SkipBlanks();
    return strWord;
  }

  bool Skip(char ch) {
    if (IsAtEnd() || m_strBytes[m_nPlace] != ch) return false;
    ++m_nPlace;
    SkipBlanks();
    return true;
  }

  /// The words up to the next ";".
  std::vector<std::string> Rest() {
    std::vector<std::string> astrWords;
    while (!Skip(';')) {
      if (!Skip(':')) astrWords.push_back(Next());
    }
    return astrWords;
  }

  bool IsAtNumber() const {
    return !IsAtEnd() && std::isdigit(static_cast<unsigned char>(m_strBytes[m_nPlace])) != 0;
  }

 private:
  std::string NextString() {
    std::string strText;
    for (++m_nPlace; m_nPlace < m_strBytes.size(); ++m_nPlace) {
      if (m_strBytes[m_nPlace] == '@' && (++m_nPlace == m_strBytes.size() || m_strBytes[m_nPlace] != '@')) {
        return strText;
      }
      strText += m_strBytes[m_nPlace];
    }
    throw std::runtime_error("a string of the history is cut off");
  }

  std::string NextWord() {
    const std::size_t nEnd = std::min(m_strBytes.find_first_of(" \t\n\r;:@", m_nPlace), m_strBytes.size());
    if (nEnd == m_nPlace) throw std::runtime_error("a word of the history is missing");
    std::string strWord = m_strBytes.substr(m_nPlace, nEnd - m_nPlace);
    m_nPlace = nEnd;
    return strWord;
  }

  void SkipBlanks() {
    m_nPlace = std::min(m_strBytes.find_first_not_of(" \t\n\r", m_nPlace), m_strBytes.size());
  }

  std::string m_strBytes;
  std::size_t m_nPlace = 0;
};

std::int64_t ReadDate(const std::string& strDate) {
  std::tm tTime{};
  if (!strptime(strDate.c_str(), strDate.find('.') == 2 ? "%y.%m.%d.%H.%M.%S" : "%Y.%m.%d.%H.%M.%S",
                &tTime)) {
    throw std::runtime_error("no date: " + strDate);
  }
  return timegm(&tTime);
}

std::string First(const std::vector<std::string>& astrWords) {
  return astrWords.empty() ? "" : astrWords[0];
}

void ReadHead(CRcsWords* poWords, TRcsFile* ptFile) {
  while (!poWords->IsAtNumber()) {
    const std::string strKey = poWords->Next();
    if (strKey == "desc") return;
    const std::vector<std::string> astrWords = poWords->Rest();
    if (strKey == "head") ptFile->strHead = First(astrWords);
    if (strKey == "branch") ptFile->strBranch = First(astrWords);
    if (strKey != "symbols") continue;
    for (std::size_t n = 0; n + 1 < astrWords.size(); n += 2) {
      ptFile->astrNames.emplace_back(astrWords[n], astrWords[n + 1]);
    }
  }
}

void ReadRevisions(CRcsWords* poWords, TRcsFile* ptFile) {
  while (poWords->IsAtNumber()) {
    const std::string strNumber = poWords->Next();
    TRcsRevision& tRevision = ptFile->atRevisions[strNumber];
    tRevision.strNumber = strNumber;
    while (!poWords->IsAtNumber()) {
      const std::string strKey = poWords->Next();
      if (strKey == "desc") return;
      const std::vector<std::string> astrWords = poWords->Rest();
      if (strKey == "date") tRevision.nTime = ReadDate(First(astrWords));
      if (strKey == "author") tRevision.strAuthor = First(astrWords);
      if (strKey == "state") tRevision.strState = First(astrWords);
      if (strKey == "next") tRevision.strNext = First(astrWords);
      if (strKey == "commitid") tRevision.strCommitId = First(astrWords);
      if (strKey == "branches") tRevision.astrBranches = astrWords;
    }
  }
}

/// Log and text of each revision; the text of all but the head is still a difference.
void ReadTexts(CRcsWords* poWords, TRcsFile* ptFile) {
  poWords->Next();  // the description
  while (!poWords->IsAtEnd()) {
    TRcsRevision& tRevision = ptFile->atRevisions.at(poWords->Next());
    for (std::string strKey; strKey != "text";) {
      strKey = poWords->Next();
      const std::string strValue = poWords->Next();
      if (strKey == "log") tRevision.strLog = strValue;
      if (strKey == "text") tRevision.strText = strValue;
    }
  }
}

std::vector<std::string> SplitLines(const std::string& strText) {
  std::vector<std::string> astrLines;
  for (std::size_t nBegin = 0; nBegin < strText.size();) {
    const std::size_t nEnd = std::min(strText.find('\n', nBegin), strText.size() - 1) + 1;
    astrLines.push_back(strText.substr(nBegin, nEnd - nBegin));
    nBegin = nEnd;
  }
  return astrLines;
}

/// Applies "d2 1" (delete from line 2 one line) and "a3 2" (after line 3 add the two lines that follow). Line
/// numbers are those of the text before.
std::string Patch(const std::string& strBefore, const std::string& strScript) {
  const std::vector<std::string> astrLines = SplitLines(strBefore);
  const std::vector<std::string> astrScript = SplitLines(strScript);
  std::string strAfter;
  std::size_t nDone = 0;
  const auto fnCopyUpTo = [&](std::size_t nLine) {
    while (nDone < nLine)
      strAfter += astrLines.at(nDone++);
  };
  for (std::size_t n = 0; n < astrScript.size();) {
    const std::string& strCommand = astrScript[n++];
    const std::size_t nLine = std::stoul(strCommand.substr(1));
    std::size_t nCount = std::stoul(strCommand.substr(strCommand.find(' ')));
    if (strCommand[0] == 'd') {
      fnCopyUpTo(nLine - 1);
      nDone += nCount;
    } else {
      fnCopyUpTo(nLine);
      for (; nCount > 0; --nCount)
        strAfter += astrScript.at(n++);
    }
  }
  fnCopyUpTo(astrLines.size());
  return strAfter;
}

/// Makes whole texts of the differences, from a revision along its line and into the branches on it. On the
/// trunk the head is whole and each difference leads to the revision before; on branches it leads to the one
/// after.
void MakeTexts(TRcsFile* ptFile, const std::string& strFrom) {
  for (std::string strNumber = strFrom; !strNumber.empty();) {
    const TRcsRevision& tRevision = ptFile->atRevisions.at(strNumber);
    for (const std::string& strBranch : tRevision.astrBranches) {
      TRcsRevision& tFirst = ptFile->atRevisions.at(strBranch);
      tFirst.strText = Patch(tRevision.strText, tFirst.strText);
      MakeTexts(ptFile, strBranch);
    }
    strNumber = tRevision.strNext;
    if (strNumber.empty()) return;
    TRcsRevision& tNext = ptFile->atRevisions.at(strNumber);
    tNext.strText = Patch(tRevision.strText, tNext.strText);
  }
}

}  // namespace

TRcsFile ReadRcsFile(const fs::path& oFile) {
  TRcsFile tFile;
  CRcsWords oWords(ReadFile(oFile));
  ReadHead(&oWords, &tFile);
  ReadRevisions(&oWords, &tFile);
  ReadTexts(&oWords, &tFile);
  MakeTexts(&tFile, tFile.strHead);
  return tFile;
}

std::vector<TRcsFile> ReadRcsFiles(const fs::path& oFolder) {
  std::vector<TRcsFile> atFiles;
  for (const auto& oEntry : fs::recursive_directory_iterator(oFolder)) {
    std::string strName = oEntry.path().filename().string();
    if (!oEntry.is_regular_file() || !strName.ends_with(",v")) continue;
    strName.resize(strName.size() - 2);
    fs::path oParent = fs::relative(oEntry.path(), oFolder).parent_path();
    if (oParent.filename() == "Attic") oParent = oParent.parent_path();
    TRcsFile tFile = ReadRcsFile(oEntry.path());
    tFile.strPath = (oParent / strName).string();
    atFiles.push_back(std::move(tFile));
  }
  std::sort(atFiles.begin(), atFiles.end(),
            [](const auto& a, const auto& b) { return a.strPath < b.strPath; });
  return atFiles;
}

}  // namespace TALVEK::TEST

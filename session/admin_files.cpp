#include "session/admin_files.h"

#include <algorithm>

namespace TALVEK::SESSION {

namespace {

/// The line up to the slash after the name, by which lines about the same file or folder are found.
std::string_view HeadOf(std::string_view strLine) {
  const std::size_t nName = strLine.find('/');
  return strLine.substr(0, strLine.find('/', nName + 1) + 1);
}

bool IsWellFormed(std::string_view strLine) {
  const std::size_t nName = strLine.starts_with("D/") ? 2 : 1;
  if (!strLine.starts_with("/") && !strLine.starts_with("D/")) return false;
  if (std::count(strLine.begin(), strLine.end(), '/') != 5) return false;
  return strLine[nName] != '/';
}

/// Calls `fnTake` with each line. False when it refuses one, or the last line has no end.
template <class TTake>
bool ForEachLine(std::string_view strText, const TTake& fnTake) {
  while (!strText.empty()) {
    const std::size_t nEnd = strText.find('\n');
    if (nEnd == std::string_view::npos || !fnTake(strText.substr(0, nEnd))) return false;
    strText.remove_prefix(nEnd + 1);
  }
  return true;
}

}  // namespace

bool CEntries::ParseLine(std::string_view strLine) {
  if (strLine == "D") {
    m_bFoldersKnown = true;
    return true;
  }
  if (!IsWellFormed(strLine)) return false;
  if (strLine.starts_with('D')) m_bFoldersKnown = true;
  Add(std::string(strLine));
  return true;
}

bool CEntries::Parse(std::string_view strEntries, std::string_view strLog) {
  const auto fnParseLogLine = [this](std::string_view strLine) {
    if (strLine.starts_with("A ")) return ParseLine(strLine.substr(2));
    if (!strLine.starts_with("R ") || !IsWellFormed(strLine.substr(2))) return false;
    Remove(strLine.substr(2));
    return true;
  };
  return ForEachLine(strEntries, [this](std::string_view strLine) { return ParseLine(strLine); }) &&
         ForEachLine(strLog, fnParseLogLine);
}

bool CEntries::HasFolder(std::string_view strName) const {
  const std::string strHead = "D/" + std::string(strName) + "/";
  return std::any_of(m_astrLines.begin(), m_astrLines.end(),
                     [&strHead](const std::string& strLine) { return strLine.starts_with(strHead); });
}

std::vector<std::string> CEntries::Folders() const {
  std::vector<std::string> astrNames;
  for (const std::string& strLine : m_astrLines) {
    if (strLine.starts_with("D/")) astrNames.push_back(strLine.substr(2, strLine.find('/', 2) - 2));
  }
  return astrNames;
}

std::string CEntries::FileLine(std::string_view strName) const {
  const std::string strHead = "/" + std::string(strName) + "/";
  const auto itFound =
      std::find_if(m_astrLines.begin(), m_astrLines.end(),
                   [&strHead](const std::string& strLine) { return strLine.starts_with(strHead); });
  return itFound == m_astrLines.end() ? std::string() : *itFound;
}

void CEntries::Remove(std::string_view strLine) {
  const std::string strHead(HeadOf(strLine));
  std::erase_if(m_astrLines,
                [&strHead](const std::string& strOther) { return strOther.starts_with(strHead); });
}

void CEntries::Add(const std::string& strLine) {
  Remove(strLine);
  m_astrLines.push_back(strLine);
}

std::string CEntries::Text() const {
  std::string strText;
  bool bHasFolder = false;
  for (const std::string& strLine : m_astrLines) {
    strText += strLine + "\n";
    bHasFolder = bHasFolder || strLine.starts_with('D');
  }
  if (m_bFoldersKnown && !bHasFolder) strText += "D\n";
  return strText;
}

bool ParseEntry(std::string_view strLine, TEntry& tEntry) {
  // A server may add fields of its own at the end.
  if (!strLine.starts_with('/') || std::count(strLine.begin(), strLine.end(), '/') < 5) return false;
  for (std::string* pstrField :
       {&tEntry.strName, &tEntry.strRevision, &tEntry.strTime, &tEntry.strOptions, &tEntry.strTag}) {
    strLine.remove_prefix(1);
    *pstrField = strLine.substr(0, strLine.find('/'));
    strLine.remove_prefix(pstrField->size());
  }
  return true;
}

std::string EntryLine(const TEntry& tEntry) {
  return "/" + tEntry.strName + "/" + tEntry.strRevision + "/" + tEntry.strTime + "/" + tEntry.strOptions +
         "/" + tEntry.strTag;
}

std::string FolderLine(std::string_view strName) {
  return "D/" + std::string(strName) + "////";
}

}  // namespace TALVEK::SESSION

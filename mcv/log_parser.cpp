#include "mcv/log_parser.h"

#include <utility>

#include "client/log_date.h"
#include "client/tag_filters.h"
#include "core/case_map.h"
#include "core/text_codec.h"

namespace TALVEK::MCV {

namespace {

constexpr int MAX_POOLED_TEXTS = 262144;

/// CVS keeps the RCS file of a file that is deleted on the trunk in a subfolder "Attic".
void RemoveAtticFolder(VCM::CFilePath& oPath) {
  const int nCount = oPath.GetCount();
  if (nCount < 2 || !oPath.GetItemText(nCount - 2).EqualsNoCase(L"Attic")) return;
  const VCM::CString strName = oPath.GetItemText(nCount - 1);
  oPath.RemoveLastItem();
  oPath.RemoveLastItem();
  oPath.Add(strName);
}

/// An editor may have put the mark at the start of a saved log. The first line would then not be recognised
/// as a header, and its file would be lost.
void DropByteOrderMark(std::wstring_view& strLine) {
  const VCM::CString strMark = VCM::FromBytes("\xEF\xBB\xBF");
  if (strLine.starts_with(strMark.View())) strLine.remove_prefix(strMark.View().size());
}

int ParseState(std::wstring_view strState) {
  if (VCM::EqualsNoCase(strState, L"Exp")) return REVISION_LIVE;
  return VCM::EqualsNoCase(strState, L"dead") ? REVISION_DEAD : REVISION_OTHER;
}

/// The line after the last name: "keyword substitution: kv".
bool IsSubstitution(std::wstring_view strName) {
  constexpr std::wstring_view KEYWORD = L"keyword substitution";
  return strName.size() >= KEYWORD.size() && VCM::ToLower(strName[0]) == KEYWORD[0] &&
         VCM::EqualsNoCase(strName.substr(0, KEYWORD.size()), KEYWORD);
}

std::wstring_view TrimLeft(std::wstring_view strText) {
  while (!strText.empty() && VCM::IsWhiteSpace(strText[0]))
    strText.remove_prefix(1);
  return strText;
}

/// A field of a line, such as "author: joe;".
struct TField {
  std::wstring_view strKey;
  bool bSeen = false;   // only the first field with the key counts, even if it has no value
  bool bValue = false;  // true: it has a value, which ends at a ";"
  std::wstring_view strValue = {};

  /// Takes the value that begins at `nValue`, if the key stands right before it.
  void TakeAt(std::wstring_view strLine, std::size_t nValue) {
    if (bSeen || nValue < strKey.size()) return;
    bSeen = strLine.substr(nValue - strKey.size(), strKey.size()) == strKey;
    if (!bSeen) return;
    const std::size_t nEnd = strLine.find(L';', nValue);
    bValue = nEnd != std::wstring_view::npos;
    if (bValue) strValue = TrimLeft(strLine.substr(nValue, nEnd - nValue));
  }
};

/// The fields of a revision's "date:" line, in any order. The values are valid as long as the line.
struct TDateLine {
  TField tDate{L"date:"};
  TField tAuthor{L"author:"};
  TField tState{L"state:"};

  explicit TDateLine(std::wstring_view strLine) {
    std::size_t nColon = strLine.find(L':', 1);
    for (; nColon != std::wstring_view::npos && !IsWhole(); nColon = strLine.find(L':', nColon + 1)) {
      // The letter before the colon rules out most keys, and a time of day has none.
      const wchar_t chLast = strLine[nColon - 1];
      if (chLast == L'r') {
        tAuthor.TakeAt(strLine, nColon + 1);
      } else if (chLast == L'e') {
        tDate.TakeAt(strLine, nColon + 1);
        tState.TakeAt(strLine, nColon + 1);
      }
    }
  }

  bool IsWhole() const { return tDate.bSeen && tAuthor.bSeen && tState.bSeen; }
};

}  // namespace

void TLogItem::Reset() {
  nKind = KIND_UNKNOWN;
  oPath.Clear();
  oRevision.RemoveAll(false);
  nTotalRevisions = 0;
  oTime.Set(0);
  strAuthor = VCM::CStringRef();
  nState = REVISION_LIVE;
  strComment.Clear();
  astrTagNames.RemoveAll(false);
  aoTagRevisions.RemoveAll(false);
}

CLogParser::CLogParser(wxInputStream* poInput) : CLogParser(poInput, VCM::CString(), VCM::CString()) {}

CLogParser::CLogParser(wxInputStream* poInput, const VCM::CString& strModuleName,
                       const VCM::CString& strReposDir)
    : wxTextInputStream(*poInput, " \t", wxConvLibc),
      m_oLines(poInput),
      m_strModuleName(strModuleName),
      m_strReposDir(strReposDir),
      m_poCurrentPool(std::make_unique<VCM::CStringPool>()) {}

CLogParser::~CLogParser() = default;

// Called at a file's header only, so all references of one file point into one pool. That pool is kept as the
// previous one until the next rotation, so they stay valid while the next header is read.
void CLogParser::RotatePools() {
  if (m_poCurrentPool->GetCount() <= MAX_POOLED_TEXTS) return;
  m_poPreviousPool = std::move(m_poCurrentPool);
  m_poCurrentPool = std::make_unique<VCM::CStringPool>();
}

bool CLogParser::GetNextItem(TLogItem& tItem, const VCM::CArray<VCM::CString>& astrIncludeTags,
                             const VCM::CArray<VCM::CString>& astrExcludeTags, bool bKeepTags) {
  tItem.Reset();
  m_nSection = SECTION_NONE;
  do {
    if (m_oLines.IsAtEnd()) return false;
    m_oLines.ReadLineView(m_strLine);
    if (m_bAtStart) DropByteOrderMark(m_strLine);
    m_bAtStart = false;
  } while (m_strLine.empty());

  if (LineBegins(L"RCS file:")) {
    RotatePools();
    m_oNameNumber.RemoveAll(true);  // frees it: a number may be as long as the log
    GetNextFileItem(tItem, astrIncludeTags, astrExcludeTags, bKeepTags);
  } else if (LineBegins(L"revision ")) {
    GetNextRevisionItem(tItem);
  } else {
    GetNextUnknownItem(tItem);
  }
  return true;
}

bool CLogParser::GetNextFileItem(TLogItem& tItem, const VCM::CArray<VCM::CString>& astrIncludeTags,
                                 const VCM::CArray<VCM::CString>& astrExcludeTags, bool /*bKeepTags*/) {
  tItem.nKind = TLogItem::KIND_FILE;
  while (!ItemEnded()) {
    if (!ProcessFileLine(tItem, astrIncludeTags, astrExcludeTags)) return false;
    if (!m_oLines.ReadLineView(m_strLine)) break;
  }
  return true;
}

bool CLogParser::GetNextRevisionItem(TLogItem& tItem) {
  tItem.nKind = TLogItem::KIND_REVISION;
  while (!ItemEnded()) {
    if (!ProcessRevisionLine(tItem)) return false;
    if (!m_oLines.ReadLineView(m_strLine)) break;
  }
  return true;
}

bool CLogParser::GetNextUnknownItem(TLogItem& tItem) {
  tItem.nKind = TLogItem::KIND_UNKNOWN;
  while (!ItemEnded()) {
    if (!m_oLines.ReadLineView(m_strLine)) break;
  }
  return true;
}

bool CLogParser::ItemEnded() const {
  return LineBegins(L"----------") || LineBegins(L"==========");
}

bool CLogParser::ProcessFileLine(TLogItem& tItem, const VCM::CArray<VCM::CString>& astrIncludeTags,
                                 const VCM::CArray<VCM::CString>& astrExcludeTags) {
  if (LineBegins(L"RCS file:")) return ProcessPathLine(tItem);
  if (LineBegins(L"head:")) {
    tItem.oRevision.Parse(LineFrom(6));
  } else if (LineBegins(L"total revisions:")) {
    ProcessTotalLine(tItem);
  } else if (LineBegins(L"description:")) {
    m_nSection = SECTION_DESCRIPTION;
  } else if (LineBegins(L"symbolic names:")) {
    m_nSection = SECTION_NAMES;
  } else if (m_nSection == SECTION_NAMES) {
    ProcessNameLine(tItem, astrIncludeTags, astrExcludeTags);
  } else if (m_nSection == SECTION_DESCRIPTION) {
    // Unlike a message, a description begins with a line feed and runs its lines together.
    if (tItem.strComment.IsEmpty()) tItem.strComment += L'\n';
    tItem.strComment += m_strLine;
  }
  return true;
}

bool CLogParser::ProcessPathLine(TLogItem& tItem) const {
  const VCM::CString strLine(m_strLine);
  const int nReposDir = m_strReposDir.IsEmpty() ? -1 : strLine.Find(m_strReposDir);
  // If the repository's directory isn't in the line, the path begins at the "/" before the module's name.
  const int nStart =
      nReposDir >= 0 ? nReposDir + m_strReposDir.GetLength() : strLine.Find(m_strModuleName) - 1;
  if (nStart < 1) return false;
  const int nComma = strLine.Find(L',', nStart);
  if (nComma < 1) return false;
  if (!tItem.oPath.Parse(strLine.Mid(nStart, nComma - nStart), VCM::CFilePath::PARSE_REPOSITORY))
    return false;
  RemoveAtticFolder(tItem.oPath);
  return true;
}

void CLogParser::ProcessTotalLine(TLogItem& tItem) const {
  const std::size_t nEnd = m_strLine.find(L';');
  if (nEnd == std::wstring_view::npos || nEnd < 18) return;
  tItem.nTotalRevisions = static_cast<int>(VCM::ParseNumber(VCM::CString(m_strLine.substr(17, nEnd - 17))));
}

void CLogParser::ProcessNameLine(TLogItem& tItem, const VCM::CArray<VCM::CString>& astrIncludeTags,
                                 const VCM::CArray<VCM::CString>& astrExcludeTags) {
  const std::size_t nColon = std::min(m_strLine.find(L':'), m_strLine.size());
  const std::wstring_view strName = TrimLeft(m_strLine.substr(0, nColon));
  if (IsSubstitution(strName)) {
    m_nSection = SECTION_NONE;
    return;
  }
  if (!CLIENT::PassesFilters(strName, astrIncludeTags, astrExcludeTags)) return;
  m_oNameNumber.Parse(TrimLeft(LineFrom(nColon + 1)));
  tItem.astrTagNames.Add(Intern(strName));
  tItem.aoTagRevisions.Add(m_oNameNumber);
}

bool CLogParser::ProcessRevisionLine(TLogItem& tItem) {
  // Keywords are looked for in the message, too, so a message line that begins with one counts as that line.
  if (LineBegins(L"revision")) {
    tItem.oRevision.Parse(LineFrom(9));
    return true;
  }
  if (LineBegins(L"date:")) {
    ProcessDateLine(tItem);
    return true;
  }
  if (LineBegins(L"branches:") || m_nSection != SECTION_MESSAGE) return true;
  if (!tItem.strComment.IsEmpty()) tItem.strComment += L'\n';
  tItem.strComment += m_strLine;
  return true;
}

void CLogParser::ProcessDateLine(TLogItem& tItem) {
  m_nSection = SECTION_MESSAGE;
  const TDateLine tLine(m_strLine);
  if (tLine.tDate.bValue) ParseDateTime(tLine.tDate.strValue, tItem.oTime);
  if (tLine.tAuthor.bValue) tItem.strAuthor = Intern(tLine.tAuthor.strValue);
  if (tLine.tState.bValue) tItem.nState = ParseState(tLine.tState.strValue);
}

void CLogParser::ParseDateTime(std::wstring_view strText, VCM::CTimestamp& oTime) {
  oTime = CLIENT::ParseLogDate(strText);
}

bool CLogParser::GetRevisionFromString(const VCM::CString& strText, MCE::TCVSRevision& oRevision) {
  oRevision.Parse(strText.View());
  return true;
}

}  // namespace TALVEK::MCV

#include "client/tag_filters.h"

#include <algorithm>
#include <string>

#include <wx/filefn.h>
#include <wx/tokenzr.h>

namespace TALVEK::CLIENT {

namespace {

void SplitAtCommas(const VCM::CString& strText, VCM::CArray<VCM::CString>& astrTokens) {
  astrTokens.RemoveAll(true);
  wxStringTokenizer oTokens(wxString(std::wstring(strText.View())), ",");
  while (oTokens.HasMoreTokens())
    astrTokens.Add(VCM::CString(oTokens.GetNextToken().ToStdWstring()));
}

/// As wxMatchWild: a name that begins with "." matches nothing.
bool MatchesPattern(const VCM::CString& strPattern, std::wstring_view strName) {
  const bool bAll = strPattern.GetLength() == 1 && strPattern[0] == L'*';
  if (bAll && !strName.empty()) return strName[0] != L'.';  // fast path for the default filter
  return wxMatchWild(wxString(std::wstring(strPattern.View())), wxString(std::wstring(strName)), true);
}

}  // namespace

void CTagFilters::Read(const VCM::CString& strInclude, const VCM::CString& strExclude) {
  SplitAtCommas(strExclude, m_astrExcludeTags);
  SplitAtCommas(strInclude, m_astrIncludeTags);
  if (m_astrIncludeTags.IsEmpty()) m_astrIncludeTags.Add(L"*");
}

bool PassesFilters(std::wstring_view strName, const VCM::CArray<VCM::CString>& astrIncludeTags,
                   const VCM::CArray<VCM::CString>& astrExcludeTags) {
  const auto fnMatches = [&](const VCM::CString& strPattern) { return MatchesPattern(strPattern, strName); };
  return std::all_of(astrIncludeTags.begin(), astrIncludeTags.end(), fnMatches) &&
         std::none_of(astrExcludeTags.begin(), astrExcludeTags.end(), fnMatches);
}

}  // namespace TALVEK::CLIENT

#include "mce/cvs_revision.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "core/text_codec.h"

namespace TALVEK::MCE {

namespace {

// Fast path: nearly every number in a log is digits and dots, and is read here without a copy. Nine digits
// fit 32 bits.
bool ParsePlain(std::wstring_view strText, TCVSRevision& oRevision) {
  std::uint32_t nComponent = 0;
  int nDigits = 0;
  for (const wchar_t ch : strText) {
    if (ch >= L'0' && ch <= L'9' && nDigits < 9) {
      nComponent = nComponent * 10 + static_cast<std::uint32_t>(ch - L'0');
      ++nDigits;
    } else if (ch == L'.' && nDigits > 0) {
      oRevision.Add(nComponent);
      nComponent = 0;
      nDigits = 0;
    } else {
      return false;
    }
  }
  if (nDigits == 0) return false;
  oRevision.Add(nComponent);
  return true;
}

}  // namespace

void TCVSRevision::Parse(std::wstring_view strText) {
  RemoveAll(false);
  if (ParsePlain(strText, *this)) return;
  RemoveAll(false);
  AddPieces(strText);
}

// Splits as wxStringTokenizer does, which takes quadratic time for a run of dots. A text of dots alone is one
// empty piece, as there.
void TCVSRevision::AddPieces(std::wstring_view strText) {
  const std::size_t nLast = strText.find_last_not_of(L'.');
  if (nLast == std::wstring_view::npos && !strText.empty()) Add(0);
  strText = strText.substr(0, nLast + 1);
  while (!strText.empty()) {
    const std::wstring_view strPiece = strText.substr(0, strText.find(L'.'));
    Add(static_cast<std::uint32_t>(VCM::ParseNumber(VCM::CString(strPiece))));
    strText.remove_prefix(std::min(strPiece.size() + 1, strText.size()));
  }
}

VCM::CString TCVSRevision::GetText() const {
  std::string strText;  // std::to_wstring is slow: it calls printf
  for (const std::uint32_t nComponent : *this) {
    if (!strText.empty()) strText += '.';
    strText += std::to_string(static_cast<std::int32_t>(nComponent));
  }
  return VCM::CString(std::wstring(strText.begin(), strText.end()));
}

bool TCVSRevision::IsPrefixOf(const TCVSRevision& oOther) const {
  if (GetCount() > oOther.GetCount()) return false;
  for (int i = 0; i < GetCount(); ++i) {
    if ((*this)[i] != oOther[i]) return false;
  }
  return true;
}

int CompareRevisions(const TCVSRevision& oLeft, const TCVSRevision& oRight) {
  for (int i = 0;; ++i) {
    if (i >= oRight.GetCount()) return 1;
    if (i >= oLeft.GetCount()) return -1;
    if (oLeft[i] < oRight[i]) return -1;
    if (oRight[i] < oLeft[i]) return 1;
  }
}

}  // namespace TALVEK::MCE

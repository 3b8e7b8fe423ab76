#pragma once

#include <string_view>

#include "core/array.h"
#include "core/string.h"

namespace TALVEK::CLIENT {

/// The patterns that say which symbolic names an import takes.
///
/// Shape    A list of patterns is a text with commas between them. Blanks belong to the patterns. An empty
///          pattern counts, except after the last comma. "*" and "?" are wildcards, case matters, and a name
///          that begins with "." matches no pattern.
class CTagFilters {
 public:
  /// Replaces both lists. An empty include list takes every name.
  void Read(const VCM::CString& strInclude, const VCM::CString& strExclude);

  const VCM::CArray<VCM::CString>& GetInclude() const { return m_astrIncludeTags; }
  const VCM::CArray<VCM::CString>& GetExclude() const { return m_astrExcludeTags; }

 private:
  VCM::CArray<VCM::CString> m_astrExcludeTags;
  VCM::CArray<VCM::CString> m_astrIncludeTags;
};

/// True when a name matches every include pattern (not just one of them) and no exclude pattern.
bool PassesFilters(std::wstring_view strName, const VCM::CArray<VCM::CString>& astrIncludeTags,
                   const VCM::CArray<VCM::CString>& astrExcludeTags);

}  // namespace TALVEK::CLIENT

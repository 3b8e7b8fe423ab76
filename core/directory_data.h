#pragma once

#include "core/array.h"
#include "core/export.h"
#include "core/string.h"

namespace TALVEK::VCM {

/// The names of a folder's entries, in the order in which they were added. A plain value.
class TALVEK_CORE_API CDirectoryData {
 public:
  void AddEntry(const CString& strName) { m_astrNames.Add(strName); }
  int GetCount() const { return m_astrNames.GetCount(); }
  const CString& GetEntry(int nIndex) const { return m_astrNames[nIndex]; }
  bool operator==(const CDirectoryData&) const = default;

 private:
  CArray<CString> m_astrNames;
};

}  // namespace TALVEK::VCM

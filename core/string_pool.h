#pragma once

#include <cstddef>
#include <string_view>
#include <unordered_set>

#include "core/export.h"
#include "core/string.h"

namespace TALVEK::VCM {

/// One text of a CStringPool. Copying it copies a pointer. Default: the empty text.
///
/// Lifetime  Valid as long as the pool that returned it.
class TALVEK_CORE_API CStringRef {
 public:
  CStringRef() = default;
  const CString& GetText() const { return m_pText ? *m_pText : EmptyText(); }
  operator const CString&() const { return GetText(); }  // not explicit: can stand for the text itself
  bool IsEmpty() const { return GetText().IsEmpty(); }

 private:
  friend class CStringPool;
  explicit CStringRef(const CString* pText) : m_pText(pText) {}
  static const CString& EmptyText();

  const CString* m_pText = nullptr;
};

/// Interned texts: equal texts are stored once.
///
/// Owns     Every text, until the pool is destroyed. Not copyable, because references point into it.
class TALVEK_CORE_API CStringPool {
 public:
  CStringPool() = default;
  CStringPool(const CStringPool&) = delete;
  CStringPool& operator=(const CStringPool&) = delete;

  CStringRef Intern(std::wstring_view strText);
  /// Number of distinct texts held.
  int GetCount() const { return static_cast<int>(m_astrTexts.size()); }

 private:
  // Both take a view, so that a text that is there is found without a copy of it.
  struct THash {
    using is_transparent = void;
    std::size_t operator()(std::wstring_view strText) const;
    std::size_t operator()(const CString& strText) const { return operator()(strText.View()); }
  };
  struct TEqual {
    using is_transparent = void;
    bool operator()(std::wstring_view strLeft, const CString& strRight) const {
      return strLeft == strRight.View();
    }
    bool operator()(const CString& strLeft, const CString& strRight) const { return strLeft == strRight; }
  };

  std::unordered_set<CString, THash, TEqual> m_astrTexts;  // never moves its elements
};

}  // namespace TALVEK::VCM

#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string_view>
#include <unordered_set>

#include "core/export.h"
#include "core/string.h"

namespace TALVEK::VCM {

/// One text of a CStringPool. Copying it copies a pointer. Default: the empty text.
///
/// Lifetime  Good as long as the pool that gave it out.
class TALVEK_CORE_API CStringRef {
 public:
  CStringRef() = default;
  const CString& GetText() const { return m_pText ? *m_pText : EmptyText(); }
  operator const CString&() const { return GetText(); }  // NOLINT: stands wherever the text itself could
  bool IsEmpty() const { return GetText().IsEmpty(); }

 private:
  friend class CStringPool;
  explicit CStringRef(const CString* pText) : m_pText(pText) {}
  static const CString& EmptyText();

  const CString* m_pText = nullptr;
};

/// Interned texts: equal texts are stored once.
///
/// Owns     Every text, until the pool is destroyed. Not copyable: references point into it.
class TALVEK_CORE_API CStringPool {
 public:
  CStringPool() = default;
  CStringPool(const CStringPool&) = delete;
  CStringPool& operator=(const CStringPool&) = delete;

  CStringRef Intern(const CString& strText);
  /// Number of distinct texts held.
  int GetCount() const { return static_cast<int>(m_astrTexts.size()); }

 private:
  std::deque<CString> m_astrTexts;  // a deque never moves its elements
  struct THash {
    using is_transparent = void;
    std::size_t operator()(std::wstring_view strText) const {
      return std::hash<std::wstring_view>{}(strText);
    }
    std::size_t operator()(const CString* pText) const { return (*this)(pText->View()); }
  };
  struct TEqual {
    using is_transparent = void;
    static std::wstring_view View(std::wstring_view strText) { return strText; }
    static std::wstring_view View(const CString* pText) { return pText->View(); }
    template <class TLeft, class TRight>
    bool operator()(const TLeft& left, const TRight& right) const {
      return View(left) == View(right);
    }
  };
  std::unordered_set<const CString*, THash, TEqual> m_apIndex;
};

}  // namespace TALVEK::VCM

#pragma once

#include <string>
#include <string_view>

#include "core/export.h"
#include "core/string.h"

namespace TALVEK::VCM {

/// A path as a list of items: folders and a final name.
///
/// Shape    '/' separates, empty items vanish (a//b/ is a/b). A leading '/' is remembered: an absolute path.
///          "." and ".." are ordinary items, except with PARSE_REPOSITORY. Default constructed: no item.
/// Errors   GetItemText throws EArrayIndexOutOfRange unless 0 <= index < count.
class TALVEK_CORE_API CFilePath {
 public:
  enum TParseOptions : unsigned {
    PARSE_PLAIN = 0,
    /// The path of a file inside a repository: always relative (a leading '/' is dropped). Items "." and ".."
    /// are refused, because files are later written at this path below a folder of ours.
    PARSE_REPOSITORY = 1,
  };

  /// Replaces the path. False (and then empty) when `strText` is no path: it holds a NUL (PARSE_PLAIN), or
  /// "." or ".." (PARSE_REPOSITORY). A text without any item parses as an empty path.
  bool Parse(const CString& strText, unsigned nOptions = PARSE_PLAIN);

  void Clear();
  /// Appends one item; a text with '/' within appends each of its items.
  void Add(const CString& strItem);
  /// False when there was none. An absolute path stays absolute, also after RemoveFirstItem.
  bool RemoveLastItem();
  /// False when there was none.
  bool RemoveFirstItem();

  int GetCount() const { return m_nCount; }
  bool IsAbsolute() const { return m_bAbsolute; }
  CString GetItemText(int nIndex) const;
  /// All items joined by '/', without a leading one; good until the path changes.
  std::wstring_view GetItems() const { return m_strItems; }

  /// All items, joined; a leading separator when absolute (that alone for an absolute path without items).
  CString GeneratePath(wchar_t chSeparator = L'/') const;
  /// `oBase` followed by this path's items: absolute if the base is.
  CString GeneratePath(const CFilePath& oBase, wchar_t chSeparator = L'/') const;
  /// All items but the last, joined: the root ("/") for an absolute path of one item, nothing for a relative
  /// one.
  CString GenerateFolderPath(wchar_t chSeparator = L'/') const;

  /// An absolute path never equals a relative one.
  bool IsEqualTo(const CFilePath& oOther, bool bCaseSensitive) const;
  bool operator==(const CFilePath& oOther) const { return IsEqualTo(oOther, true); }

 private:
  // The items joined with '/', without a leading one: one allocation a path, and equal paths are equal texts.
  std::wstring m_strItems;
  int m_nCount = 0;
  bool m_bAbsolute = false;
};

}  // namespace TALVEK::VCM

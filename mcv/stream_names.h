#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "core/array.h"
#include "core/string.h"
#include "mce/provider.h"

namespace TALVEK::MCV {

/// Finds streams by name, without regard to case: every name of every file is looked for, and a history can
/// have thousands of streams.
///
/// Shape    Of streams with the same name the first in the list counts. Streams added to the list are taken
///          up by themselves, and a list of another version is read anew; whoever changes a name in the list
///          calls Forget.
class CStreamNames {
 public:
  CStreamNames() = default;
  CStreamNames(const CStreamNames&) = delete;
  CStreamNames& operator=(const CStreamNames&) = delete;

  /// Index of the stream in the list, or -1.
  int Find(const VCM::CArray<MCE::CProvider::TStreamInfo>& atStreams, std::uint32_t nListVersion,
           std::wstring_view strName);
  void Forget();
  /// Names compared so far.
  std::uint64_t GetCompared() const { return m_nCompared; }

 private:
  struct THash {
    using is_transparent = void;
    std::size_t operator()(std::wstring_view strText) const {
      return std::hash<std::wstring_view>{}(strText);
    }
  };

  struct TEqual {
    using is_transparent = void;
    std::uint64_t* pnCompared;
    bool operator()(std::wstring_view strLeft, std::wstring_view strRight) const {
      ++*pnCompared;
      return strLeft == strRight;
    }
  };

  std::wstring_view ToKey(std::wstring_view strName);

  std::uint64_t m_nCompared = 0;
  std::unordered_map<std::wstring, int, THash, TEqual> m_oIndexes{
      0, THash{}, TEqual{&m_nCompared}};  // by lower-case name
  int m_nKnown = 0;                       // streams of the list that are in the map
  std::uint32_t m_nListVersion = 0;
  std::wstring m_strKey;  // kept for its storage
};

}  // namespace TALVEK::MCV

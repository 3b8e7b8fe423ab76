#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "core/array.h"
#include "mce/provider.h"

namespace TALVEK::MCE {

/// The streams of an import, in the order in which they were found, with two indexes: the children of a
/// parent, and the first stream of a name. A history can have a million streams; the host searches the
/// children of each, and the stream search each name of each file.
///
/// Shape    Places count from 0. Add, Replace, SetBaseChange and RemoveAll keep both indexes up to date.
/// Errors   A place outside the list throws VCM::EArrayIndexOutOfRange.
/// Cost     Lookups by name are constant, by parent logarithmic. A Replace that changes the name rebuilds the
///          index of names; an import never does that.
class CStreamList {
 public:
  using TStreamInfo = CProvider::TStreamInfo;

  bool IsEmpty() const { return m_atStreams.IsEmpty(); }
  int GetCount() const { return m_atStreams.GetCount(); }
  const TStreamInfo& operator[](int nPlace) const { return m_atStreams[nPlace]; }
  auto begin() const { return m_atStreams.begin(); }
  auto end() const { return m_atStreams.end(); }

  void Add(const TStreamInfo& tStream);
  void Replace(int nPlace, const TStreamInfo& tStream);
  void SetBaseChange(int nPlace, std::uint32_t nChangeID) { m_atStreams[nPlace].nBaseChangeID = nChangeID; }
  void RemoveAll();

  /// Place of the stream with this ID, or -1. Constant when IDs count from 1 in list order, else linear.
  int FindByID(std::uint32_t nStreamID) const;
  /// Place of the first stream of this name, without regard to case, or -1.
  int FindByName(std::wstring_view strName) const;
  /// Place of the first stream at or behind `nFrom` that has this parent, or -1.
  int FindChild(std::uint32_t nParentID, int nFrom) const;

 private:
  void AddName(int nPlace);

  struct THash {
    using is_transparent = void;
    std::size_t operator()(std::wstring_view strText) const {
      return std::hash<std::wstring_view>{}(strText);
    }
  };

  VCM::CArray<TStreamInfo> m_atStreams;
  std::unordered_map<std::wstring, int, THash, std::equal_to<>> m_oPlacesByName;  // in lower case
  std::set<std::pair<std::uint32_t, int>> m_oChildren;                            // parent's ID, place
  mutable std::wstring m_strKey;  // scratch; a member to reuse its memory
};

}  // namespace TALVEK::MCE

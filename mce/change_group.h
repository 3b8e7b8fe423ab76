#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/string.h"

namespace TALVEK::MCE {

/// What an item's times ask of a change. The times of a change wander with its items, but the window stays
/// where its first item was: so its base time is tested as well.
struct TGroupingWindow {
  static constexpr std::uint32_t SECONDS = 300;

  std::uint32_t nTime;
  std::uint32_t nEndTime;
  std::uint32_t nLow = nTime - SECONDS;
  std::uint32_t nHigh = nTime + SECONDS;

  bool Admits(std::uint32_t nChangeTime, std::uint32_t nBaseTime, std::uint32_t nMaxTime) const {
    return nChangeTime >= nLow && nChangeTime <= nHigh && nChangeTime <= nEndTime && nTime < nMaxTime &&
           nBaseTime >= nLow && nBaseTime <= nHigh;
  }
};

/// As much of a change as the grouping needs.
struct TOpenChange {
  std::uint32_t nID = 0;
  std::uint32_t nTime = 0;
  std::uint32_t nBaseTime = 0;
  std::uint32_t nMaxTime = 0;
  std::uint32_t nNextItem = 0;
  bool bAltered = false;  ///< the row in the database isn't like this any more
  bool bListed = false;   ///< CGroupingIndex has it
};

/// What is like a group's key in nearly all cases where the key is.
struct TChangeGroupNumbers {
  /// Longer than what one search spans, so that it looks into two periods at most, and mostly into one.
  static constexpr std::uint32_t PERIOD_SECONDS = 4096;

  std::size_t GetHash() const;
  bool operator==(const TChangeGroupNumbers&) const = default;

  std::uint32_t nStreamID = 0;
  std::uint32_t nHashHigh = 0;  ///< of user and comment, without regard to case
  std::uint32_t nHashLow = 0;
  std::uint32_t nPeriod = 0;  ///< base time in units of PERIOD_SECONDS
};

/// What the changes of a group have in common. The texts are lent; case doesn't count.
struct TChangeGroupKey : TChangeGroupNumbers {
  TChangeGroupKey(std::uint32_t nStream, std::wstring_view strUserName, std::wstring_view strMessage);

  std::wstring_view strUser;
  std::wstring_view strComment;
};

/// All changes of one stream, user and comment whose base times lie in one period.
class CChangeGroup {
 public:
  explicit CChangeGroup(const TChangeGroupKey& tKey);

  bool IsOf(const TChangeGroupKey& tKey) const;
  /// To be called in ascending order of the IDs.
  void Add(const TOpenChange& tChange);
  /// Place of the first change by time and ID that the window admits, or -1. `nLookedAt` grows by what had to
  /// be looked at, which is never much more than the window has seconds.
  int FindFirst(const TGroupingWindow& tWindow, std::uint64_t& nLookedAt) const;
  /// Notes that a change has got one more item.
  void Join(int nPlace, std::uint32_t nItemTime, std::uint32_t nItemEnd);

  const TChangeGroupNumbers& GetNumbers() const { return m_tNumbers; }
  const std::vector<TOpenChange>& GetChanges() const { return m_atChanges; }
  std::size_t GetBytes() const;

 private:
  /// So many changes are found by their seconds.
  static constexpr std::size_t CROWD = 64;

  /// A change with the largest maximum time of all up to it: so the first one beyond a time is found by
  /// bisection.
  struct TPlace {
    std::uint32_t nChange;
    std::uint32_t nMaxTime;
  };
  using TSecond = std::vector<TPlace>;

  int FindFirstOfAll(const TGroupingWindow& tWindow, std::uint64_t& nLookedAt) const;
  int FindFirstOfCrowd(const TGroupingWindow& tWindow, std::uint64_t& nLookedAt) const;
  int FindFirstOfSecond(const TSecond& atPlaces, const TGroupingWindow& tWindow,
                        std::uint64_t& nLookedAt) const;
  bool IsAdmitted(const TGroupingWindow& tWindow, std::uint32_t nChange) const;
  void AddToSecond(std::uint32_t nChange);
  void RemoveFromSecond(std::uint32_t nChange);

  TChangeGroupNumbers m_tNumbers;
  std::string m_strUser;  // as bytes, as the comment: a quarter of wide text, so more groups fit
  std::string m_strComment;
  std::vector<TOpenChange> m_atChanges;
  std::unique_ptr<std::map<std::uint32_t, TSecond>>
      m_poSeconds;  // by time; null as long as there is no crowd
};

}  // namespace TALVEK::MCE

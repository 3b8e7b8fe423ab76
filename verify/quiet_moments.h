#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace TALVEK::VERIFY {

/// Finds times at which nothing was being committed to a stream, so that its state then is the state between
/// two changesets.
///
/// A repository doesn't say what a changeset was, so a moment is looked for only where nobody could think
/// otherwise: more than 300 seconds from any other revision, outside the times that one commit id spans, and
/// outside those in which a file's own dates run backwards.
class CQuietMoments {
 public:
  void AddRevision(std::int64_t nTime) { m_anTimes.push_back(nTime); }
  /// No moment between the two, which come in any order.
  void AddSpan(std::int64_t nOne, std::int64_t nOther);

  /// At most `nCount` moments, evenly spread over those there are. The end isn't among them.
  std::vector<std::int64_t> Pick(std::size_t nCount);

 private:
  std::vector<std::int64_t> m_anTimes;
  std::vector<std::pair<std::int64_t, std::int64_t>> m_anSpans;
};

}  // namespace TALVEK::VERIFY

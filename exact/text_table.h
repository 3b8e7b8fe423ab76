#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "exact/records.h"
#include "exact/spool.h"

namespace TALVEK::EXACT {

/// Texts by number, each stored once. Numbers count up from 0 in the order in which texts first came.
class CTextTable {
 public:
  /// The text's number, new or known.
  TIndex Add(std::string_view strText);
  /// The text's number if it is known, else NONE.
  TIndex Find(std::string_view strText) const;
  std::string Get(TIndex nText) const;
  TIndex Count() const { return static_cast<TIndex>(m_atTexts.size()); }

 private:
  struct TText {
    std::uint64_t nEnd;  ///< a text begins where the one before it ends
    std::uint64_t nHash;
  };

  std::size_t Slot(std::string_view strText, std::uint64_t nHash) const;
  void Grow();

  CSpool m_oBytes;
  std::vector<TText> m_atTexts;
  std::vector<TIndex> m_anSlots;  ///< open addressing, NONE is free
};

}  // namespace TALVEK::EXACT

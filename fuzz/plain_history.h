#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/path.h"
#include "core/string.h"
#include "fuzz/searched_provider.h"
#include "mcv/file_enum.h"

namespace TALVEK::FUZZ {

/// A revision of a file as a change item, before grouping.
struct TPlainChangeItem {
  std::uint32_t nStream;
  VCM::CString strUser;
  std::uint32_t nType;
  VCM::CFilePath oPath;
  std::uint32_t nTime;
  VCM::CString strComment;
  VCM::CString strRevision;
  std::uint32_t nEndTime;
};

/// A plain second version of the change items that a log makes, in the log's order. `oProvider` has searched
/// the log already, and has the streams.
std::vector<TPlainChangeItem> PlainItems(std::string_view strLog, const CFuzzInput& oInput,
                                         const CSearchedProvider& oProvider);

/// Checks that the database has exactly these items and, when they are few, that they are grouped by the
/// rules.
void CompareItems(const std::vector<TPlainChangeItem>& atExpected,
                  const std::vector<TStoredChange>& atChanges);

}  // namespace TALVEK::FUZZ

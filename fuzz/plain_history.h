#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/path.h"
#include "core/string.h"
#include "fuzz/searched_provider.h"
#include "mcv/file_enum.h"

namespace TALVEK::FUZZ {

/// One revision of one file as a change item, before it is put into a change.
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

/// The change items that a log gives, worked out in the plainest way, in the order of the log. `oProvider`
/// has searched the log already: its streams are the ones that the items are on.
std::vector<TPlainChangeItem> PlainItems(std::string_view strLog, const CFuzzInput& oInput,
                                         const CSearchedProvider& oProvider);

/// Checks that the database holds these items, no less and no more, and, when they are few, that they are
/// grouped as the rules read.
void CompareItems(const std::vector<TPlainChangeItem>& atExpected,
                  const std::vector<TStoredChange>& atChanges);

}  // namespace TALVEK::FUZZ

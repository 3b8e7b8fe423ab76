#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "mcv/cvs_provider.h"

namespace TALVEK::FUZZ {

/// A changeset of the import database, with its items in order.
struct TStoredChange {
  MCE::TChangeRecord tRecord;
  std::vector<MCE::TChangeItemRecord> atItems;
};

/// The CVS provider, with access to its database.
class CSearchedProvider : public MCV::CProvider {
 public:
  /// Options besides those of TLogOptions: b  branches are created;  n  branches are nested;  l  the import
  /// log is open; its lines are made, but go nowhere.
  explicit CSearchedProvider(const CFuzzInput& oInput);

  /// Does all that a host does before the walks, on a saved log. False when the provider refuses.
  bool Establish(std::string_view strLog);

  /// The database's changes by ID. Checks that each item belongs to one of them.
  std::vector<TStoredChange> ReadChanges();

  using CProviderBase::m_oStreams;

 private:
  void OpenDatabase();

  unsigned int m_nStreams = 0;
  unsigned int m_nChanges = 0;
};

}  // namespace TALVEK::FUZZ

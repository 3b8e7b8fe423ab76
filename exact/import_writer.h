#pragma once

#include <cstdint>
#include <vector>

#include "core/path.h"
#include "core/string.h"
#include "exact/module_paths.h"
#include "exact/plan.h"
#include "mce/provider_base.h"
#include "mce/stream_list.h"

namespace TALVEK::EXACT {

/// The last pass: hands a plan to the import engine.
///
/// Shape    A stream of the plan gets the number of its place, from 1; a change the number that the engine
///          gives it. Changes and items go in in the plan's order, so the engine has nothing to find.
/// Errors   False when the database refuses a row.
class CImportWriter {
 public:
  /// All are lent.
  CImportWriter(const CPlan& oPlan, const CModulePaths& oPaths, MCE::CProviderBase& oEngine)
      : m_oPlan(oPlan), m_oPaths(oPaths), m_oEngine(oEngine) {}

  bool WriteChanges();
  /// Appends the streams, with the changes that they start from; after WriteChanges.
  void WriteStreams(MCE::CStreamList& oStreams) const;

 private:
  bool WriteChange(TIndex nChange);
  /// nItems counts the items of the change: one for each place of the file.
  bool WriteItems(TIndex nChange, const TPlanItem& tItem, std::uint32_t& nItems);
  MCE::TChangeItemType TypeOf(const TPlanItem& tItem) const;

  const CPlan& m_oPlan;
  const CModulePaths& m_oPaths;
  MCE::CProviderBase& m_oEngine;
  std::vector<std::uint32_t> m_anChangeIDs;  // by change of the plan
};

}  // namespace TALVEK::EXACT

#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "mcv/cvs_provider.h"
#include "tests/mcv/log_text.h"
#include "tests/support/environment_scope.h"
#include "tests/support/fake_cvs.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {

/// The CVS provider, with its streams, items and changes as text.
class COpenProvider : public MCV::CProvider {
 public:
  /// The streams in the order of the list, a line each: "2 BR below 1 [201,300]", with the creation time and
  /// the max creation time.
  std::string Streams() const;
  /// The change items in the order in which they were recorded, a line each: "src/a.c 1.2 edit on Main
  /// 200..250", with the item's time and the maximum time of its change ("never" for none).
  std::string Items();
  /// The changes in the order of the walks, a line each: "Main 200 joe [work] a.c 1.2, b.c 1.4".
  std::string Changes();

  using CProvider::m_oCheckout;
  using CProvider::m_oClient;
  using CProvider::m_oLogSource;
  using CProvider::m_oTagFilters;
  using CProviderBase::m_bFirstCapability;
  using CProviderBase::m_bSecondCapability;
  using CProviderBase::m_nChangesAdded;
  using CProviderBase::m_oStreams;
  using CProviderBase::m_poDatabase;
  using CProviderBase::m_tCurrentStream;

 private:
  std::string StreamName(unsigned nStreamID) const;
  std::vector<MCE::TChangeRecord> ReadChanges();
  std::vector<MCE::TChangeItemRecord> ReadItems();
};

/// A provider whose import log is open, in folders of its own: tests don't see each other's files.
class ProviderTest : public ::testing::Test {
 protected:
  ProviderTest();

  void Set(const wchar_t* pszKey, const std::string& strValue);

  /// What the provider has logged so far, without the seconds and the line with which each log begins.
  std::string Log() const;

  /// Makes this shell script the `cvs` client (CFakeCvs).
  void FakeCvs(const std::string& strScript, std::uint16_t nRepeatCount = 5);
  std::string Calls() const { return m_oCvs.Calls(); }
  std::filesystem::path CvsPath() const { return m_oCvs.Path(); }

  /// Searches for the streams in a saved log of the module "mod" below "/repo".
  bool Search(const std::string& strLog);
  bool Search(CLogText& oLog) { return Search(oLog.Text()); }

  CTempFolder m_oFolder;
  CFakeCvs m_oCvs{m_oFolder.Path()};
  CTempFolder m_oTemporaryFiles;
  CEnvironmentScope m_oTmpDir{"TMPDIR", m_oTemporaryFiles.Path().string()};
  COpenProvider m_oProvider;
};

}  // namespace TALVEK::TEST

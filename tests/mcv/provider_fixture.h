#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "mcv/cvs_provider.h"
#include "tests/mcv/log_text.h"
#include "tests/support/environment_scope.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {

/// The CVS provider, laid open.
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

  using CProvider::m_astrExcludeTags;
  using CProvider::m_astrIncludeTags;
  using CProvider::m_bFileByFile;
  using CProvider::m_bForceFileByFile;
  using CProvider::m_bOwnInputStream;
  using CProvider::m_nChangeTime;
  using CProvider::m_nCmdRepeatCount;
  using CProvider::m_oClientPath;
  using CProvider::m_oProcess;
  using CProvider::m_poInputStream;
  using CProvider::m_strCvsCommand;
  using CProviderBase::GetChangesLookedAt;
  using CProviderBase::m_atStreams;
  using CProviderBase::m_bFirstCapability;
  using CProviderBase::m_bSecondCapability;
  using CProviderBase::m_nChangesAdded;
  using CProviderBase::m_poDatabase;
  using CProviderBase::m_tCurrentStream;

 private:
  std::string StreamName(unsigned nStreamID) const;
  std::vector<MCE::TChangeRecord> ReadChanges();
  std::vector<MCE::TChangeItemRecord> ReadItems();
};

/// A provider whose import log is open, with folders of its own: nothing that a test does is seen outside.
class ProviderTest : public ::testing::Test {
 protected:
  ProviderTest();

  void Set(const wchar_t* pszKey, const std::string& strValue);

  /// What the provider has logged so far, without the seconds and the line with which each log begins.
  std::string Log() const;

  /// Makes a shell script the `cvs` client. It may call `record "$@"`, which appends the working directory
  /// and the arguments to what Calls() shows, and `count`, which prints how often it has been run before.
  void FakeCvs(const std::string& strScript);
  /// What has been recorded: "in FOLDER" and then each argument in brackets, a line each. "@" stands for the
  /// test's folder.
  std::string Calls() const;
  std::filesystem::path CvsPath() const { return m_oFolder / "bin/my cvs"; }

  /// Searches for the streams in a saved log of the module "mod" below "/repo".
  bool Search(const std::string& strLog);
  bool Search(CLogText& oLog) { return Search(oLog.Text()); }

  CTempFolder m_oFolder;
  CTempFolder m_oTemporaryFiles;
  CEnvironmentScope m_oTmpDir{"TMPDIR", m_oTemporaryFiles.Path().string()};
  COpenProvider m_oProvider;
};

/// What is left in a stream, which may be null.
std::string ReadAll(wxInputStream* poStream);

}  // namespace TALVEK::TEST

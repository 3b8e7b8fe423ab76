// The whole stream search against CPlainSearch, a simple version of it, on random histories.

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "core/descriptor.h"
#include "tests/mcv/plain_search.h"
#include "tests/mcv/provider_fixture.h"
#include "tests/support/import_log.h"

namespace TALVEK::TEST {
namespace {

/// Small random histories with many conflicts: few names, files that contradict each other, wrong clocks.
class CHistory {
 public:
  explicit CHistory(unsigned nSeed) : m_oRandom(nSeed) {
    m_bWildClock = Pick(3) == 0;
    for (unsigned n = Pick(7); n > 0; --n)
      AddFile();
  }

  const std::vector<TPlainFile>& Files() const { return m_atFiles; }

  std::string Log() const {
    CLogText oLog;
    for (const TPlainFile& tFile : m_atFiles) {
      oLog.File("/repo/" + tFile.strPath + ",v");
      for (const TPlainName& tName : tFile.atNames)
        oLog.Name(tName.strName + ": " + Dotted(tName.anNumber));
      for (const TPlainRevision& tRevision : tFile.atRevisions)
        oLog.At(Dotted(tRevision.anNumber), tRevision.nTime, tRevision.strState, tRevision.strAuthor,
                tRevision.strMessage);
    }
    return oLog.Text();
  }

 private:
  unsigned Pick(unsigned nCount) { return static_cast<unsigned>(m_oRandom() % nCount); }
  template <std::size_t COUNT>
  std::string PickOf(const char* const (&apszTexts)[COUNT]) {
    return apszTexts[Pick(COUNT)];
  }

  static std::string Dotted(const TNumber& anNumber) {
    std::string strText;
    for (const std::uint32_t nComponent : anNumber)
      strText += (strText.empty() ? "" : ".") + std::to_string(nComponent);
    return strText;
  }

  void AddFile() {
    m_atFiles.emplace_back();
    m_atFiles.back().strPath = PickOf({"mod/a", "mod/b", "mod/s/c", "mod/s/d", "mod/s/t/e", "mod"});
    m_nClock = 1000 + Pick(500);
    AddLine({1}, 1 + Pick(4), 0);
    for (unsigned n = Pick(4); n > 0; --n)
      AddOddName();
    std::vector<TPlainName>& atNames = m_atFiles.back().atNames;
    for (std::size_t i = atNames.size(); i > 1; --i)
      std::swap(atNames[i - 1], atNames[Pick(static_cast<unsigned>(i))]);
  }

  /// Revisions `anLine`.1 and up, with names and branches at some of them.
  void AddLine(const TNumber& anLine, unsigned nRevisions, int nDepth) {
    for (unsigned i = 1; i <= nRevisions; ++i) {
      TNumber anRevision = anLine;
      anRevision.push_back(i);
      if (Pick(12) != 0) AddRevision(anRevision);
      if (Pick(4) == 0) AddName(anRevision);
      if (nDepth == 3 || Pick(3) != 0) continue;
      for (unsigned nBranch = 1 + Pick(2); nBranch > 0; --nBranch)
        AddBranch(anRevision, Pick(6) == 0 ? 1 : 2 * nBranch, nDepth);
    }
  }

  void AddBranch(const TNumber& anFrom, unsigned nBranch, int nDepth) {
    TNumber anMagic = anFrom, anLine = anFrom;
    anLine.push_back(nBranch);
    if (nBranch != 1) anMagic.push_back(0);
    anMagic.push_back(nBranch);
    for (unsigned n = Pick(8) == 0 ? 2 : Pick(6) == 0 ? 0 : 1; n > 0; --n)
      AddName(Pick(10) == 0 ? anLine : anMagic);
    AddLine(anLine, Pick(4), nDepth + 1);
  }

  void AddRevision(const TNumber& anNumber) {
    m_nClock = m_bWildClock ? Pick(6) * 400 : m_nClock + Pick(400);
    m_atFiles.back().atRevisions.push_back(
        {anNumber, m_nClock, Pick(5) == 0 ? PickOf({"dead", "DEAD", "Stab"}) : "Exp",
         PickOf({"joe", "JOE", "ann"}), PickOf({"fix", "Fix", "new. fix", "work"})});
  }

  void AddName(const TNumber& anNumber) {
    m_atFiles.back().atNames.push_back(
        {PickOf({"A", "B", "C", "D", "E", "F", "a", "b", "main", "T1", "T2", "t1"}), anNumber});
  }

  /// Adds a name, and perhaps a revision, with a number that no client would write.
  void AddOddName() {
    TNumber anNumber;
    for (unsigned n = 1 + Pick(6); n > 0; --n)
      anNumber.push_back(Pick(4));
    AddName(anNumber);
    if (Pick(3) == 0) AddRevision(anNumber);
  }

  std::mt19937 m_oRandom;
  bool m_bWildClock = false;
  std::uint32_t m_nClock = 0;
  std::vector<TPlainFile> m_atFiles;
};

/// Uses one provider for all histories, and a file in memory for their logs, because making and removing
/// files would take longer than all the searches.
class SearchModelTest : public ::testing::Test {
 protected:
  SearchModelTest() {
    m_oProvider.SetProperty(L"LogFile", VCM::FromBytes("/proc/self/fd/" + std::to_string(m_oSaved.Get())));
    m_oProvider.SetProperty(L"ModuleName", L"mod");
    m_oProvider.SetProperty(L"ReposPath", L"/repo");
    m_oProvider.OpenLog(true);
    for (const auto& oEntry : std::filesystem::directory_iterator(m_oFolder.Path()))
      m_oImportLog.open(oEntry.path());
  }

  void CompareMany(unsigned nFirstSeed, bool bNestedBranches, bool bStreamsForTags) {
    for (unsigned nSeed = nFirstSeed; nSeed < nFirstSeed + 1000 && !HasFatalFailure(); ++nSeed)
      Compare(nSeed, {bNestedBranches, bStreamsForTags, nSeed % 10 != 0});
  }

 private:
  void Compare(unsigned nSeed, const TPlainSettings& tSettings) {
    SCOPED_TRACE("seed " + std::to_string(nSeed));
    const CHistory oHistory(nSeed);
    CPlainSearch oPlain(tSettings);
    oPlain.Read(oHistory.Files());
    oPlain.Link();
    Search(oHistory.Log(), tSettings);

    ASSERT_EQ(m_oProvider.Streams(), oPlain.Streams()) << oHistory.Log();
    ASSERT_EQ(BaseChanges(), oPlain.BaseChanges()) << oHistory.Log();
    ASSERT_EQ(m_oProvider.Items(), oPlain.Items()) << oHistory.Log();
    ASSERT_EQ(m_oProvider.Changes(), oPlain.Changes()) << oHistory.Log();
    ASSERT_EQ(NewLog(), oPlain.Log()) << oHistory.Log();
  }

  void Search(const std::string& strLog, const TPlainSettings& tSettings) {
    ASSERT_EQ(ftruncate(m_oSaved.Get(), 0), 0);
    ASSERT_EQ(pwrite(m_oSaved.Get(), strLog.data(), strLog.size(), 0), static_cast<ssize_t>(strLog.size()));
    m_oProvider.SetProperty(L"NestedBranches", tSettings.bNestedBranches ? L"1" : L"0");
    m_oProvider.SetProperty(L"StreamsForTags", tSettings.bStreamsForTags ? L"1" : L"0");
    m_oProvider.SetProperty(L"CreateBranches", tSettings.bCreateBranches ? L"1" : L"0");
    m_oProvider.ResetStreams();
    ASSERT_TRUE(m_oProvider.SearchForStreams());
    m_oProvider.ResolveStreamLinkage();
  }

  std::string BaseChanges() const {
    std::string strText;
    for (const auto& tStream : m_oProvider.m_oStreams)
      strText += std::to_string(tStream.nBaseChangeID) + " ";
    return strText;
  }

  /// The lines that the last search logged after "Parsing Log".
  std::string NewLog() {
    std::ostringstream oText;
    m_oImportLog.clear();
    oText << m_oImportLog.rdbuf();
    const std::string strLog = WithoutSeconds(oText.str());
    const std::string strStart = "\nParsing Log\n";
    return strLog.substr(strLog.find(strStart) + strStart.size());
  }

  CTempFolder m_oFolder;
  CEnvironmentScope m_oTmpDir{"TMPDIR", m_oFolder.Path().string()};
  VCM::CDescriptor m_oSaved{memfd_create("saved.rlog", MFD_CLOEXEC)};
  COpenProvider m_oProvider;
  std::ifstream m_oImportLog;
};

TEST_F(SearchModelTest, BranchesAreWhatThePlainVersionMakesOfThem) {
  CompareMany(10000, false, false);
}

TEST_F(SearchModelTest, NestedBranchesAreWhatThePlainVersionMakesOfThem) {
  CompareMany(20000, true, false);
}

TEST_F(SearchModelTest, TagsAreWhatThePlainVersionMakesOfThem) {
  CompareMany(30000, false, true);
}

TEST_F(SearchModelTest, NestedBranchesAndTagsAreWhatThePlainVersionMakesOfThem) {
  CompareMany(40000, true, true);
}

}  // namespace
}  // namespace TALVEK::TEST

#include "mcv/number_lookup.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>

// The lookups against linear searches of the same arrays.
namespace TALVEK::TEST {
namespace {

int PlainParent(const MCV::TFileInfo& tFile, int nTag) {
  const MCV::TTagInfo& tTag = tFile.atTags[nTag];
  if (tTag.oRevision.GetCount() <= 3) return -1;
  const int nMaxCount = tTag.oRevision.GetCount() - (tTag.bIsBranch ? 2 : 1);
  for (int i = nTag - 1; i >= 0; --i) {
    const MCE::TCVSRevision& oEarlier = tFile.atTags[i].oRevision;
    if (oEarlier.GetCount() <= nMaxCount && oEarlier.IsPrefixOf(tTag.oRevision)) return i;
  }
  return -1;
}

int PlainTagOfRevision(const MCV::TFileInfo& tFile, const MCE::TCVSRevision& oRevision) {
  for (int i = 0; i < tFile.atTags.GetCount(); ++i) {
    const MCE::TCVSRevision& oTag = tFile.atTags[i].oRevision;
    if (oTag.GetCount() + 1 == oRevision.GetCount() && oTag.IsPrefixOf(oRevision)) return i;
  }
  return -1;
}

const MCV::TRevInfo* PlainRevision(const MCV::TFileInfo& tFile, const MCE::TCVSRevision& oRevision) {
  for (const MCV::TRevInfo& tRevision : tFile.atRevisions) {
    if (tRevision.oRevision == oRevision) return &tRevision;
  }
  return nullptr;
}

/// A random number of none to six small components, so that prefixes and equal numbers are frequent.
MCE::TCVSRevision RandomNumber(std::mt19937& oRandom) {
  MCE::TCVSRevision oRevision;
  for (auto n = oRandom() % 7; n > 0; --n)
    oRevision.Add(static_cast<std::uint32_t>(oRandom() % 3));
  return oRevision;
}

MCV::TFileInfo RandomFile(std::mt19937& oRandom) {
  MCV::TFileInfo tFile;
  for (int i = 0; i < 60; ++i) {
    tFile.atTags.Add({VCM::CStringRef(), RandomNumber(oRandom), oRandom() % 2 == 0});
    tFile.atRevisions.Add({RandomNumber(oRandom), VCM::CTimestamp(i), MCV::REVISION_LIVE, {}, {}});
  }
  tFile.atTags.Sort(MCV::CompareTags);
  tFile.atRevisions.Sort(MCV::CompareRevs);
  return tFile;
}

TEST(NumberLookupTest, FindsWhatPlainLoopsFind) {
  for (unsigned nSeed = 1; nSeed <= 50; ++nSeed) {
    SCOPED_TRACE("seed " + std::to_string(nSeed));
    std::mt19937 oRandom(nSeed);
    const MCV::TFileInfo tFile = RandomFile(oRandom);
    MCV::CTagNesting oNesting(tFile);
    for (int i = 0; i < tFile.atTags.GetCount(); ++i)
      EXPECT_EQ(oNesting.NextParent(), PlainParent(tFile, i)) << tFile.atTags[i].oRevision.GetCount();
    for (int i = 0; i < 100; ++i) {
      const MCE::TCVSRevision oWanted = RandomNumber(oRandom);
      EXPECT_EQ(MCV::FindRevision(tFile, oWanted), PlainRevision(tFile, oWanted));
      EXPECT_EQ(MCV::FindTagOfRevision(tFile, oWanted), PlainTagOfRevision(tFile, oWanted));
    }
  }
}

TEST(NumberLookupTest, UnsortedRevisionsAreFoundAsWell) {
  MCV::TFileInfo tFile;
  for (const wchar_t* pszNumber : {L"1.3", L"1.1", L"1.2"})
    tFile.atRevisions.Add({MCE::TCVSRevision(pszNumber), VCM::CTimestamp(), MCV::REVISION_LIVE, {}, {}});
  EXPECT_EQ(MCV::FindRevision(tFile, MCE::TCVSRevision(L"1.3")), &tFile.atRevisions[0]);
}

}  // namespace
}  // namespace TALVEK::TEST

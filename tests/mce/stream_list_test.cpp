#include "mce/stream_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "core/exceptions.h"
#include "core/text_codec.h"
#include "tests/support/growth.h"

namespace TALVEK::MCE {
namespace {

using TStreamInfo = CStreamList::TStreamInfo;

TStreamInfo Stream(unsigned nID, unsigned nParentID, const wchar_t* pszName) {
  return {nID, nParentID, VCM::CFilePath(), VCM::CFilePath(), pszName};
}

/// Places of the children of a stream, each followed by a blank.
std::string Children(const CStreamList& oStreams, std::uint32_t nParentID) {
  std::string strPlaces;
  for (int n = oStreams.FindChild(nParentID, 0); n >= 0; n = oStreams.FindChild(nParentID, n + 1))
    strPlaces += std::to_string(n) + " ";
  return strPlaces;
}

TEST(StreamListTest, FirstOfEqualNamesIsFound) {
  CStreamList oStreams;
  oStreams.Add(Stream(1, 0, L"Main"));
  oStreams.Add(Stream(2, 1, L"Øle"));
  EXPECT_EQ(oStreams.FindByName(L"øLE"), 1);
  EXPECT_EQ(oStreams.FindByName(L"rel"), -1);
  oStreams.Add(Stream(3, 1, L"REL"));
  oStreams.Add(Stream(4, 1, L"rel"));
  EXPECT_EQ(oStreams.FindByName(L"Rel"), 2);
}

TEST(StreamListTest, OldNameOfAReplacedStreamBelongsToTheNextOneThatHasIt) {
  CStreamList oStreams;
  for (const wchar_t* pszName : {L"A", L"a", L"B"})
    oStreams.Add(Stream(static_cast<unsigned>(oStreams.GetCount()) + 1, 0, pszName));
  oStreams.Replace(0, Stream(1, 0, L"C"));
  EXPECT_EQ(oStreams.FindByName(L"A"), 1);
  EXPECT_EQ(oStreams.FindByName(L"c"), 0);
}

TEST(StreamListTest, ChildrenComeInTheOrderOfTheList) {
  CStreamList oStreams;
  for (const unsigned nParentID : {0U, 1U, 2U, 1U, 0U})
    oStreams.Add(Stream(static_cast<unsigned>(oStreams.GetCount()) + 1, nParentID, L"S"));
  EXPECT_EQ(Children(oStreams, 0), "0 4 ");
  EXPECT_EQ(Children(oStreams, 1), "1 3 ");
  EXPECT_EQ(Children(oStreams, 2), "2 ");
  EXPECT_EQ(Children(oStreams, 3), "");
  oStreams.Replace(4, Stream(5, 1, L"S"));
  oStreams.Replace(1, Stream(2, 5, L"S"));
  EXPECT_EQ(Children(oStreams, 0), "0 ");
  EXPECT_EQ(Children(oStreams, 1), "3 4 ");
  EXPECT_EQ(Children(oStreams, 5), "1 ");
}

// IDs needn't count from 1, so a stream's ID needn't be its place + 1.
TEST(StreamListTest, StreamIsFoundByItsNumberWhereverItStands) {
  CStreamList oStreams;
  for (const unsigned nID : {5U, 2U, 1U})
    oStreams.Add(Stream(nID, 0, L"S"));
  EXPECT_EQ(oStreams.FindByID(5), 0);
  EXPECT_EQ(oStreams.FindByID(2), 1);
  EXPECT_EQ(oStreams.FindByID(1), 2);
  EXPECT_EQ(oStreams.FindByID(0), -1);
  EXPECT_EQ(oStreams.FindByID(4294967295), -1);
}

TEST(StreamListTest, NothingOfAnEmptiedListIsFound) {
  CStreamList oStreams;
  oStreams.Add(Stream(1, 0, L"A"));
  oStreams.RemoveAll();
  EXPECT_TRUE(oStreams.IsEmpty());
  EXPECT_EQ(oStreams.FindByName(L"A"), -1);
  EXPECT_EQ(oStreams.FindByID(1), -1);
  EXPECT_EQ(Children(oStreams, 0), "");
  oStreams.Add(Stream(1, 7, L"B"));
  EXPECT_EQ(Children(oStreams, 7), "0 ");
}

TEST(StreamListTest, BaseChangeIsTheOnlyThingThatChangesByItself) {
  CStreamList oStreams;
  oStreams.Add(Stream(1, 0, L"A"));
  oStreams.SetBaseChange(0, 42);
  EXPECT_EQ(oStreams[0].nBaseChangeID, 42U);
  EXPECT_EQ(oStreams.FindByName(L"a"), 0);
}

TEST(StreamListTest, PlaceOutsideTheListThrows) {
  CStreamList oStreams;
  EXPECT_THROW(oStreams[0], VCM::EArrayIndexOutOfRange);
  EXPECT_THROW(oStreams.Replace(0, Stream(1, 0, L"A")), VCM::EArrayIndexOutOfRange);
  EXPECT_THROW(oStreams.SetBaseChange(-1, 1), VCM::EArrayIndexOutOfRange);
  EXPECT_EQ(Children(oStreams, 0), "");
}

TEST(StreamListTest, LookupsAgreeWithPlainLoops) {
  constexpr const wchar_t* APSZ_NAMES[] = {L"A", L"a", L"B", L"b", L"C"};
  for (unsigned nSeed = 1; nSeed <= 50; ++nSeed) {
    SCOPED_TRACE("seed " + std::to_string(nSeed));
    std::mt19937 oRandom(nSeed);
    CStreamList oStreams;
    std::vector<TStreamInfo> atPlain;
    for (int i = 0; i < 60; ++i) {
      const bool bReplaces = !atPlain.empty() && oRandom() % 3 == 0;
      const std::size_t nPlace = bReplaces ? oRandom() % atPlain.size() : atPlain.size();
      const TStreamInfo tStream = Stream(static_cast<unsigned>(nPlace) + 1,
                                         static_cast<unsigned>(oRandom() % 4), APSZ_NAMES[oRandom() % 5]);
      if (bReplaces) {
        oStreams.Replace(static_cast<int>(nPlace), tStream);
        atPlain[nPlace] = tStream;
      } else {
        oStreams.Add(tStream);
        atPlain.push_back(tStream);
      }
      for (const wchar_t* pszName : APSZ_NAMES) {
        const auto it = std::find_if(atPlain.begin(), atPlain.end(),
                                     [&](const TStreamInfo& t) { return t.strName.EqualsNoCase(pszName); });
        EXPECT_EQ(oStreams.FindByName(pszName), it == atPlain.end() ? -1 : it - atPlain.begin());
      }
      for (std::uint32_t nParentID = 0; nParentID < 4; ++nParentID) {
        std::string strPlain;
        for (std::size_t n = 0; n < atPlain.size(); ++n)
          strPlain += atPlain[n].nParentID == nParentID ? std::to_string(n) + " " : "";
        EXPECT_EQ(Children(oStreams, nParentID), strPlain);
      }
    }
  }
}

/// Adds streams, looks up each by name before and after, and walks over the children of each.
void UseList(int nStreams, std::uint32_t (*pfnParent)(std::uint32_t nID)) {
  CStreamList oStreams;
  for (int i = 0; i < nStreams; ++i) {
    const std::wstring strName = L"BRANCH_" + std::to_wstring(i);
    const auto nID = static_cast<std::uint32_t>(i) + 1;
    ASSERT_EQ(oStreams.FindByName(strName), -1);
    oStreams.Add(Stream(nID, 0, strName.c_str()));
    ASSERT_EQ(oStreams.FindByName(strName), i);
    oStreams.Replace(i, Stream(nID, pfnParent(nID), strName.c_str()));
  }
  int nSeen = 0;
  for (int nParent = 0; nParent <= nStreams; ++nParent) {
    const auto nParentID = static_cast<std::uint32_t>(nParent);
    for (int n = oStreams.FindChild(nParentID, 0); n >= 0; n = oStreams.FindChild(nParentID, n + 1))
      ++nSeen;
  }
  EXPECT_EQ(nSeen, nStreams);
}

TEST(StreamListTest, StreamCostsHardlyMoreAmongManyThanAmongFew) {
  constexpr int FEW = 500, MANY = 16 * FEW;
  const auto fnOfOneParent = [](std::uint32_t nID) { return nID == 1 ? 0U : 1U; };
  const auto fnNested = [](std::uint32_t nID) { return nID - 1; };
  EXPECT_LE(TEST::CostGrowth(FEW, MANY, [&](int n) { UseList(n, fnOfOneParent); }), 5);
  EXPECT_LE(TEST::CostGrowth(FEW, MANY, [&](int n) { UseList(n, fnNested); }), 5);
}

}  // namespace
}  // namespace TALVEK::MCE

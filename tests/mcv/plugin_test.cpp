#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sstream>
#include <stdexcept>

#include "core/text_codec.h"
#include "mcv/cvs_provider.h"
#include "tests/mcv/log_text.h"
#include "tests/support/environment_scope.h"
#include "tests/support/import_log.h"
#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

namespace fs = std::filesystem;

using MCE::CProvider;
using VCM::CString;

const std::string PLUGIN = TALVEK_LIB_DIR "/talvek-em-cvs.so";

/// The plug-in, loaded as a host loads it.
class CPlugin {
 public:
  CPlugin() : m_pHandle(dlopen(PLUGIN.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (!m_pHandle) throw std::runtime_error(dlerror());
  }
  ~CPlugin() { dlclose(m_pHandle); }
  CPlugin(const CPlugin&) = delete;
  CPlugin& operator=(const CPlugin&) = delete;

  template <class TFunction>
  TFunction* Function(const char* pszName) const {
    return reinterpret_cast<TFunction*>(dlsym(m_pHandle, pszName));
  }
  CProvider* CreateProvider() const {
    return Function<TALVEK_EM_CREATEPROVIDER>("talvek_em_cvs_createprovider")();
  }

 private:
  void* m_pHandle;
};

TEST(PluginTest, ExportsExactlyTwoFunctions) {
  EXPECT_EQ(ShellOutput("nm -D --defined-only " + ShellQuote(PLUGIN) + " | sed 's/^[0-9a-f]* //' | sort"),
            "T talvek_em_cvs_createprovider\nT talvek_em_cvs_getoptions\n");
}

TEST(PluginTest, UsesTheSharedCoreLibrary) {
  const std::string strNeeded =
      ShellOutput("readelf -d " + ShellQuote(PLUGIN) + " | sed -n 's/.*(NEEDED).*\\[\\(.*\\)\\]/\\1/p'");
  EXPECT_NE(("\n" + strNeeded).find("\nlibtalvek-core.so"), std::string::npos) << strNeeded;
  EXPECT_EQ(ShellOutput("nm -C --defined-only " + ShellQuote(PLUGIN) +
                        " | grep -c 'VCM::CString::FormatV(' || true"),
            "0\n");
}

TEST(PluginTest, NamesItsTypeBeforeAnyProviderExists) {
  const CPlugin oPlugin;
  wchar_t szName[] = L"??????", szDisplayName[] = L"??????";
  unsigned int nFlags = 77;
  oPlugin.Function<TALVEK_EM_GETOPTIONS>("talvek_em_cvs_getoptions")(szName, szDisplayName, &nFlags);
  EXPECT_EQ(std::memcmp(szName, L"cvs\0??", 6 * sizeof(wchar_t)), 0);
  EXPECT_EQ(std::memcmp(szDisplayName, L"CVS\0??", 6 * sizeof(wchar_t)), 0);
  EXPECT_EQ(nFlags, 0u);
}

TEST(PluginTest, CreatesAProviderThatNamesItself) {
  const CPlugin oPlugin;
  CProvider* const poProvider = oPlugin.CreateProvider();
  ASSERT_NE(poProvider, nullptr);
  EXPECT_EQ(Narrow(poProvider->GetName()), "cvs");
  EXPECT_EQ(Narrow(poProvider->GetDisplayName()), "CVS");
  EXPECT_EQ(Narrow(poProvider->GetDescription()), "Streams originally converted from CVS");
  poProvider->Destroy();
}

TEST(PluginTest, StartsNoThread) {
  EXPECT_EQ(ShellOutput("nm -D -C --undefined-only " + ShellQuote(PLUGIN) +
                        " | grep -E 'pthread_create|std::thread|wxThread::(Create|Run)' || true"),
            "");
}

TEST(PluginTest, ProviderDestroyedUnusedLeavesNoFiles) {
  const CPlugin oPlugin;
  oPlugin.CreateProvider()->Destroy();
  EXPECT_FALSE(fs::exists("/tmp/talvek-em-" + std::to_string(getpid()) + ".tdf"));
  EXPECT_FALSE(fs::exists("/tmp/talvek-em-" + std::to_string(getpid()) + ".tlf"));
}

/// The slot that a pointer to a virtual member function stands for.
template <class TMember>
std::size_t SlotOf(TMember pfnMember) {
  std::size_t anWords[2];
  static_assert(sizeof pfnMember == sizeof anWords);
  std::memcpy(anWords, &pfnMember, sizeof anWords);
  return (anWords[0] - 1) / sizeof(void*);
}

TEST(ProviderInterfaceTest, OperationsStandInTheOrderThatHostsCallThemBy) {
  using MCE::CProviderBase;
  EXPECT_EQ(SlotOf(&CProvider::Destroy), 0u);
  EXPECT_EQ(SlotOf(&CProvider::ResetStreams), 1u);
  EXPECT_EQ(SlotOf(&CProvider::GetNextStream), 2u);
  EXPECT_EQ(SlotOf(&CProvider::CheckEnvironment), 3u);
  EXPECT_EQ(SlotOf(&CProvider::EstablishStreams), 4u);
  EXPECT_EQ(SlotOf(&CProvider::ResolveStreamLinkage), 5u);
  EXPECT_EQ(SlotOf(&CProvider::OnBeginStream), 6u);
  EXPECT_EQ(SlotOf(&CProvider::OnFirstChangeset), 7u);
  EXPECT_EQ(SlotOf(&CProvider::OnNextChangeset), 8u);
  EXPECT_EQ(SlotOf(&CProvider::OnProcessChange), 9u);
  EXPECT_EQ(SlotOf(&CProvider::OnFirstChangeItem), 10u);
  EXPECT_EQ(SlotOf(&CProvider::OnNextChangeItem), 11u);
  EXPECT_EQ(SlotOf(&CProvider::EstablishChangesets), 12u);
  EXPECT_EQ(SlotOf(&CProvider::SetProperty), 13u);
  EXPECT_EQ(SlotOf(&CProvider::GetPropertyInfo), 14u);
  EXPECT_EQ(SlotOf(&CProvider::ValidateStringProperty), 15u);
  EXPECT_EQ(SlotOf(&CProvider::InitialiseClients), 16u);
  EXPECT_EQ(SlotOf(&CProvider::RemoveClients), 17u);
  EXPECT_EQ(SlotOf(&CProvider::RetrieveFiles), 18u);
  EXPECT_EQ(SlotOf(&CProvider::LogToConnection), 19u);
  EXPECT_EQ(SlotOf(&CProvider::OpenLog), 20u);
  EXPECT_EQ(SlotOf(&CProvider::IsLogOpen), 21u);
  EXPECT_EQ(SlotOf(&CProvider::GetLogPath), 22u);
  EXPECT_EQ(SlotOf(&CProvider::WriteLog), 23u);
  EXPECT_EQ(SlotOf(&CProvider::LogStreamsAndChanges), 24u);
  // 25 and 26 are the destructors.
  EXPECT_EQ(SlotOf(&CProviderBase::RetrieveChangeFiles), 27u);
  EXPECT_EQ(SlotOf(&CProviderBase::RetrieveChangeItemFile), 28u);
  EXPECT_EQ(SlotOf(&CProviderBase::SearchForStreams), 29u);
  EXPECT_EQ(SlotOf(&CProviderBase::EnumerateChanges), 30u);
}

/// Calls the plug-in's provider as a server does: by the numbers of the slots only.
class PluginSlotTest : public ::testing::Test {
 protected:
  PluginSlotTest() : m_poProvider(m_oPlugin.CreateProvider()) {
    CLogText oLog;
    oLog.File("/repo/mod/src/a.c,v").Name("BR: 1.1.0.2").At("1.2", 9000).At("1.1", 1000).At("1.1.2.1", 5000);
    oLog.File("/repo/mod/b.c,v").At("1.1", 1001);
    WriteFile(m_oFolder / "saved.rlog", oLog.Text());
    WriteFile(m_oFolder / "cvs", "#!/bin/sh\necho \"$@\" >> '" + (m_oFolder / "calls").string() + "'\n");
    fs::permissions(m_oFolder / "cvs", fs::perms::owner_all);
    fs::create_directories(m_oFolder / "client/Main");
    Set(L"LogFile", (m_oFolder / "saved.rlog").string());
    Set(L"ReposPath", "/repo");
    Set(L"ModuleName", "mod");
    Set(L"CVSPath", (m_oFolder / "cvs").string());
    Set(L"CreateBranches", "1");
  }
  ~PluginSlotTest() override {
    if (m_poProvider) Call<void>(0);
  }

  /// Calls slot n of the virtual table. The calling convention of a member function is that of a function
  /// whose first argument is the object.
  template <class TResult, class... TArguments>
  TResult Call(int nSlot, TArguments... oArguments) {
    return reinterpret_cast<TResult (*)(void*, TArguments...)>(Table()[nSlot])(m_poProvider, oArguments...);
  }
  void** Table() const { return *reinterpret_cast<void***>(m_poProvider); }

  void Set(const wchar_t* pszKey, const std::string& strValue) {
    const CString strKey = pszKey, strWide = VCM::FromBytes(strValue);
    Call<void, const CString&, const CString&>(13, strKey, strWide);
  }
  unsigned EstablishStreams() {
    unsigned nCount = 0;
    EXPECT_EQ((Call<int, unsigned&>(4, nCount)), 0);
    return nCount;
  }
  void BeginStream(unsigned nStreamID) {
    EXPECT_EQ((Call<int, unsigned, const wchar_t*>(6, nStreamID, WorkFolder().c_str())), 0);
  }
  CString WorkFolder() const { return VCM::FromBytes((m_oFolder / "client/Main").string()); }
  static std::string DescribeResult(int nResult, const CProvider::TChangeInfo& tChange) {
    return nResult == 0 ? std::to_string(tChange.nTime) : "result " + std::to_string(nResult);
  }
  std::string FirstChange() {
    CProvider::TChangeInfo tChange;
    return DescribeResult(Call<int, CProvider::TChangeInfo&>(7, tChange), tChange);
  }
  std::string NextChange() {
    CProvider::TChangeInfo tChange;
    return DescribeResult(Call<int, CProvider::TChangeInfo&>(8, tChange), tChange);
  }
  void InitialiseClients() {
    const CString strFolder = VCM::FromBytes((m_oFolder / "client").string());
    EXPECT_TRUE((Call<bool, const CString&>(16, strFolder)));
  }
  std::string Log() {
    const CString strPath = Call<CString>(22);
    return strPath.IsEmpty() ? "" : ReadFile(Narrow(strPath));
  }
  std::string Calls() const { return fs::exists(m_oFolder / "calls") ? ReadFile(m_oFolder / "calls") : ""; }
  static bool DatabaseExists() { return fs::exists("/tmp/talvek-em-" + std::to_string(getpid()) + ".tdf"); }

  CTempFolder m_oFolder;
  CTempFolder m_oTemporaryFiles;
  CEnvironmentScope m_oTmpDir{"TMPDIR", m_oTemporaryFiles.Path().string()};
  CPlugin m_oPlugin;
  CProvider* m_poProvider;
};

TEST_F(PluginSlotTest, Slot0EndsTheProviderAndRemovesItsDatabase) {
  EstablishStreams();
  EXPECT_TRUE(DatabaseExists());
  Call<void>(0);
  m_poProvider = nullptr;
  EXPECT_FALSE(DatabaseExists());
}

TEST_F(PluginSlotTest, Slot0DoesNothingOnANullObject) {
  reinterpret_cast<void (*)(void*)>(Table()[0])(nullptr);
  EXPECT_EQ(EstablishStreams(), 2u);
}

TEST_F(PluginSlotTest, Slot1ForgetsTheStreams) {
  EXPECT_EQ(EstablishStreams(), 2u);
  Set(L"CreateBranches", "0");
  EXPECT_EQ(EstablishStreams(), 2u);
  Call<void>(1);
  EXPECT_EQ(EstablishStreams(), 1u);
}

TEST_F(PluginSlotTest, Slot2WalksTheStreamsByParent) {
  MCE::POSITION* poPosition = nullptr;
  CProvider::TStreamInfo tStream;
  const auto Next = [&](unsigned nParentID) {
    return Call<int, MCE::POSITION*&, CProvider::TStreamInfo&, unsigned>(2, poPosition, tStream, nParentID);
  };
  EXPECT_EQ(Next(0), 0);
  EXPECT_EQ(Narrow(tStream.strName), "Main");
  EXPECT_EQ(Next(0), 2);
  poPosition = nullptr;
  EXPECT_EQ(Next(1), 0);
  EXPECT_EQ(Narrow(tStream.strName), "BR");
  EXPECT_EQ(Next(1), 2);
}

TEST_F(PluginSlotTest, Slot3ChecksTheEnvironment) {
  CString strMessage;
  EXPECT_EQ((Call<int, CString&>(3, strMessage)), 0);
  Set(L"CVSPath", "/nonexistent/cvs");
  EXPECT_EQ((Call<int, CString&>(3, strMessage)), 1);
  EXPECT_EQ(Narrow(strMessage),
            "The file '/nonexistent/cvs' doesn't seem to exist (ignore if cvs/cvs.exe is "
            "somewhere on your PATH)");
}

TEST_F(PluginSlotTest, Slot4EstablishesTheStreams) {
  unsigned nCount = 0;
  EXPECT_EQ((Call<int, unsigned&>(4, nCount)), 0);
  EXPECT_EQ(nCount, 2u);
}

TEST_F(PluginSlotTest, Slot5LinksTheStreamsToTheirBaseChanges) {
  EstablishStreams();
  EXPECT_EQ(Call<int>(5), 0);
  MCE::POSITION* poPosition = nullptr;
  CProvider::TStreamInfo tStream;
  ASSERT_EQ((Call<int, MCE::POSITION*&, CProvider::TStreamInfo&, unsigned>(2, poPosition, tStream, 1)), 0);
  EXPECT_EQ(tStream.nBaseChangeID, 1u);
}

TEST_F(PluginSlotTest, Slot6SelectsTheStream) {
  EstablishStreams();
  BeginStream(2);
  EXPECT_EQ(FirstChange(), "5000");
  BeginStream(1);
  EXPECT_EQ(FirstChange(), "1001");
}

TEST_F(PluginSlotTest, Slots7And8WalkTheChangesets) {
  EstablishStreams();
  BeginStream(1);
  EXPECT_EQ(FirstChange(), "1001");
  EXPECT_EQ(NextChange(), "9000");
  EXPECT_EQ(NextChange(), "result 2");
  EXPECT_EQ(FirstChange(), "1001");
}

TEST_F(PluginSlotTest, Slot9MakesTheItemWalkRetrieveFiles) {
  EstablishStreams();
  InitialiseClients();
  BeginStream(1);
  EXPECT_EQ(FirstChange(), "1001");
  CProvider::TChangeInfo tChange;
  CProvider::TChangeItemInfo tItem;
  EXPECT_EQ((Call<int, CProvider::TChangeItemInfo&>(10, tItem)), 0);
  EXPECT_EQ(Calls(), "");
  EXPECT_EQ((Call<int, CProvider::TChangeInfo&>(9, tChange)), 0);
  EXPECT_EQ((Call<int, CProvider::TChangeItemInfo&>(10, tItem)), 0);
  EXPECT_EQ(Calls(), "-d /repo checkout -r 1.1 -d Main/src mod/src/a.c\n");
}

TEST_F(PluginSlotTest, Slots10And11WalkTheItems) {
  EstablishStreams();
  BeginStream(1);
  EXPECT_EQ(FirstChange(), "1001");
  CProvider::TChangeItemInfo tItem;
  EXPECT_EQ((Call<int, CProvider::TChangeItemInfo&>(10, tItem)), 0);
  EXPECT_EQ(Narrow(tItem.oFilePath.GeneratePath()), "src/a.c");
  EXPECT_EQ((Call<int, CProvider::TChangeItemInfo&>(11, tItem)), 0);
  EXPECT_EQ(Narrow(tItem.oFilePath.GeneratePath()), "b.c");
  EXPECT_EQ((Call<int, CProvider::TChangeItemInfo&>(11, tItem)), 2);
}

TEST_F(PluginSlotTest, Slot12EstablishesTheChangesets) {
  EstablishStreams();
  unsigned nCount = 0;
  EXPECT_EQ((Call<int, unsigned&>(12, nCount)), 0);
  EXPECT_EQ(nCount, 3u);
}

TEST_F(PluginSlotTest, Slot13SetsAPropertyAndSlot14ShowsTheTable) {
  Set(L"CVSPath", "/nonexistent/other");
  CString strMessage;
  EXPECT_EQ((Call<int, CString&>(3, strMessage)), 1);
  EXPECT_GE(strMessage.Find(CString(L"/nonexistent/other")), 0);
  std::string strKeys;
  for (const auto* ptInfo = Call<const MCE::TPropertyInfo*>(14); ptInfo->pszLabel; ++ptInfo)
    strKeys += Narrow(ptInfo->pszKey) + " ";
  EXPECT_EQ(strKeys,
            "CVSPath ReposPath ModuleName StartDate EndDate StreamsForTags CreateBranches NestedBranches "
            "ForceFileByFile IncludeTags ExcludeTags CmdRepeatCount LogFile ");
}

TEST_F(PluginSlotTest, Slot15AcceptsEveryPropertyAndChangesNoText) {
  CString strValue = L"value", strMessage = L"message";
  EXPECT_TRUE((Call<bool, const wchar_t*, CString&, CString&>(15, L"CVSPath", strValue, strMessage)));
  EXPECT_EQ(Narrow(strValue), "value");
  EXPECT_EQ(Narrow(strMessage), "message");
}

TEST_F(PluginSlotTest, Slot16TakesTheClientFolderAndSlot17LeavesIt) {
  const CString strNoPath(std::wstring_view(L"/a\0b", 4));
  EXPECT_FALSE((Call<bool, const CString&>(16, strNoPath)));
  InitialiseClients();
  EXPECT_TRUE(Call<bool>(17));
  EXPECT_TRUE(fs::exists(m_oFolder / "client"));
}

TEST_F(PluginSlotTest, Slot18ChecksOutTheModule) {
  EstablishStreams();
  InitialiseClients();
  BeginStream(2);
  EXPECT_TRUE((Call<bool, unsigned>(18, 5000)));
  EXPECT_EQ(Calls(), "-d /repo checkout -r BR -D 1970/01/01 01:23:20 UTC -d BR mod\n");
}

/// Stores the lines that it receives.
class CListener : public VRM::CConnection, public VRO::CReposView {
 public:
  void Message(const wchar_t* pszFormat, ...) override {
    va_list args;
    va_start(args, pszFormat);
    CString strMessage;
    strMessage.FormatV(pszFormat, args);
    va_end(args);
    m_strReceived += Narrow(strMessage);
  }
  VRM::CConnection* GetConnection() const override { return const_cast<CListener*>(this); }

  std::string m_strReceived;
};

TEST_F(PluginSlotTest, Slot19SendsTheLogToTheConnection) {
  const auto poListener = std::make_shared<CListener>();
  m_poProvider->SetRepositoryView(VRW::TObjectInvokeRef<VRO::CReposView>(poListener));
  Call<void>(19);
  Set(L"LogFile", "/nonexistent/log");
  EXPECT_FALSE(Call<bool>(29));
  EXPECT_EQ(WithoutSeconds(poListener->m_strReceived),
            "Generating Log\n"
            "Using log file '/nonexistent/log'.\n"
            "Failed to create file input stream.\n"
            "Generated Log\n"
            "Failed to get input stream after generating log.\n");
}

TEST_F(PluginSlotTest, Slot19OpensTheLogWithoutAFile) {
  Call<void>(19);
  EXPECT_TRUE(Call<bool>(21));
  EXPECT_TRUE(Call<CString>(22).IsEmpty());
}

TEST_F(PluginSlotTest, Slot20OpensTheLogAndSlot21Tells) {
  EXPECT_FALSE(Call<bool>(21));
  Call<void, bool>(20, true);
  EXPECT_TRUE(Call<bool>(21));
  Call<void, bool>(20, false);
  EXPECT_FALSE(Call<bool>(21));
}

TEST_F(PluginSlotTest, Slot22ClosesTheLogAndGivesItsPath) {
  Call<void, bool>(20, true);
  const CString strPath = Call<CString>(22);
  EXPECT_FALSE(Call<bool>(21));
  EXPECT_TRUE(ReadFile(Narrow(strPath)).ends_with(": Beginning Import with CVS\n"));
}

TEST_F(PluginSlotTest, Slot23WritesAFormattedLine) {
  Call<void, bool>(20, true);
  reinterpret_cast<void (*)(void*, const wchar_t*, ...)>(Table()[23])(m_poProvider, L"%s is %d", L"answer",
                                                                      42);
  EXPECT_TRUE(Log().ends_with(": answer is 42\n"));
}

TEST_F(PluginSlotTest, Slot24LogsStreamsAndChanges) {
  EstablishStreams();
  Call<void, bool>(20, true);
  Call<void>(24);
  EXPECT_EQ(WithoutSeconds(Log()),
            "Beginning Import with CVS\n"
            "Processing stream 'Main' (id=1,parentid=0,destpath=,srcpath=,basechangeid=0)\n"
            "\tChange (count=1,id=1,providerid=0,user=joe,time=1970-01-01 00:16:41 UTC,comment=work,"
            "basetime=1970-01-01 00:16:40 UTC(1000),maxtime=1970-01-01 01:23:20 UTC(5000))\n"
            "\tChange (count=2,id=3,providerid=0,user=joe,time=1970-01-01 02:30:00 UTC,comment=work,"
            "basetime=1970-01-01 02:30:00 UTC(9000),maxtime=2106-02-07 06:28:15 UTC(-1))\n"
            "Processing stream 'BR' (id=2,parentid=1,destpath=,srcpath=,basechangeid=0)\n"
            "\tChange (count=1,id=2,providerid=0,user=joe,time=1970-01-01 01:23:20 UTC,comment=work,"
            "basetime=1970-01-01 01:23:20 UTC(5000),maxtime=1970-01-01 02:30:00 UTC(9000))\n");
}

TEST_F(PluginSlotTest, Slot25DestroysWithoutFreeing) {
  EstablishStreams();
  EXPECT_TRUE(DatabaseExists());
  Call<void>(25);
  EXPECT_FALSE(DatabaseExists());
  ::operator delete(static_cast<void*>(m_poProvider), sizeof(MCV::CProvider));
  m_poProvider = nullptr;
}

TEST_F(PluginSlotTest, Slot26DestroysAndFrees) {
  EstablishStreams();
  EXPECT_TRUE(DatabaseExists());
  Call<void>(26);
  m_poProvider = nullptr;
  EXPECT_FALSE(DatabaseExists());
}

TEST_F(PluginSlotTest, Slot27ChecksOutALargeChangeAsAWhole) {
  EstablishStreams();
  InitialiseClients();
  BeginStream(1);
  MCE::TChangeRecord tChange;
  tChange.nTime = 5000;
  tChange.nNextItem = 31;
  EXPECT_EQ((Call<int, const MCE::TChangeRecord&>(27, tChange)), 0);
  EXPECT_EQ(Calls(), "-d /repo checkout -D 1970/01/01 01:23:20 UTC -d Main mod\n");
}

TEST_F(PluginSlotTest, Slot28StampsTheItemsFile) {
  WriteFile(m_oFolder / "target", "content");
  MCE::TChangeItemRecord tItem;
  tItem.oTimestamp.Set(1000000000);
  const CString strTarget = VCM::FromBytes((m_oFolder / "target").string());
  EXPECT_EQ((Call<int, const MCE::TChangeItemRecord&, const CString&>(28, tItem, strTarget)), 0);
  EXPECT_EQ(ShellOutput("stat -c %Y " + ShellQuote((m_oFolder / "target").string())), "1000000000\n");
}

TEST_F(PluginSlotTest, Slot29SearchesForStreams) {
  EXPECT_TRUE(Call<bool>(29));
  Set(L"LogFile", "/nonexistent/log");
  EXPECT_FALSE(Call<bool>(29));
}

TEST_F(PluginSlotTest, Slot30EnumeratesNothing) {
  EXPECT_TRUE(Call<bool>(30));
  unsigned nCount = 77;
  EXPECT_EQ((Call<int, unsigned&>(12, nCount)), 0);
  EXPECT_EQ(nCount, 0u);
}

/// The functions of the plug-in, "ADDRESS type name" a line, sorted.
std::string FunctionsOfThePlugin() {
  return ShellOutput("nm -C --defined-only " + ShellQuote(PLUGIN) + " | grep -i ' [tw] ' | sort");
}

// For each slot, the class whose function it must hold. Hosts may rely on inherited behaviour.
TEST_F(PluginSlotTest, EverySlotHoldsTheFunctionOfTheClassThatItComesFrom) {
  const char* const apszFunctions[] = {
      "MCE::CProviderBase::Destroy()",
      "MCE::CProviderBase::ResetStreams()",
      "MCE::CProviderBase::GetNextStream(",
      "MCV::CProvider::CheckEnvironment(",
      "MCE::CProviderBase::EstablishStreams(",
      "MCV::CProvider::ResolveStreamLinkage()",
      "MCE::CProviderBase::OnBeginStream(",
      "MCE::CProviderBase::OnFirstChangeset(",
      "MCE::CProviderBase::OnNextChangeset(",
      "MCE::CProviderBase::OnProcessChange(",
      "MCE::CProviderBase::OnFirstChangeItem(",
      "MCE::CProviderBase::OnNextChangeItem(",
      "MCE::CProviderBase::EstablishChangesets(",
      "MCE::CProviderBase::SetProperty(",
      "MCV::CProvider::GetPropertyInfo()",
      "MCE::CProvider::ValidateStringProperty(",
      "MCV::CProvider::InitialiseClients(",
      "MCV::CProvider::RemoveClients()",
      "MCV::CProvider::RetrieveFiles(",
      "MCE::CProviderBase::LogToConnection()",
      "MCE::CProviderBase::OpenLog(",
      "MCE::CProviderBase::IsLogOpen() const",
      "MCE::CProviderBase::GetLogPath()",
      "MCE::CProviderBase::WriteLog(",
      "MCE::CProviderBase::LogStreamsAndChanges()",
      "MCV::CProvider::~CProvider()",
      "MCV::CProvider::~CProvider()",
      "MCV::CProvider::RetrieveChangeFiles(",
      "MCV::CProvider::RetrieveChangeItemFile(",
      "MCV::CProvider::SearchForStreams()",
      "MCV::CProvider::EnumerateChanges()",
  };
  const std::string strFunctions = "\n" + FunctionsOfThePlugin();
  int nSlot = 0;
  for (const char* pszFunction : apszFunctions) {
    Dl_info tInfo{};
    ASSERT_NE(dladdr(Table()[nSlot], &tInfo), 0) << nSlot;
    char szAddress[32];
    std::snprintf(
        szAddress, sizeof szAddress, "\n%016zx ",
        static_cast<std::size_t>(static_cast<char*>(Table()[nSlot]) - static_cast<char*>(tInfo.dli_fbase)));
    // Functions with the same code may share their address: one of the lines must name the one expected.
    const std::size_t nFirst = strFunctions.find(szAddress);
    ASSERT_NE(nFirst, std::string::npos) << nSlot;
    const std::size_t nEnd = strFunctions.find('\n', strFunctions.rfind(szAddress) + 1);
    const std::string strNames = strFunctions.substr(nFirst, nEnd - nFirst);
    EXPECT_NE(strNames.find(std::string(" TALVEK::") + pszFunction), std::string::npos)
        << "slot " << nSlot << " is" << strNames;
    ++nSlot;
  }
}

// The table is that of the plug-in's class, not one that is exported or shared.
TEST_F(PluginSlotTest, TableIsThePluginsOwn) {
  for (int nSlot = 0; nSlot <= 30; ++nSlot) {
    Dl_info tInfo{};
    ASSERT_NE(dladdr(Table()[nSlot], &tInfo), 0) << nSlot;
    EXPECT_EQ(fs::canonical(tInfo.dli_fname), fs::canonical(PLUGIN)) << nSlot;
  }
}

}  // namespace
}  // namespace TALVEK::TEST

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>

#include "core/database.h"
#include "core/database_store.h"
#include "core/text_codec.h"
#include "tests/core/database_records.h"
#include "tests/support/child_process.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/temp_folder.h"

// What happens when the store can't grow any more.
namespace TALVEK::TEST {

using VCM::CString;
using VDB::CDatabase;
using VDB::CDatabaseFactory;
using VDB::CDatabaseFiles;
using VDB::CDatabaseStore;
using VDB::CIterator;

namespace {

/// A database whose data file can't exceed `nBytes`.
std::unique_ptr<CDatabase> CreateSmall(const std::filesystem::path& oPath, std::size_t nBytes) {
  CString strError;
  auto poFiles = CDatabaseFiles::Open(oPath.string(), true, geteuid(), strError);
  return poFiles ? CDatabaseStore::Open(std::move(poFiles), nBytes, strError) : nullptr;
}

/// Commits two rows, which must survive the failures. Returns their list.
std::string CommitSome(CDatabase& oDatabase) {
  TEventSession tEvents(oDatabase);
  tEvents.Add(1, 1, L"kept");
  tEvents.Add(1, 0, L"kept too");
  return tEvents.Commit() ? "1:1/1 kept\n2:1/0 kept too\n" : "not committed";
}

/// From now on mmap of a file fails with `nError` in this process when it asks for `nLeastUnits` times 4 GB
/// or more.
bool RefuseFileMaps(std::uint32_t nLeastUnits, std::uint32_t nError) {
  constexpr std::uint32_t ARGUMENTS = offsetof(seccomp_data, args);
  constexpr std::uint32_t UPPER_HALF_OF_SIZE = ARGUMENTS + 1 * sizeof(std::uint64_t) + 4;
  constexpr std::uint32_t FLAGS = ARGUMENTS + 3 * sizeof(std::uint64_t);
  sock_filter atFilter[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_mmap, 0, 5),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, FLAGS),
      BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, MAP_ANONYMOUS, 3, 0),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, UPPER_HALF_OF_SIZE),
      BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, nLeastUnits, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | nError),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog tProgram = {std::size(atFilter), atFilter};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &tProgram) == 0;
}

}  // namespace

// Each size makes another write fail, sometimes that of a row, sometimes that of an index entry.
TEST(DatabaseFullTest, FailedWriteSpoilsItsTransactionAndNothingElse) {
  CTempFolder oFolder;
  const auto nPage = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  for (std::size_t nPages = 20; nPages < 120; ++nPages) {
    SCOPED_TRACE(std::to_string(nPages) + " pages");
    const auto poDatabase = CreateSmall(oFolder / "db", nPages * nPage);
    ASSERT_NE(poDatabase, nullptr);
    const std::string strKept = CommitSome(*poDatabase);
    {
      TEventSession tEvents(*poDatabase);
      TEvent tEvent;
      std::uint32_t nAdded = 2;
      tEvent = {99, nPages % 3 == 0 ? 5U : 0U, 0, CString(std::wstring(nPages, L'x'))};
      while (tEvents.poById->Add(tEvent) && nAdded < 100'000) {
        ASSERT_EQ(tEvent.nId, ++nAdded);
        tEvent.nTime = nAdded * 2654435761U;
      }
      ASSERT_LT(nAdded, 100'000U);
      EXPECT_EQ(tEvent.nId, nAdded);  // a refused row takes no ID
      EXPECT_EQ(VCM::ToUtf8(poDatabase->GetLastErrorText()),
                (oFolder / "db.tdf").string() +
                    ": can't write: the data file is as large as the address space reserved for it");
      TEvent tFirst = {1, 0, 0, L"changed"};
      EXPECT_FALSE(tEvents.poById->Update(tFirst));
      EXPECT_FALSE(tEvents.poById->Add(tFirst));
      EXPECT_FALSE(tEvents.poById->GetEqual(tFirst));
      EXPECT_FALSE(tEvents.poByTime->GetGTE(tFirst));
      EXPECT_FALSE(CIterator<TEvent>(tEvents.oTable, 0, tEvents.oTransaction).IsOpen());
      EXPECT_FALSE(tEvents.Commit());
    }
    TEventSession tEvents(*poDatabase);
    EXPECT_EQ(tEvents.List(0), strKept);
    EXPECT_EQ(tEvents.List(1), "2:1/0 kept too\n1:1/1 kept\n");
    EXPECT_EQ(tEvents.Add(7, 7, L"goes on"), 3U);
    EXPECT_TRUE(tEvents.Commit());
  }
}

TEST(DatabaseFullTest, FailedUpdateSpoilsItsTransactionAndNothingElse) {
  CTempFolder oFolder;
  const auto poDatabase = CreateSmall(oFolder / "db", std::size_t{1} << 20);
  ASSERT_NE(poDatabase, nullptr);
  const std::string strKept = CommitSome(*poDatabase);
  {
    TEventSession tEvents(*poDatabase);
    EXPECT_FALSE(tEvents.Update({1, 0, 0, CString(std::wstring(2 << 20, L'x'))}));
    EXPECT_FALSE(tEvents.Update({2, 0, 0, L"small"}));
    EXPECT_FALSE(tEvents.Commit());
  }
  EXPECT_EQ(ListEvents(*poDatabase), strKept);
}

TEST(DatabaseFullTest, CommitOnAFullDiskIsFalseAndKeepsWhatWasCommitted) {
  CTempFolder oFolder;
  const auto fnFill = [&] {
    const CFileSizeLimitScope oLimit(1 << 20);
    const auto poDatabase = CDatabaseFactory::Create(NewDatabase(oFolder / "db"));
    if (!poDatabase) return 2;
    const std::string strKept = CommitSome(*poDatabase);
    {
      TEventSession tEvents(*poDatabase);
      for (std::uint32_t i = 0; i < 20'000; ++i) {
        if (tEvents.Add(i, i, L"some words to fill the disk with, and then some more of them") != i + 3) {
          return 3;
        }
      }
      if (tEvents.Commit()) return 4;
      if (tEvents.oTransaction.IsOpen()) return 5;
    }
    const std::string strError = VCM::ToUtf8(poDatabase->GetLastErrorText());
    if (strError.find("/db.tdf: can't commit: ") == std::string::npos) return 6;
    if (ListEvents(*poDatabase) != strKept) return 7;
    TEventSession tEvents(*poDatabase);
    if (tEvents.Add(9, 9, L"small") != 3) return 8;
    return tEvents.Commit() ? 0 : 9;
  };
  EXPECT_EQ(RunInChild(fnFill), 0);
  const auto poDatabase = CDatabaseFactory::Create(OldDatabase(oFolder / "db"));
  ASSERT_NE(poDatabase, nullptr);
  EXPECT_EQ(ListEvents(*poDatabase), "1:1/1 kept\n2:1/0 kept too\n3:9/9 small\n");
}

TEST(DatabaseFullTest, ScarceAddressesStillGiveADatabase) {
  CTempFolder oFolder;
  const auto fnUse = [&] {
    std::size_t nPages = 0;
    std::ifstream("/proc/self/statm") >> nPages;
    const rlim_t nLimit = nPages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + (511UL << 20);
    const rlimit tLimit = {nLimit, nLimit};
    if (setrlimit(RLIMIT_AS, &tLimit) != 0) return 1;
    const auto poDatabase = CDatabaseFactory::Create(NewDatabase(oFolder / "db"));
    if (!poDatabase) return 2;
    // The map must leave address space for the rest of the process.
    void* pRest = mmap(nullptr, 300UL << 20, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pRest == MAP_FAILED) return 5;
    munmap(pRest, 300UL << 20);
    TEventSession tEvents(*poDatabase);
    for (std::uint32_t i = 0; i < 50'000; ++i) {
      if (tEvents.Add(1, i, L"x") != i + 1) return 3;
    }
    return tEvents.Commit() ? 0 : 4;
  };
  EXPECT_EQ(RunInChild(fnUse), 0);
}

// valgrind answers EINVAL when it has no room for a map.
TEST(DatabaseFullTest, LargeMapThatIsCalledInvalidGivesASmallerDatabase) {
  CTempFolder oFolder;
  const auto fnUse = [&] {
    if (!RefuseFileMaps(1, EINVAL)) return 1;
    const auto poDatabase = CDatabaseFactory::Create(NewDatabase(oFolder / "db"));
    if (!poDatabase) return 2;
    const std::string strKept = CommitSome(*poDatabase);
    return ListEvents(*poDatabase) == strKept ? 0 : 3;
  };
  EXPECT_EQ(RunInChild(fnUse), 0);
}

TEST(DatabaseFullTest, WithoutAMapOfAnySizeThereIsTheReason) {
  CTempFolder oFolder;
  const auto fnFail = [&] {
    if (!RefuseFileMaps(0, ENOMEM)) return 1;
    CString strError;
    if (CDatabaseFactory::Create(NewDatabase(oFolder / "db"), &strError)) return 2;
    const std::string strWanted = (oFolder / "db.tdf").string() + ": Cannot allocate memory";
    return VCM::ToUtf8(strError) == strWanted ? 0 : 3;
  };
  EXPECT_EQ(RunInChild(fnFail), 0);
}

}  // namespace TALVEK::TEST

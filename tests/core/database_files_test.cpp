#include "core/database_files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "core/database.h"
#include "core/text_codec.h"
#include "tests/core/database_records.h"
#include "tests/support/child_process.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/temp_folder.h"

// The two files of a database: their owner, who is refused, and what remains after failures.
namespace TALVEK::TEST {

using VCM::CString;
using VDB::CDatabase;
using VDB::CDatabaseFactory;
using VDB::CDatabaseFiles;

namespace {

class DatabaseFilesTest : public testing::Test {
 protected:
  std::unique_ptr<CDatabase> Create() { return CDatabaseFactory::Create(NewDatabase(m_oPath), &m_strError); }
  std::unique_ptr<CDatabase> OpenOld() { return CDatabaseFactory::Create(OldDatabase(m_oPath), &m_strError); }
  std::string Error() const { return VCM::ToUtf8(m_strError); }
  std::string Lock() const { return m_oPath.string() + ".tlf"; }
  std::string Data() const { return m_oPath.string() + ".tdf"; }

  std::vector<std::string> Names() const {
    std::vector<std::string> astrNames;
    for (const auto& oEntry : std::filesystem::directory_iterator(m_oFolder.Path())) {
      astrNames.push_back(oEntry.path().filename().string());
    }
    std::sort(astrNames.begin(), astrNames.end());
    return astrNames;
  }

  CTempFolder m_oFolder;
  std::filesystem::path m_oPath = m_oFolder / "db";
  CString m_strError;
};

using TNames = std::vector<std::string>;

mode_t ModeOf(const std::string& strPath) {
  struct stat tStat = {};
  return lstat(strPath.c_str(), &tStat) == 0 ? tStat.st_mode : 0;
}

class CMask {
 public:
  explicit CMask(mode_t nMask) : m_nFormer(umask(nMask)) {}
  ~CMask() { umask(m_nFormer); }

 private:
  mode_t m_nFormer;
};

}  // namespace

TEST_F(DatabaseFilesTest, ThereAreTwoFilesAndTheLockNamesTheOwner) {
  {
    auto poDatabase = Create();
    ASSERT_NE(poDatabase, nullptr) << Error();
    TEventSession tEvents(*poDatabase);
    tEvents.Add(1, 1);
    tEvents.Commit();
    EXPECT_EQ(Names(), (TNames{"db.tdf", "db.tlf"}));
    EXPECT_EQ(ReadFile(Lock()), std::to_string(getpid()) + "\n");
  }
  EXPECT_EQ(Names(), (TNames{"db.tdf", "db.tlf"}));
}

TEST_F(DatabaseFilesTest, FilesAreTheOwnersAloneWhateverTheMask) {
  for (const mode_t nMask : {0U, 022U, 0777U}) {
    const CMask oMask(nMask);
    const auto poDatabase = Create();
    ASSERT_NE(poDatabase, nullptr) << Error();
    EXPECT_EQ(ModeOf(Lock()), static_cast<mode_t>(S_IFREG | 0600)) << nMask;
    EXPECT_EQ(ModeOf(Data()), static_cast<mode_t>(S_IFREG | 0600)) << nMask;
    std::filesystem::remove(Lock());
  }
}

TEST_F(DatabaseFilesTest, LeftoversOpenToOthersAreClosedToThem) {
  WriteFile(Lock(), "");
  WriteFile(Data(), "");
  chmod(Lock().c_str(), 0666);
  chmod(Data().c_str(), 0666);
  const auto poDatabase = Create();
  ASSERT_NE(poDatabase, nullptr) << Error();
  EXPECT_EQ(ModeOf(Lock()), static_cast<mode_t>(S_IFREG | 0600));
  EXPECT_EQ(ModeOf(Data()), static_cast<mode_t>(S_IFREG | 0600));
}

TEST_F(DatabaseFilesTest, SecondOwnerInThisProcessGetsNothing) {
  auto poFirst = Create();
  ASSERT_NE(poFirst, nullptr);
  EXPECT_EQ(Create(), nullptr);
  EXPECT_EQ(Error(), Lock() + ": is in use by process " + std::to_string(getpid()));
  EXPECT_EQ(OpenOld(), nullptr);
  EXPECT_EQ(Create(), nullptr);  // the refused attempts haven't released the lock
  EXPECT_EQ(ReadFile(Lock()), std::to_string(getpid()) + "\n");
  poFirst.reset();
  EXPECT_NE(Create(), nullptr);
}

TEST_F(DatabaseFilesTest, SecondOwnerInAnotherProcessGetsNothing) {
  const auto poFirst = Create();
  ASSERT_NE(poFirst, nullptr);
  TEventSession(*poFirst).Commit();
  const std::string strWanted = Lock() + ": is in use by process " + std::to_string(getpid());
  EXPECT_EQ(RunInChild([&] { return Create() ? 1 : Error() == strWanted ? 0 : 2; }), 0);
  EXPECT_EQ(ListEvents(*poFirst), "");
  EXPECT_EQ(Names(), (TNames{"db.tdf", "db.tlf"}));
}

TEST_F(DatabaseFilesTest, FilesOfADeadProcessAreTakenOver) {
  const int nResult = RunInChild([&] {
    static std::unique_ptr<CDatabase> s_poDatabase = Create();
    if (!s_poDatabase) return 1;
    TEventSession tEvents(*s_poDatabase);
    tEvents.Add(1, 1, L"of the dead");
    if (!tEvents.Commit()) return 2;
    new TEventSession(*s_poDatabase);
    _exit(0);
  });
  ASSERT_EQ(nResult, 0);
  ASSERT_EQ(Names(), (TNames{"db.tdf", "db.tlf"}));
  ASSERT_NE(ReadFile(Lock()), std::to_string(getpid()) + "\n");
  const auto poDatabase = Create();
  ASSERT_NE(poDatabase, nullptr) << Error();
  EXPECT_EQ(ReadFile(Lock()), std::to_string(getpid()) + "\n");
  EXPECT_EQ(ListEvents(*poDatabase), "");
}

// Each owner removes the files when it ends, so others often lock a file that has been removed meanwhile. If
// there were two owners at once, the second one couldn't make the mark.
TEST_F(DatabaseFilesTest, ThereIsOneOwnerAtATimeEvenWhileFilesAreRemoved) {
  const std::string strMark = (m_oFolder / "mark").string();
  const auto fnComeAndGo = [&] {
    for (int nTurns = 0; nTurns < 100;) {
      auto poFiles = CDatabaseFiles::Open(m_oPath.string(), true, geteuid(), m_strError);
      if (!poFiles) continue;
      const int nMark = open(strMark.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600);
      if (nMark < 0) return 1;
      close(nMark);
      if (unlink(strMark.c_str()) != 0) return 2;
      if (unlink(Data().c_str()) != 0 || unlink(Lock().c_str()) != 0) return 3;
      poFiles->Keep();  // nothing is left to be removed
      ++nTurns;
    }
    return 0;
  };
  EXPECT_EQ(RunInChildren(4, fnComeAndGo), 0);
  EXPECT_EQ(Names(), TNames{});
}

TEST_F(DatabaseFilesTest, LongerNumberOfAFormerOwnerLeavesNoDigits) {
  WriteFile(Lock(), "123456789012345\nand more\n");
  const auto poDatabase = Create();
  ASSERT_NE(poDatabase, nullptr) << Error();
  EXPECT_EQ(ReadFile(Lock()), std::to_string(getpid()) + "\n");
}

TEST_F(DatabaseFilesTest, SymbolicLinksAreRefusedAndTheirTargetsUntouched) {
  WriteFile(m_oFolder / "target", "precious");
  for (const std::string& strLink : {Lock(), Data()}) {
    for (const char* pszTarget : {"target", "nowhere"}) {
      std::filesystem::create_symlink(m_oFolder / pszTarget, strLink);
      EXPECT_EQ(Create(), nullptr);
      EXPECT_EQ(Error(), strLink + ": is a symbolic link");
      EXPECT_EQ(OpenOld(), nullptr);
      EXPECT_EQ(ReadFile(m_oFolder / "target"), "precious");
      EXPECT_EQ(ModeOf(strLink) & S_IFMT, static_cast<mode_t>(S_IFLNK));
      std::filesystem::remove(strLink);
      EXPECT_EQ(Names(), TNames{"target"});
    }
  }
}

TEST_F(DatabaseFilesTest, FilesWithASecondNameAreRefusedAndUntouched) {
  WriteFile(m_oFolder / "target", "precious");
  chmod((m_oFolder / "target").c_str(), 0644);
  for (const std::string& strName : {Lock(), Data()}) {
    std::filesystem::create_hard_link(m_oFolder / "target", strName);
    EXPECT_EQ(Create(), nullptr);
    EXPECT_EQ(Error(), strName + ": has a second name");
    EXPECT_EQ(ReadFile(m_oFolder / "target"), "precious");
    EXPECT_EQ(ModeOf(m_oFolder / "target"), static_cast<mode_t>(S_IFREG | 0644));
    std::filesystem::remove(strName);
    EXPECT_EQ(Names(), TNames{"target"});
  }
}

TEST_F(DatabaseFilesTest, WhatIsNoPlainFileIsRefused) {
  for (const std::string& strName : {Lock(), Data()}) {
    ASSERT_EQ(mkfifo(strName.c_str(), 0600), 0);
    EXPECT_EQ(Create(), nullptr);
    EXPECT_EQ(Error(), strName + ": is no plain file");
    std::filesystem::remove(strName);
    std::filesystem::create_directory(strName);
    EXPECT_EQ(Create(), nullptr);
    EXPECT_TRUE(std::filesystem::is_directory(strName));
    std::filesystem::remove(strName);
    EXPECT_EQ(Names(), TNames{});
  }
}

// Works without root: the files are ours, and Open is told that we are another user.
TEST_F(DatabaseFilesTest, FilesOfAnotherUserAreRefusedAndUntouched) {
  for (const std::string& strName : {Lock(), Data()}) {
    WriteFile(strName, "someone's");
    EXPECT_EQ(CDatabaseFiles::Open(m_oPath.string(), true, geteuid() + 1, m_strError), nullptr);
    EXPECT_EQ(Error(), strName + ": belongs to another user");
    EXPECT_EQ(ReadFile(strName), "someone's");
    std::filesystem::remove(strName);
    EXPECT_EQ(Names(), TNames{});
  }
}

// The same by the public function. Only root can give files away; for others the file stays theirs and is
// replaced.
TEST_F(DatabaseFilesTest, DatabaseTakesOnlyFilesOfItsUser) {
  for (const std::string& strName : {Lock(), Data()}) {
    WriteFile(strName, "someone's");
    const bool bGivenAway = chown(strName.c_str(), 12345, static_cast<gid_t>(-1)) == 0;
    EXPECT_EQ(bGivenAway, geteuid() == 0);
    EXPECT_EQ(Create() == nullptr, bGivenAway);
    EXPECT_EQ(Error(), bGivenAway ? strName + ": belongs to another user" : "");
    EXPECT_EQ(ReadFile(strName) == "someone's", bGivenAway);
    std::filesystem::remove(Lock());
    std::filesystem::remove(Data());
  }
}

TEST_F(DatabaseFilesTest, OpeningNeedsADataFileUnlessItMayBeMade) {
  EXPECT_EQ(OpenOld(), nullptr);
  EXPECT_EQ(Error(), Data() + ": No such file or directory");
  EXPECT_EQ(Names(), TNames{});
}

TEST_F(DatabaseFilesTest, ReopenedDatabaseHasItsRowsAndAnewCreatedOneHasNone) {
  {
    const auto poDatabase = Create();
    TEventSession tEvents(*poDatabase);
    tEvents.Add(1, 1, L"a");
    ASSERT_TRUE(tEvents.Commit());
    TEventSession(*poDatabase).Add(1, 1, L"uncommitted");
  }
  EXPECT_EQ(ListEvents(*OpenOld()), "1:1/1 a\n");
  EXPECT_EQ(ListEvents(*Create()), "");
}

TEST_F(DatabaseFilesTest, DataFileOfAnotherKindIsRefusedAndUntouched) {
  WriteFile(Data(), std::string(10000, 'x'));
  EXPECT_EQ(OpenOld(), nullptr);
  EXPECT_EQ(Error().rfind(Data() + ": ", 0), 0U) << Error();
  EXPECT_EQ(ReadFile(Data()), std::string(10000, 'x'));
  EXPECT_EQ(Names(), TNames{"db.tdf"});
}

TEST_F(DatabaseFilesTest, MissingFolderGivesNoDatabase) {
  m_oPath = m_oFolder / "nowhere/db";
  EXPECT_EQ(Create(), nullptr);
  EXPECT_EQ(Error(), Lock() + ": No such file or directory");
  EXPECT_EQ(Names(), TNames{});
}

TEST_F(DatabaseFilesTest, NameThatIsNoTextIsKept) {
  m_oPath = m_oFolder / "b\xF6se";
  const auto poDatabase = Create();
  ASSERT_NE(poDatabase, nullptr) << Error();
  EXPECT_EQ(Names(), (TNames{"b\xF6se.tdf", "b\xF6se.tlf"}));
}

TEST_F(DatabaseFilesTest, FailedCreationLeavesNothingBehind) {
  const auto fnCreateWith = [&](rlim_t nBytes) {
    return RunInChild([&] {
      const CFileSizeLimitScope oLimit(nBytes);
      if (Create()) return 2;
      return Error().empty() ? 3 : 0;
    });
  };
  for (const rlim_t nBytes : {rlim_t{0}, rlim_t{3}, rlim_t{100}, rlim_t{4096}}) {
    EXPECT_EQ(fnCreateWith(nBytes), 0) << nBytes;
    EXPECT_EQ(Names(), TNames{}) << nBytes;
  }
}

TEST_F(DatabaseFilesTest, ChildrenInheritNoFile) {
  const auto poDatabase = Create();
  ASSERT_NE(poDatabase, nullptr);
  int nOfTheDatabase = 0;
  for (const auto& oEntry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code oIgnored;
    const std::string strFile = std::filesystem::read_symlink(oEntry.path(), oIgnored).string();
    if (strFile != Lock() && strFile != Data()) continue;
    ++nOfTheDatabase;
    EXPECT_EQ(fcntl(std::stoi(oEntry.path().filename().string()), F_GETFD), FD_CLOEXEC) << strFile;
  }
  EXPECT_GE(nOfTheDatabase, 2);
}

TEST_F(DatabaseFilesTest, ClosedDatabaseKeepsNoDescriptor) {
  const auto fnOpenFiles = [] {
    const std::filesystem::directory_iterator itFirst("/proc/self/fd");
    return std::distance(begin(itFirst), end(itFirst));
  };
  const auto nBefore = fnOpenFiles();
  Create().reset();
  {
    const auto poFirst = Create();
    EXPECT_EQ(Create(), nullptr);
  }
  EXPECT_EQ(fnOpenFiles(), nBefore);
}

}  // namespace TALVEK::TEST

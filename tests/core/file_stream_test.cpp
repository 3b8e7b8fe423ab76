#include "core/file_stream.h"

#include <csignal>
#include <cstdint>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include "core/text_codec.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::VFH {
namespace {

using TEST::CTempFolder;

VCM::CString Wide(const std::filesystem::path& oPath) {
  return VCM::FromBytes(oPath.string());
}

std::string ReadSome(wxInputStream& oStream, std::size_t nBytes) {
  std::string strBytes(nBytes, '\0');
  strBytes.resize(oStream.Read(strBytes.data(), nBytes).LastRead());
  return strBytes;
}

bool IsOpenDescriptor(int nDescriptor) {
  return ::fcntl(nDescriptor, F_GETFD) >= 0;
}

TEST(FileReadStreamTest, WholeFileIsRead) {
  const CTempFolder oFolder;
  std::string strBytes(300000, 'x');
  strBytes[70000] = '\0';
  TEST::WriteFile(oFolder / "a", strBytes);
  CFileReadStream oStream(Wide(oFolder / "a"));
  ASSERT_TRUE(oStream.IsOk());
  EXPECT_EQ(ReadSome(oStream, 400000), strBytes);
}

TEST(FileReadStreamTest, EndIsMetOnlyByReadingBeyondTheLastByte) {
  const CTempFolder oFolder;
  TEST::WriteFile(oFolder / "a", "abcdef");
  CFileReadStream oStream(Wide(oFolder / "a"));
  EXPECT_EQ(ReadSome(oStream, 4), "abcd");
  EXPECT_EQ(ReadSome(oStream, 2), "ef");
  EXPECT_FALSE(oStream.Eof());
  EXPECT_EQ(ReadSome(oStream, 1), "");
  EXPECT_TRUE(oStream.Eof());
  EXPECT_EQ(oStream.GetLastError(), wxSTREAM_EOF);
}

TEST(FileReadStreamTest, ShortLastReadIsAtTheEnd) {
  const CTempFolder oFolder;
  TEST::WriteFile(oFolder / "a", "abc");
  CFileReadStream oStream(Wide(oFolder / "a"));
  EXPECT_EQ(ReadSome(oStream, 100), "abc");
  EXPECT_TRUE(oStream.Eof());
}

TEST(FileReadStreamTest, BytesAreReadOneByOneToo) {
  const CTempFolder oFolder;
  TEST::WriteFile(oFolder / "a", "a\xff");
  CFileReadStream oStream(Wide(oFolder / "a"));
  EXPECT_EQ(oStream.Peek(), 'a');
  EXPECT_EQ(oStream.GetC(), 'a');
  EXPECT_EQ(oStream.GetC(), 0xff);
  EXPECT_EQ(oStream.GetC(), wxEOF);
}

TEST(FileReadStreamTest, TellsHowFarItHasRead) {
  const CTempFolder oFolder;
  TEST::WriteFile(oFolder / "a", "abcdef");
  CFileReadStream oStream(Wide(oFolder / "a"));
  EXPECT_EQ(oStream.TellI(), 0);
  EXPECT_EQ(ReadSome(oStream, 4), "abcd");
  EXPECT_EQ(oStream.TellI(), 4);
  oStream.Ungetch("cd", 2);
  EXPECT_EQ(oStream.TellI(), 2);
  EXPECT_EQ(ReadSome(oStream, 9), "cdef");
  EXPECT_EQ(oStream.TellI(), 6);
  EXPECT_EQ(CFileReadStream(Wide(oFolder / "none")).TellI(), wxInvalidOffset);
}

TEST(FileReadStreamTest, MissingFileIsNotOk) {
  const CTempFolder oFolder;
  CFileReadStream oStream(Wide(oFolder / "none"));
  EXPECT_FALSE(oStream.IsOk());
  EXPECT_FALSE(oStream.Eof());
  EXPECT_EQ(ReadSome(oStream, 10), "");
  EXPECT_EQ(oStream.GetLastError(), wxSTREAM_READ_ERROR);
}

TEST(FileReadStreamTest, UnopenedStreamStaysUnreadableAfterReset) {
  CFileReadStream oStream(-1);
  oStream.Reset();
  EXPECT_EQ(ReadSome(oStream, 10), "");
  EXPECT_EQ(oStream.GetLastError(), wxSTREAM_READ_ERROR);
}

TEST(FileReadStreamTest, FolderIsRefused) {
  const CTempFolder oFolder;
  EXPECT_FALSE(CFileReadStream(Wide(oFolder.Path())).IsOk());
}

TEST(FileReadStreamTest, PathWithNulIsRefused) {
  EXPECT_FALSE(CFileReadStream(VCM::CString(std::wstring_view(L"/dev/null\0x", 11))).IsOk());
}

TEST(FileReadStreamTest, NameInNoEncodingIsFound) {
  const CTempFolder oFolder;
  TEST::WriteFile(oFolder / "\xe9t\xe9", "summer");
  CFileReadStream oStream(Wide(oFolder / "\xe9t\xe9"));
  EXPECT_EQ(ReadSome(oStream, 10), "summer");
}

// /proc/self/mem can be opened, but reading at offset 0 fails, because nothing is mapped there.
TEST(FileReadStreamTest, FailedReadIsAnErrorAndNotTheEnd) {
  CFileReadStream oStream(VCM::CString(L"/proc/self/mem"));
  ASSERT_TRUE(oStream.IsOk());
  EXPECT_EQ(ReadSome(oStream, 10), "");
  EXPECT_EQ(oStream.GetLastError(), wxSTREAM_READ_ERROR);
  EXPECT_FALSE(oStream.Eof());
}

TEST(FileReadStreamTest, NothingIsReadAfterAnErrorUntilReset) {
  const int nDescriptor = ::open("/proc/self/mem", O_RDONLY);
  CFileReadStream oStream(nDescriptor);
  EXPECT_EQ(ReadSome(oStream, 4), "");
  const char acReadable[] = "text";
  ::lseek(nDescriptor, static_cast<off_t>(reinterpret_cast<std::uintptr_t>(acReadable)), SEEK_SET);
  EXPECT_EQ(ReadSome(oStream, 4), "");
  EXPECT_EQ(oStream.GetLastError(), wxSTREAM_READ_ERROR);
  oStream.Reset();
  EXPECT_EQ(ReadSome(oStream, 4), "text");
}

TEST(FileReadStreamTest, GrownFileIsReadOnAfterItsEnd) {
  const CTempFolder oFolder;
  TEST::WriteFile(oFolder / "a", "abc");
  CFileReadStream oStream(Wide(oFolder / "a"));
  ReadSome(oStream, 10);
  TEST::WriteFile(oFolder / "a", "abcdef");
  oStream.Reset();
  EXPECT_EQ(ReadSome(oStream, 3), "def");
  EXPECT_TRUE(oStream.IsOk());
}

TEST(FileReadStreamTest, DescriptorIsReadFromWhereItStandsAndClosed) {
  const CTempFolder oFolder;
  TEST::WriteFile(oFolder / "a", "abcdef");
  const int nDescriptor = ::open((oFolder / "a").c_str(), O_RDONLY);
  ::lseek(nDescriptor, 2, SEEK_SET);
  {
    CFileReadStream oStream(nDescriptor);
    EXPECT_EQ(ReadSome(oStream, 10), "cdef");
    EXPECT_TRUE(IsOpenDescriptor(nDescriptor));
  }
  EXPECT_FALSE(IsOpenDescriptor(nDescriptor));
}

TEST(FileReadStreamTest, DescriptorOfAFolderIsClosedAtOnce) {
  const int nDescriptor = ::open("/", O_RDONLY | O_DIRECTORY);
  const CFileReadStream oStream(nDescriptor);
  EXPECT_FALSE(oStream.IsOk());
  EXPECT_FALSE(IsOpenDescriptor(nDescriptor));
}

volatile std::sig_atomic_t s_nAlarms = 0;
int s_nAlarmPipe = -1;

// Writes to the pipe at the third interruption of the read.
void OnAlarm(int) {
  s_nAlarms = s_nAlarms + 1;
  if (s_nAlarms == 3 && ::write(s_nAlarmPipe, "late", 4) != 4) ::_exit(1);
}

TEST(FileReadStreamTest, InterruptedReadGoesOn) {
  int anEnds[2];
  ASSERT_EQ(::pipe(anEnds), 0);
  s_nAlarms = 0;
  s_nAlarmPipe = anEnds[1];
  struct sigaction oAction {
  }, oPrevious{};
  oAction.sa_handler = OnAlarm;  // without SA_RESTART: read answers EINTR
  sigaction(SIGALRM, &oAction, &oPrevious);
  const itimerval tEveryMillisecond{{0, 1000}, {0, 1000}}, tNever{};
  setitimer(ITIMER_REAL, &tEveryMillisecond, nullptr);
  CFileReadStream oStream(anEnds[0]);
  const std::string strRead = ReadSome(oStream, 4);
  setitimer(ITIMER_REAL, &tNever, nullptr);
  sigaction(SIGALRM, &oPrevious, nullptr);
  ::close(anEnds[1]);
  EXPECT_EQ(strRead, "late");
}

TEST(FileWriteStreamTest, CreatedFileHoldsWhatWasWritten) {
  const CTempFolder oFolder;
  CFileWriteStream oFile;
  EXPECT_FALSE(oFile.IsOpen());
  ASSERT_TRUE(oFile.Open(Wide(oFolder / "a"), CFileWriteStream::MODE_CREATE, 0));
  EXPECT_TRUE(oFile.IsOpen());
  const std::string strBytes = std::string(200000, 'b') + '\0';
  EXPECT_TRUE(oFile.Write(strBytes.data(), strBytes.size()));
  EXPECT_TRUE(oFile.Close());
  EXPECT_FALSE(oFile.IsOpen());
  EXPECT_EQ(TEST::ReadFile(oFolder / "a"), strBytes);
}

TEST(FileWriteStreamTest, CreatingEmptiesAnExistingFile) {
  const CTempFolder oFolder;
  TEST::WriteFile(oFolder / "a", "old");
  CFileWriteStream oFile;
  ASSERT_TRUE(oFile.Open(Wide(oFolder / "a"), CFileWriteStream::MODE_CREATE, 0));
  EXPECT_EQ(TEST::ReadFile(oFolder / "a"), "");
}

TEST(FileWriteStreamTest, ExistingModeKeepsTheContent) {
  const CTempFolder oFolder;
  TEST::WriteFile(oFolder / "a", "content");
  CFileWriteStream oFile;
  ASSERT_TRUE(oFile.Open(Wide(oFolder / "a"), CFileWriteStream::MODE_EXISTING, 0));
  EXPECT_TRUE(oFile.Close());
  EXPECT_EQ(TEST::ReadFile(oFolder / "a"), "content");
}

TEST(FileWriteStreamTest, ExistingModeFailsOnAMissingFile) {
  const CTempFolder oFolder;
  CFileWriteStream oFile;
  EXPECT_FALSE(oFile.Open(Wide(oFolder / "a"), CFileWriteStream::MODE_EXISTING, 0));
  EXPECT_FALSE(oFile.IsOpen());
  EXPECT_FALSE(std::filesystem::exists(oFolder / "a"));
}

TEST(FileWriteStreamTest, SymbolicLinkIsRefusedInBothModes) {
  const CTempFolder oFolder;
  TEST::WriteFile(oFolder / "target", "kept");
  std::filesystem::create_symlink("target", oFolder / "link");
  CFileWriteStream oFile;
  EXPECT_FALSE(oFile.Open(Wide(oFolder / "link"), CFileWriteStream::MODE_EXISTING, 0));
  EXPECT_FALSE(oFile.Open(Wide(oFolder / "link"), CFileWriteStream::MODE_CREATE, 0));
  EXPECT_EQ(TEST::ReadFile(oFolder / "target"), "kept");
}

TEST(FileWriteStreamTest, UnknownModeFlagsFolderAndNulAreRefused) {
  const CTempFolder oFolder;
  CFileWriteStream oFile;
  EXPECT_FALSE(oFile.Open(Wide(oFolder / "a"), 2, 0));
  EXPECT_FALSE(oFile.Open(Wide(oFolder / "a"), CFileWriteStream::MODE_CREATE, 1));
  EXPECT_FALSE(oFile.Open(Wide(oFolder.Path()), CFileWriteStream::MODE_EXISTING, 0));
  EXPECT_FALSE(oFile.Open(VCM::CString(std::wstring_view(L"/dev/null\0x", 11)), 0, 0));
  EXPECT_TRUE(std::filesystem::is_empty(oFolder.Path()));
}

TEST(FileWriteStreamTest, NamedPipeWithoutReaderIsRefusedAtOnce) {
  const CTempFolder oFolder;
  ASSERT_EQ(::mkfifo((oFolder / "pipe").c_str(), 0600), 0);
  CFileWriteStream oFile;
  EXPECT_FALSE(oFile.Open(Wide(oFolder / "pipe"), CFileWriteStream::MODE_EXISTING, 0));
}

TEST(FileWriteStreamTest, OpeningAgainClosesTheFirstFile) {
  const CTempFolder oFolder;
  CFileWriteStream oFile;
  ASSERT_TRUE(oFile.Open(Wide(oFolder / "a"), CFileWriteStream::MODE_CREATE, 0));
  EXPECT_FALSE(oFile.Open(Wide(oFolder / "none"), CFileWriteStream::MODE_EXISTING, 0));
  EXPECT_FALSE(oFile.IsOpen());
}

TEST(FileWriteStreamTest, UnopenedFileTakesNeitherBytesNorTime) {
  CFileWriteStream oFile;
  EXPECT_FALSE(oFile.Write("x", 1));
  EXPECT_FALSE(oFile.SetModificationTime(VCM::CTimestamp(0)));
  EXPECT_TRUE(oFile.Close());
}

TEST(FileWriteStreamTest, FullDeviceFailsTheWrite) {
  CFileWriteStream oFile;
  ASSERT_TRUE(oFile.Open(L"/dev/full", CFileWriteStream::MODE_EXISTING, 0));
  EXPECT_FALSE(oFile.Write("x", 1));
}

// The first write(2) is cut at the limit and returns fewer bytes than given; the next one fails.
TEST(FileWriteStreamTest, WriteCutShortBySizeLimitFails) {
  const CTempFolder oFolder;
  CFileWriteStream oFile;
  ASSERT_TRUE(oFile.Open(Wide(oFolder / "a"), CFileWriteStream::MODE_CREATE, 0));
  {
    const TEST::CFileSizeLimitScope oLimit(1000);
    EXPECT_FALSE(oFile.Write(std::string(1500, 'x').data(), 1500));
  }
  EXPECT_EQ(TEST::ReadFile(oFolder / "a"), std::string(1000, 'x'));
}

TEST(FileWriteStreamTest, ModificationAndAccessTimeAreSetToTheSecond) {
  const CTempFolder oFolder;
  TEST::WriteFile(oFolder / "a", "content");
  for (const long long nSeconds : {0LL, 1LL, 1236990309LL, 2147483648LL, 4294967295LL}) {
    CFileWriteStream oFile;
    ASSERT_TRUE(oFile.Open(Wide(oFolder / "a"), CFileWriteStream::MODE_EXISTING, 0));
    EXPECT_TRUE(oFile.SetModificationTime(VCM::CTimestamp(nSeconds)));
    EXPECT_TRUE(oFile.Close());
    struct stat tStatus {};
    ::stat((oFolder / "a").c_str(), &tStatus);
    EXPECT_EQ(tStatus.st_mtim.tv_sec, nSeconds);
    EXPECT_EQ(tStatus.st_mtim.tv_nsec, 0);
    EXPECT_EQ(tStatus.st_atim.tv_sec, nSeconds);
  }
}

}  // namespace
}  // namespace TALVEK::VFH

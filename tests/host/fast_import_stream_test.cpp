#include "host/fast_import_stream.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include "core/descriptor.h"
#include "host/exit_status.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::HOST {
namespace {

using TChange = CFastImportStream::TFileChange;

TEST(FastImportStreamTest, EveryCommandHasItsForm) {
  const TEST::CTempFolder oFolder;
  const VCM::CDescriptor oFile(open((oFolder / "stream").c_str(), O_WRONLY | O_CREAT, 0600));
  CByteSink oSink(oFile.Get(), "stream");
  CFastImportStream oStream(oSink);
  oStream.Begin();
  const auto nBlob = oStream.BeginBlob(4);
  oStream.BlobBytes(std::string_view("a\n\0b", 4));
  oStream.EndBlob();
  const auto nFirst = oStream.Commit(
      {"refs/heads/main", "joe", 1041502272, "First\n", {}, {{TChange::MODIFY, nBlob, "src/a.c"}}});
  oStream.Commit({"refs/heads/B",
                  "",
                  0,
                  "",
                  nFirst,
                  {{TChange::REMOVE, 0, "a\"b"}, {TChange::MODIFY_EXECUTABLE, nBlob, "with blank"}}});
  oStream.Reference("refs/tags/T", nFirst);
  oStream.End();
  EXPECT_EQ(TEST::ReadFile(oFolder / "stream"), std::string("feature done\n"
                                                            "blob\n"
                                                            "mark :1\n"
                                                            "data 4\n"
                                                            "a\n") +
                                                    '\0' +
                                                    "b\n"
                                                    "commit refs/heads/main\n"
                                                    "mark :2\n"
                                                    "author joe <joe> 1041502272 +0000\n"
                                                    "committer joe <joe> 1041502272 +0000\n"
                                                    "data 6\n"
                                                    "First\n\n"
                                                    "M 100644 :1 src/a.c\n"
                                                    "\n"
                                                    "commit refs/heads/B\n"
                                                    "mark :3\n"
                                                    "author  <> 0 +0000\n"
                                                    "committer  <> 0 +0000\n"
                                                    "data 0\n"
                                                    "\n"
                                                    "from :2\n"
                                                    "D \"a\\\"b\"\n"
                                                    "M 100755 :1 with blank\n"
                                                    "\n"
                                                    "reset refs/tags/T\n"
                                                    "from :2\n"
                                                    "\n"
                                                    "done\n");
}

TEST(FastImportStreamTest, FullDiskIsAnError) {
  const VCM::CDescriptor oFull(open("/dev/full", O_WRONLY));
  CByteSink oSink(oFull.Get(), "the disk");
  CFastImportStream oStream(oSink);
  oStream.Begin();
  try {
    oStream.End();
    FAIL() << "no error";
  } catch (const EWriteError& oError) {
    EXPECT_STREQ(oError.what(), "can't write to the disk: No space left on device");
  }
}

}  // namespace
}  // namespace TALVEK::HOST

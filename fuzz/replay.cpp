// Runs a target over files, without a fuzzer. Each argument is a file or a folder of files.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nBytes);

namespace {

std::vector<std::filesystem::path> FilesOf(const std::filesystem::path& oPath) {
  if (!std::filesystem::is_directory(oPath)) return {oPath};
  std::vector<std::filesystem::path> aoFiles;
  for (const auto& oEntry : std::filesystem::directory_iterator(oPath))
    aoFiles.push_back(oEntry.path());
  std::sort(aoFiles.begin(), aoFiles.end());
  return aoFiles;
}

bool Replay(const std::filesystem::path& oFile) {
  std::ifstream oStream(oFile, std::ios::binary);
  if (!oStream) {
    std::fprintf(stderr, "can't read %s\n", oFile.c_str());
    return false;
  }
  // Printed first, so that a failed claim follows the name of its file.
  std::printf("%s\n", oFile.c_str());
  std::fflush(stdout);
  // A block of exactly this size, so that a sanitizer notices a read beyond its end.
  const std::vector<char> achBytes{std::istreambuf_iterator<char>(oStream), std::istreambuf_iterator<char>()};
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(achBytes.data()), achBytes.size());
  return true;
}

}  // namespace

int main(int nArguments, char** ppszArguments) {
  int nReplayed = 0;
  for (int i = 1; i < nArguments; ++i) {
    for (const std::filesystem::path& oFile : FilesOf(ppszArguments[i])) {
      if (!Replay(oFile)) return 1;
      ++nReplayed;
    }
  }
  if (nReplayed > 0) return 0;
  std::fprintf(stderr, "there is nothing to replay\n");
  return 1;
}

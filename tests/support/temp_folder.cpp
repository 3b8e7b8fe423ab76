#include "tests/support/temp_folder.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace TALVEK::TEST {

CTempFolder::CTempFolder() {
  std::string strTemplate = (std::filesystem::temp_directory_path() / "talvek-test-XXXXXX").string();
  if (!mkdtemp(strTemplate.data())) throw std::runtime_error("no temporary folder: " + strTemplate);
  m_oPath = strTemplate;
}

CTempFolder::~CTempFolder() {
  std::error_code oIgnored;
  std::filesystem::remove_all(m_oPath, oIgnored);
}

std::string ReadFile(const std::filesystem::path& oPath) {
  std::ifstream oStream(oPath, std::ios::binary);
  if (!oStream) throw std::runtime_error("can't read " + oPath.string());
  return {std::istreambuf_iterator<char>(oStream), std::istreambuf_iterator<char>()};
}

void WriteFile(const std::filesystem::path& oPath, std::string_view strBytes) {
  std::filesystem::create_directories(oPath.parent_path());
  std::ofstream oStream(oPath, std::ios::binary);
  oStream.write(strBytes.data(), static_cast<std::streamsize>(strBytes.size()));
  if (!oStream.flush()) throw std::runtime_error("can't write " + oPath.string());
}

}  // namespace TALVEK::TEST

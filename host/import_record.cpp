#include "host/import_record.h"

#include <fstream>
#include <system_error>

#include "host/exit_status.h"
#include "host/json_bytes.h"
#include "host/text_output.h"

namespace fs = std::filesystem;

namespace TALVEK::HOST {
namespace {

constexpr const char* FOLDER = "talvek-import";
constexpr const char* FILE_NAME = "import.json";
constexpr int VERSION = 1;  // of the file's form

nlohmann::json ToJson(const TImportRecord& tRecord) {
  nlohmann::json oProperties = nlohmann::json::object();
  for (const auto& [strKey, strValue] : tRecord.astrProperties)
    oProperties[strKey] = JsonOfBytes(strValue);
  nlohmann::json oRefs = nlohmann::json::array();
  for (const TRecordedRef& tRef : tRecord.atRefs)
    oRefs.push_back({{"stream", JsonOfBytes(tRef.strStream)}, {"ref", JsonOfBytes(tRef.strRef)}});
  return {{"version", VERSION},
          {"provider", tRecord.strProvider},
          {"properties", oProperties},
          {"trunk", JsonOfBytes(tRecord.strTrunkRef)},
          {"refs", oRefs}};
}

TImportRecord FromJson(const nlohmann::json& oJson) {
  TImportRecord tRecord;
  tRecord.strProvider = oJson.at("provider").get<std::string>();
  for (const auto& [strKey, oValue] : oJson.at("properties").items())
    tRecord.astrProperties[strKey] = BytesOfJson(oValue);
  tRecord.strTrunkRef = BytesOfJson(oJson.at("trunk"));
  for (const nlohmann::json& oRef : oJson.at("refs"))
    tRecord.atRefs.push_back({BytesOfJson(oRef.at("stream")), BytesOfJson(oRef.at("ref"))});
  return tRecord;
}

}  // namespace

bool WriteImportRecord(const fs::path& oGitFolder, const TImportRecord& tRecord) {
  std::error_code oError;
  fs::create_directories(oGitFolder / FOLDER, oError);
  const fs::path oFile = oGitFolder / FOLDER / FILE_NAME;
  std::ofstream oStream(oFile, std::ios::trunc);
  fs::permissions(oFile, fs::perms::owner_read | fs::perms::owner_write, oError);
  oStream << ToJson(tRecord).dump(1) << '\n';
  oStream.close();
  return oStream.good() && !oError;
}

std::optional<TImportRecord> ReadImportRecord(const fs::path& oGitFolder) {
  const fs::path oFile = oGitFolder / FOLDER / FILE_NAME;
  std::ifstream oStream(oFile);
  if (!oStream) return std::nullopt;
  try {
    return FromJson(nlohmann::json::parse(oStream));
  } catch (const nlohmann::json::exception& oError) {
    throw EHostError(STATUS_FAILED,
                     "can't read '" + ShowBytes(oFile.string()) + "': " + ShowBytes(oError.what()),
                     "remove it, and give the options of the import");
  }
}

}  // namespace TALVEK::HOST

#include "host/json_bytes.h"

namespace TALVEK::HOST {
namespace {

constexpr const char* HEX_KEY = "hex";
constexpr const char* DIGITS = "0123456789abcdef";

bool IsUtf8(const std::string& strBytes) {
  try {
    (void)nlohmann::json(strBytes).dump();
    return true;
  } catch (const nlohmann::json::type_error&) {
    return false;
  }
}

}  // namespace

nlohmann::json JsonOfBytes(std::string_view strBytes) {
  std::string strText(strBytes);
  if (IsUtf8(strText)) return strText;
  std::string strHex;
  for (const char ch : strText) {
    const auto nByte = static_cast<unsigned char>(ch);
    strHex += {DIGITS[nByte >> 4], DIGITS[nByte & 15]};
  }
  return {{HEX_KEY, strHex}};
}

std::string BytesOfJson(const nlohmann::json& oValue) {
  if (oValue.is_string()) return oValue.get<std::string>();
  const auto strHex = oValue.at(HEX_KEY).get<std::string>();
  std::string strBytes;
  for (std::size_t nIndex = 0; nIndex + 1 < strHex.size(); nIndex += 2) {
    const std::size_t nHigh = std::string_view(DIGITS).find(strHex[nIndex]);
    const std::size_t nLow = std::string_view(DIGITS).find(strHex[nIndex + 1]);
    strBytes += static_cast<char>((nHigh & 15) << 4 | (nLow & 15));
  }
  return strBytes;
}

}  // namespace TALVEK::HOST

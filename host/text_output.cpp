#include "host/text_output.h"

#include <unistd.h>

#include "core/text_codec.h"
#include "core/timestamp.h"
#include "host/byte_sink.h"

namespace TALVEK::HOST {

std::string ShowBytes(std::string_view strBytes) {
  static constexpr char HEX_DIGITS[] = "0123456789abcdef";
  std::string strShown;
  for (const char ch : strBytes) {
    const auto nByte = static_cast<unsigned char>(ch);
    if (nByte >= 0x20 && nByte != 0x7F) {
      strShown += ch;
    } else {
      strShown += {'\\', 'x', HEX_DIGITS[nByte >> 4], HEX_DIGITS[nByte & 0xF]};
    }
  }
  return strShown;
}

std::string ShowText(const VCM::CString& strText) {
  return ShowBytes(VCM::ToBytes(strText));
}

std::string ShowQuoted(const VCM::CString& strText) {
  return "'" + ShowText(strText) + "'";
}

std::string ShowTime(long long nSeconds) {
  return VCM::ToBytes(VCM::CTimestamp(nSeconds).Format(VCM::ZONE_GMT0)) + " UTC";
}

std::string ShowCount(std::uint64_t nCount, std::string_view strSingular) {
  std::string strShown = std::to_string(nCount) + ' ' + std::string(strSingular);
  if (nCount != 1) strShown += 's';
  return strShown;
}

VCM::CString PathText(const VCM::CFilePath& oPath) {
  const VCM::CString strPath = oPath.GeneratePath();
  return oPath.IsAbsolute() ? strPath.Mid(1) : strPath;
}

void WriteOutput(std::string_view strBytes) {
  CByteSink oSink(STDOUT_FILENO, "standard output");
  oSink.Write(strBytes);
  oSink.Flush();
}

}  // namespace TALVEK::HOST

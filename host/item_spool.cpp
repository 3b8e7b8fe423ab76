#include "host/item_spool.h"

#include <cstring>
#include <string_view>

namespace TALVEK::HOST {

void CItemSpool::EndChange() {
  AppendNumber(m_astrPaths.size());
  for (const std::string& strPath : m_astrPaths) {
    AppendNumber(strPath.size());
    m_oFile.Append(strPath);
  }
  m_astrPaths.clear();
}

std::vector<std::string> CItemSpool::ReadChange() {
  std::vector<std::string> astrPaths(ReadNumber());
  for (std::string& strPath : astrPaths)
    strPath = m_oFile.Read(ReadNumber());
  return astrPaths;
}

void CItemSpool::AppendNumber(std::size_t nNumber) {
  char achBytes[sizeof nNumber];
  std::memcpy(achBytes, &nNumber, sizeof nNumber);
  m_oFile.Append(std::string_view(achBytes, sizeof nNumber));
}

std::size_t CItemSpool::ReadNumber() {
  std::size_t nNumber = 0;
  std::memcpy(&nNumber, m_oFile.Read(sizeof nNumber).data(), sizeof nNumber);
  return nNumber;
}

}  // namespace TALVEK::HOST

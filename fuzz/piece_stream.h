#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include <wx/stream.h>

namespace TALVEK::FUZZ {

/// A stream over a text that never gives more than `nPiece` bytes at once, as a pipe may, and counts reads.
class CPieceStream : public wxInputStream {
 public:
  CPieceStream(std::string_view strText, std::size_t nPiece) : m_strRest(strText), m_nPiece(nPiece) {}

  // wxInputStream::Read would call OnSysRead until the buffer is full.
  wxInputStream& Read(void* pBuffer, std::size_t nBytes) override {
    m_lastcount = OnSysRead(pBuffer, std::min(nBytes, m_nPiece));
    return *this;
  }

  std::size_t GetBytesLeft() const { return m_strRest.size(); }
  std::uint64_t GetReadsAtEnd() const { return m_nReadsAtEnd; }

 protected:
  std::size_t OnSysRead(void* pBuffer, std::size_t nBytes) override {
    const std::size_t nGiven = std::min(nBytes, m_strRest.size());
    std::memcpy(pBuffer, m_strRest.data(), nGiven);
    m_strRest.remove_prefix(nGiven);
    if (nGiven > 0) return nGiven;
    m_lasterror = wxSTREAM_EOF;
    ++m_nReadsAtEnd;
    return 0;
  }

 private:
  std::string_view m_strRest;
  std::size_t m_nPiece;
  std::uint64_t m_nReadsAtEnd = 0;
};

}  // namespace TALVEK::FUZZ

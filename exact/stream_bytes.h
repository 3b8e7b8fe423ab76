#pragma once

#include <cstddef>

#include <wx/stream.h>

#include "exact/log_buffer.h"

namespace TALVEK::EXACT {

/// The log's bytes, from where the client or a saved log leaves them.
class CStreamBytes : public CLogBytes {
 public:
  explicit CStreamBytes(wxInputStream& oInput) : m_oInput(oInput) {}
  std::size_t Read(char* pTo, std::size_t nBytes) override { return m_oInput.Read(pTo, nBytes).LastRead(); }

 private:
  wxInputStream& m_oInput;
};

}  // namespace TALVEK::EXACT

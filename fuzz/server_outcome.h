#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "session/byte_source.h"
#include "session/command_line.h"
#include "session/reply.h"

namespace TALVEK::FUZZ {

/// Gives a text in pieces of at most `nPiece` bytes, and then throws EBrokenConnection.
class CPieceSource : public SESSION::CByteSource {
 public:
  CPieceSource(std::string_view strText, std::size_t nPiece) : m_strRest(strText), m_nPiece(nPiece) {}
  std::string Read() override;

 private:
  std::string_view m_strRest;
  std::size_t m_nPiece;
};

/// The outcome of reading a reply.
struct TOutcome {
  SESSION::TReply tReply;
  std::string strContent;
  std::string strFailure;  ///< empty: none
};

/// The checkout of revision 1.1 of `strFile` into Main/src, from this root.
SESSION::TCheckout MakeCheckout(const std::string& strRoot, const std::string& strFile = "mod/src/a.c");

/// Reads a reply to MakeCheckout's checkout, and checks what holds for every reply of `nBytes` bytes.
TOutcome ReadOutcome(SESSION::CByteSource& oSource, const SESSION::TCheckout& tCheckout, std::size_t nBytes);

/// The outcome as a text; different outcomes have different texts.
std::string TextOf(const TOutcome& tOutcome);

}  // namespace TALVEK::FUZZ

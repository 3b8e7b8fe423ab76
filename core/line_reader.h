#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <wx/stream.h>

#include "core/export.h"
#include "core/string.h"

namespace TALVEK::VCM {

/// Reads text lines from a stream of bytes.
///
/// Shape    A line ends at \n, \r\n or a lone \r. The text behind the last line end is a line only if it is
///          not empty. Lines are decoded as core/text_codec.h says, without loss; a NUL is a character.
/// Owns     A 64 KiB buffer; the stream is lent and must outlive the reader.
/// Cost     The toolkit's own text stream asks for one byte at a time and stops for good at a byte that the
///          locale can't decode; this one reads blocks.
class TALVEK_CORE_API CLineReader {
 public:
  /// A line of `nMostBytes` or more comes in pieces: what reads words for a log needn't hold a gigabyte of
  /// them.
  explicit CLineReader(wxInputStream* poInput, std::size_t nMostBytes = std::string::npos);

  /// True when no further line will come: the stream is at its end (or failed) and nothing is left over.
  bool IsAtEnd();
  /// The next line without its end; false (and an empty text) when there is none.
  bool ReadLine(CString& strLine);

 private:
  bool FillBuffer();
  void TakeLine(std::string_view strBytes, CString& strLine);

  wxInputStream* m_poInput;
  std::size_t m_nMostBytes;
  std::string m_strBuffer;
  std::size_t m_nPosition = 0;  // of the first byte not handed out yet
  std::size_t m_nFilled = 0;    // bytes of the buffer that hold input
  bool m_bInputEnded = false;
  std::string m_strLineBytes;  // a line that spans blocks
};

}  // namespace TALVEK::VCM

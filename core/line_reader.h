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
/// Owns     Its buffers: 64 KiB of bytes, 16 KiB of text. The stream is lent and must outlive the reader.
/// Cost     Reads blocks. wxTextInputStream would read byte by byte, and stop at a byte that the locale can't
///          decode.
class TALVEK_CORE_API CLineReader {
 public:
  /// A line that doesn't end within a buffer is returned in pieces, each but the last of at least
  /// `nMostBytes`, so that nobody has to hold a line of a gigabyte.
  explicit CLineReader(wxInputStream* poInput, std::size_t nMostBytes = std::string::npos);

  /// True when no further line will come: the stream is at its end (or failed) and nothing is left over.
  bool IsAtEnd() { return m_nPosition == m_nFilled && !FillBuffer(); }
  /// The next line without its end; false (and an empty text) when there is none.
  bool ReadLine(CString& strLine);
  /// As ReadLine, without a copy: the text is good until the next line is read.
  bool ReadLineView(std::wstring_view& strLine);

 private:
  bool FillBuffer();
  std::size_t FindLineEnd();
  std::wstring_view DecodeLine(std::size_t nLineEnd);
  void WidenAhead();
  std::wstring_view Decode(std::string_view strBytes);
  bool HasHeldLongLine() const { return m_strLineBytes.capacity() > MOST_KEPT_BYTES; }
  void ReleaseLongLine();

  // A larger line's buffers are freed before the next line. Otherwise they would stay until the end of the
  // input, six bytes a character.
  static constexpr std::size_t MOST_KEPT_BYTES = 1024UL * 1024;

  wxInputStream* m_poInput;
  std::size_t m_nMostBytes;
  std::string m_strBuffer;
  std::size_t m_nPosition = 0;  // of the first byte that hasn't been returned
  std::size_t m_nFilled = 0;    // bytes of the buffer that hold input
  // Positions of the next \n and the next \r; m_nFilled for none. Unknown when below m_nPosition.
  std::size_t m_nLineFeed = 0;
  std::size_t m_nReturn = 0;
  // The buffer's bytes from m_nWideStart to m_nWideEnd as text. They are all ASCII, so a line among them is
  // decoded already.
  std::wstring m_strWide;
  std::size_t m_nWideStart = 0;
  std::size_t m_nWideEnd = 0;
  bool m_bInputEnded = false;
  std::string m_strLineBytes;  // a line that spans blocks
  CString m_strLine;           // the last line that isn't in m_strWide
};

}  // namespace TALVEK::VCM

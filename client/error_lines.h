#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include <wx/stream.h>
#include <wx/txtstrm.h>

#include "core/line_reader.h"
#include "core/string.h"

namespace TALVEK::CLIENT {

/// Reads what a client wrote to its standard error, line by line, whatever the process's locale.
///
/// Shape    The encoding is detected as wxTextInputStream does it: UTF-16 or UTF-32 when the stream begins
///          with their byte-order mark, else UTF-8, with or without a mark. From the first bytes that aren't
///          UTF-8 on, everything is read as Latin-1, in which every byte is a character. A line ends at \n,
///          \r\n, a lone \r or a NUL. Empty lines are skipped; a line of more than 1 MiB is returned in
///          pieces.
/// Errors   UTF-16 or UTF-32 that can't be decoded ends the stream. In all other encodings no byte is lost,
///          while wxTextInputStream loses some.
/// Owns     Nothing. The stream is lent.
/// Cost     Reads and decodes blocks. Only UTF-16 and UTF-32 go through wxTextInputStream, which reads one
///          byte at a time.
class CErrorLines {
 public:
  explicit CErrorLines(wxInputStream& oInput);

  /// False, with an empty text, when there is no further line.
  bool ReadLine(VCM::CString& strLine);

 private:
  void ReadByteOrderMark();
  bool ReadByteLine(VCM::CString& strLine);
  bool ReadWideLine(VCM::CString& strLine);
  std::wstring Decode(std::string_view strBytes);

  wxInputStream& m_oInput;
  VCM::CLineReader m_oLines;
  std::unique_ptr<wxTextInputStream> m_poWide;  // over UTF-16 and UTF-32
  std::string m_strBytes;                       // the line being cut at its NULs
  std::size_t m_nPosition = 0;                  // in m_strBytes, of the next piece
  bool m_bUtf8 = true;                          // false: Latin-1 from here on
};

}  // namespace TALVEK::CLIENT

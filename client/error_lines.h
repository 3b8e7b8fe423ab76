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
/// Shape    The encoding is found as the toolkit's text stream finds it: UTF-16 or UTF-32 when the stream
///          begins with their byte-order mark, else UTF-8, with or without a mark. The first bytes that are
///          no UTF-8, and all behind them, are read as Latin-1, where every byte is a character. A line ends
///          at \n, \r\n, a lone \r or a NUL. Empty lines are skipped, and a line of more than 1 MiB comes in
///          pieces.
/// Errors   UTF-16 or UTF-32 that can't be decoded ends the stream. In all other encodings no byte is lost;
///          the toolkit's stream would lose some.
/// Owns     Nothing. The stream is lent.
/// Cost     Blocks are read and decoded. Only UTF-16 and UTF-32 go through the toolkit's own stream, which
///          takes a byte at a time.
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
  std::size_t m_nPosition = 0;                  // of the next piece
  bool m_bUtf8 = true;
};

}  // namespace TALVEK::CLIENT

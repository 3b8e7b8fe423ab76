#pragma once

#include <string_view>

#include <wx/convauto.h>
#include <wx/stream.h>
#include <wx/txtstrm.h>

namespace TALVEK::MCE {

/// The toolkit's text stream, with native line ends and UTF-8, and a way past its conversions: those copy a
/// line character by character and take longer than all else that is done to write it.
class CLogStream : public wxTextOutputStream {
 public:
  /// The stream is lent and must outlive this one.
  explicit CLogStream(wxOutputStream& oOutput) : wxTextOutputStream(oOutput, wxEOL_NATIVE, wxConvAuto()) {}

  /// Writes a line that is UTF-8 already and ends with a line feed, which is the native line end.
  void WriteLine(std::string_view strBytes) { m_output.Write(strBytes.data(), strBytes.size()); }
};

}  // namespace TALVEK::MCE

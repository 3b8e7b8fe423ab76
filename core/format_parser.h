#pragma once

#include <string_view>
#include <vector>

namespace TALVEK::VCM {

/// How an argument is passed.
enum class TArgumentType { INT, LONG, LONG_LONG, INTMAX, SIZE, PTRDIFF, DOUBLE, LONG_DOUBLE, POINTER };

/// Length modifiers; the two of a kind that mean the same are one.
enum class TLengthModifier { NONE, CHAR, SHORT, LONG, LONG_LONG, INTMAX, SIZE, PTRDIFF };

/// A width or a precision: absent, written out, or taken from an argument.
struct TFormatNumber {
  bool bPresent = false;
  int nValue = 0;
  int nArgument = -1;  // 0-based, -1 when written out
};

/// A stretch of plain text, or one directive.
struct TFormatPiece {
  std::wstring_view strText;  // as it stands in the format
  wchar_t chConversion = 0;   // 0: plain text
  std::wstring_view strFlags;
  TFormatNumber tWidth;
  TFormatNumber tPrecision;
  TLengthModifier eLength = TLengthModifier::NONE;
  int nArgument = -1;  // 0-based, -1 when it reads none
};

/// A printf format taken to pieces, with the types of the arguments that it reads, in their order.
///
/// Lifetime  The pieces point into the format.
struct TParsedFormat {
  std::vector<TFormatPiece> atPieces;
  std::vector<TArgumentType> aeArguments;
};

/// Never fails: what is no directive (one cut off by the end, an unknown conversion, any "%n") is plain text.
TParsedFormat ParseFormat(std::wstring_view strFormat);

}  // namespace TALVEK::VCM

#include "core/string_format.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/decimal.h"
#include "core/format_parser.h"
#include "core/locale_codec.h"
#include "core/text_codec.h"

namespace TALVEK::VCM {

namespace {

/// One argument; which member counts is said by its type.
union TArgument {
  std::intmax_t nInteger;
  double fDouble;
  long double fLongDouble;
  const void* pPointer;
};

class CFormatter {
 public:
  /// Reads the arguments, and so consumes `args`.
  CFormatter(const TParsedFormat& tFormat, va_list args, std::wstring& strOut);
  CFormatter(const CFormatter&) = delete;
  CFormatter& operator=(const CFormatter&) = delete;

  void Run();

 private:
  void AppendPiece(const TFormatPiece& tPiece);
  void AppendInteger(const TFormatPiece& tPiece);
  void AppendFloat(const TFormatPiece& tPiece);
  void AppendPointer(const TFormatPiece& tPiece);
  void AppendCharacter(const TFormatPiece& tPiece);
  void AppendWide(const TFormatPiece& tPiece);
  void AppendNarrow(const TFormatPiece& tPiece, const char* pszText);
  void AppendPadded(const TFormatPiece& tPiece, std::wstring_view strText);
  template <class TValue>
  void AppendByLibrary(const TFormatPiece& tPiece, std::wstring_view strConversion, TValue value);

  int Number(const TFormatNumber& tNumber, int nAbsent) const;
  const TArgument& Value(const TFormatPiece& tPiece) const {
    return m_ptArguments[static_cast<std::size_t>(tPiece.nArgument)];
  }

  const TParsedFormat& m_tFormat;
  const int m_nErrno = errno;  // for "%m", before anything of ours changes it
  static constexpr std::size_t FEW_ARGUMENTS = 16;
  TArgument m_atFew[FEW_ARGUMENTS];
  std::vector<TArgument> m_atMany;  // when they are more than a few
  TArgument* m_ptArguments = m_atFew;
  std::wstring& m_strOut;
};

CFormatter::CFormatter(const TParsedFormat& tFormat, va_list args, std::wstring& strOut)
    : m_tFormat(tFormat), m_strOut(strOut) {
  if (tFormat.aeArguments.size() > FEW_ARGUMENTS) {
    m_atMany.resize(tFormat.aeArguments.size());
    m_ptArguments = m_atMany.data();
  }
  TArgument* pArgument = m_ptArguments;
  for (const TArgumentType eType : tFormat.aeArguments) {
    switch (eType) {
      case TArgumentType::INT:
        pArgument->nInteger = va_arg(args, int);
        break;
      case TArgumentType::LONG:
        pArgument->nInteger = va_arg(args, long);
        break;
      case TArgumentType::LONG_LONG:
        pArgument->nInteger = va_arg(args, long long);
        break;
      case TArgumentType::INTMAX:
        pArgument->nInteger = va_arg(args, std::intmax_t);
        break;
      case TArgumentType::SIZE:
        pArgument->nInteger = static_cast<std::intmax_t>(va_arg(args, std::size_t));
        break;
      case TArgumentType::PTRDIFF:
        pArgument->nInteger = va_arg(args, std::ptrdiff_t);
        break;
      case TArgumentType::DOUBLE:
        pArgument->fDouble = va_arg(args, double);
        break;
      case TArgumentType::LONG_DOUBLE:
        pArgument->fLongDouble = va_arg(args, long double);
        break;
      case TArgumentType::POINTER:
        pArgument->pPointer = va_arg(args, const void*);
        break;
    }
    ++pArgument;
  }
}

void CFormatter::Run() {
  for (const TFormatPiece& tPiece : m_tFormat.atPieces) {
    AppendPiece(tPiece);
  }
}

void CFormatter::AppendPiece(const TFormatPiece& tPiece) {
  switch (tPiece.chConversion) {
    case L'\0':
      m_strOut += tPiece.strText;
      break;
    case L'%':
      m_strOut += L'%';
      break;
    case L'm':
      AppendNarrow(tPiece, std::strerror(m_nErrno));
      break;
    case L's':
    case L'S':
      AppendWide(tPiece);
      break;
    case L'c':
    case L'C':
      AppendCharacter(tPiece);
      break;
    case L'p':
      AppendPointer(tPiece);
      break;
    case L'd':
    case L'i':
    case L'o':
    case L'u':
    case L'x':
    case L'X':
      AppendInteger(tPiece);
      break;
    default:
      AppendFloat(tPiece);
  }
}

bool TakesBytes(const TFormatPiece& tPiece) {
  return (tPiece.eLength == TLengthModifier::SHORT || tPiece.eLength == TLengthModifier::CHAR) &&
         (tPiece.chConversion == L's' || tPiece.chConversion == L'c');
}

template <class TShort>
std::intmax_t Truncate(std::intmax_t nValue) {
  return static_cast<std::intmax_t>(static_cast<TShort>(nValue));
}

/// The value as its own type holds it: small types arrive as int, unsigned ones with their sign bits.
std::intmax_t Narrow(std::intmax_t nValue, TLengthModifier eLength, bool bSigned) {
  switch (eLength) {
    case TLengthModifier::CHAR:
      return bSigned ? Truncate<signed char>(nValue) : Truncate<unsigned char>(nValue);
    case TLengthModifier::SHORT:
      return bSigned ? Truncate<short>(nValue) : Truncate<unsigned short>(nValue);
    case TLengthModifier::NONE:
      return bSigned ? nValue : Truncate<unsigned int>(nValue);
    case TLengthModifier::LONG:
      return bSigned ? nValue : Truncate<unsigned long>(nValue);
    default:
      return nValue;
  }
}

void CFormatter::AppendInteger(const TFormatPiece& tPiece) {
  const bool bSigned = tPiece.chConversion == L'd' || tPiece.chConversion == L'i';
  const bool bPlain = tPiece.strFlags.empty() && !tPiece.tWidth.bPresent && !tPiece.tPrecision.bPresent;
  if (bSigned && bPlain) {  // most numbers of most lines; the library takes ten times as long
    m_strOut += CDecimal(Narrow(Value(tPiece).nInteger, tPiece.eLength, true)).View();
    return;
  }
  const wchar_t szConversion[] = {L'j', tPiece.chConversion};
  AppendByLibrary(tPiece, {szConversion, 2}, Narrow(Value(tPiece).nInteger, tPiece.eLength, bSigned));
}

void CFormatter::AppendFloat(const TFormatPiece& tPiece) {
  const wchar_t szConversion[] = {L'L', tPiece.chConversion};
  if (tPiece.eLength == TLengthModifier::LONG_LONG) {
    AppendByLibrary(tPiece, {szConversion, 2}, Value(tPiece).fLongDouble);
  } else {
    AppendByLibrary(tPiece, {szConversion + 1, 1}, Value(tPiece).fDouble);
  }
}

void CFormatter::AppendPointer(const TFormatPiece& tPiece) {
  AppendByLibrary(tPiece, L"p", Value(tPiece).pPointer);
}

void CFormatter::AppendCharacter(const TFormatPiece& tPiece) {
  const std::intmax_t nValue = Value(tPiece).nInteger;
  if (TakesBytes(tPiece)) {
    const char chByte = static_cast<char>(nValue);
    AppendPadded(tPiece, FromBytes({&chByte, 1}).View());
  } else {
    const auto chWide = static_cast<wchar_t>(nValue);
    AppendPadded(tPiece, {&chWide, 1});
  }
}

void CFormatter::AppendWide(const TFormatPiece& tPiece) {
  const void* pText = Value(tPiece).pPointer;
  const int nPrecision = Number(tPiece.tPrecision, -1);
  if (!pText) {
    // As the C library: shown when there is room for all of it.
    constexpr std::wstring_view NULL_TEXT = L"(null)";
    const bool bRoom = nPrecision < 0 || static_cast<std::size_t>(nPrecision) >= NULL_TEXT.size();
    AppendPadded(tPiece, bRoom ? NULL_TEXT : std::wstring_view());
  } else if (TakesBytes(tPiece)) {
    AppendNarrow(tPiece, static_cast<const char*>(pText));
  } else {
    const auto* pszText = static_cast<const wchar_t*>(pText);
    const std::size_t nLength =
        nPrecision < 0 ? std::wcslen(pszText) : wcsnlen(pszText, static_cast<std::size_t>(nPrecision));
    AppendPadded(tPiece, {pszText, nLength});
  }
}

/// Length in bytes of the first `nCount` characters. Looks at no byte behind them: with a precision a text
/// needs no end.
std::size_t BytesOfCharacters(const char* pszText, int nCount) {
  const CLocaleCodec oCodec;
  std::size_t nDone = 0;
  for (; nCount > 0 && pszText[nDone] != '\0'; --nCount) {
    const char* pszNext = pszText + nDone;
    wchar_t chIgnored = 0;
    std::size_t nLength = 0;
    for (std::size_t n = 1; n <= MB_LEN_MAX && nLength == 0 && pszNext[n - 1] != '\0'; ++n) {
      nLength = oCodec.Decode({pszNext, n}, chIgnored);
    }
    nDone += std::max<std::size_t>(nLength, 1);
  }
  return nDone;
}

void CFormatter::AppendNarrow(const TFormatPiece& tPiece, const char* pszText) {
  const int nPrecision = Number(tPiece.tPrecision, -1);
  const std::size_t nLength = nPrecision < 0 ? std::strlen(pszText) : BytesOfCharacters(pszText, nPrecision);
  AppendPadded(tPiece, FromBytes({pszText, nLength}).View());
}

void CFormatter::AppendPadded(const TFormatPiece& tPiece, std::wstring_view strText) {
  if (!tPiece.tWidth.bPresent) {
    m_strOut += strText;
    return;
  }
  const long nWidth = Number(tPiece.tWidth, 0);
  const bool bLeft = nWidth < 0 || tPiece.strFlags.find(L'-') != std::wstring_view::npos;
  const auto nWanted = static_cast<std::size_t>(nWidth < 0 ? -nWidth : nWidth);
  const std::size_t nPadding = nWanted > strText.size() ? nWanted - strText.size() : 0;
  if (!bLeft) m_strOut.append(nPadding, L' ');
  m_strOut += strText;
  if (bLeft) m_strOut.append(nPadding, L' ');
}

template <class TValue>
void CFormatter::AppendByLibrary(const TFormatPiece& tPiece, std::wstring_view strConversion, TValue value) {
  std::wstring strFormat = L"%";
  strFormat += tPiece.strFlags;
  strFormat += L"*.*";
  strFormat += strConversion;
  const int nWidth = Number(tPiece.tWidth, 0);
  const int nPrecision = Number(tPiece.tPrecision, -1);

  // The library tells only that a buffer was too small, not by how much. The longest number without width
  // and precision, a long double, has under 5000 characters; grouping adds less than as much again.
  const std::size_t nStart = m_strOut.size();
  const long nAsked = std::abs(static_cast<long>(nWidth)) + std::max(0L, static_cast<long>(nPrecision));
  const auto nLimit = static_cast<std::size_t>(nAsked) * 2 + 0x4000;
  for (std::size_t nRoom = 64;; nRoom = nRoom < 1024 ? 1024 : nLimit) {
    m_strOut.resize(nStart + nRoom);
    const int nWritten =
        std::swprintf(m_strOut.data() + nStart, nRoom, strFormat.c_str(), nWidth, nPrecision, value);
    m_strOut.resize(nStart + static_cast<std::size_t>(std::max(nWritten, 0)));
    if (nWritten >= 0) return;
    if (nRoom == nLimit) break;
  }
  m_strOut += tPiece.strText;  // refused by the library: better the directive than nothing
}

int CFormatter::Number(const TFormatNumber& tNumber, int nAbsent) const {
  if (!tNumber.bPresent) return nAbsent;
  if (tNumber.nArgument < 0) return tNumber.nValue;
  return static_cast<int>(m_ptArguments[static_cast<std::size_t>(tNumber.nArgument)].nInteger);
}

/// Formats taken to pieces, the latest ones. They are literals, a few of them used over and over again, and
/// taking one to pieces costs as much as filling it in. A place found by the address alone would be the same
/// for some, as chance has it, and they would drive each other out.
class CKnownFormats {
 public:
  const TParsedFormat& Find(const wchar_t* pszFormat, std::wstring_view strFormat) {
    for (const std::unique_ptr<TKnown>& poKnown : m_apoKnown) {
      if (!poKnown) break;
      if (poKnown->pszFormat == pszFormat && poKnown->strFormat == strFormat) return poKnown->tParsed;
    }
    auto poNew = std::make_unique<TKnown>(TKnown{pszFormat, std::wstring(strFormat), {}});
    poNew->tParsed = ParseFormat(poNew->strFormat);
    std::unique_ptr<TKnown>& poOldest = m_apoKnown[m_nAdded++ % MANY_KNOWN];
    poOldest = std::move(poNew);
    return poOldest->tParsed;
  }

 private:
  static constexpr std::size_t MANY_KNOWN = 16;

  struct TKnown {
    const wchar_t* pszFormat;  // only compared: a format in a buffer may be gone
    std::wstring strFormat;
    TParsedFormat tParsed;  // points into the text
  };

  std::unique_ptr<TKnown> m_apoKnown[MANY_KNOWN];
  std::size_t m_nAdded = 0;
};

}  // namespace

void FormatText(const wchar_t* pszFormat, va_list args, std::wstring& strOut) {
  constexpr std::size_t LONG_FORMAT = 512;
  thread_local CKnownFormats s_oKnown;

  const std::wstring_view strFormat = pszFormat;
  if (strFormat.size() > LONG_FORMAT) {
    CFormatter(ParseFormat(strFormat), args, strOut).Run();
  } else {
    CFormatter(s_oKnown.Find(pszFormat, strFormat), args, strOut).Run();
  }
}

}  // namespace TALVEK::VCM

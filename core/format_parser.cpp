#include "core/format_parser.h"

#include <climits>
#include <cstddef>
#include <utility>

namespace TALVEK::VCM {

namespace {

// What the C library promises to accept ("%4096$d"); a format that asks for more is taken for text.
constexpr int MAX_ARGUMENTS = 4096;

constexpr std::wstring_view FLAGS = L"-+ #0'I";
constexpr std::wstring_view INTEGER_CONVERSIONS = L"diouxX";
constexpr std::wstring_view FLOAT_CONVERSIONS = L"aAeEfFgG";
constexpr std::wstring_view OTHER_CONVERSIONS = L"cCsSpm%";

bool Contains(std::wstring_view strSet, wchar_t ch) {
  return strSet.find(ch) != std::wstring_view::npos;
}

class CFormatParser {
 public:
  explicit CFormatParser(std::wstring_view strFormat) : m_strFormat(strFormat) {}

  TParsedFormat Parse();

 private:
  bool ParseDirective(TFormatPiece& tPiece);
  bool ParsePosition(int& nArgument);
  void ParseFlags(TFormatPiece& tPiece);
  bool ParseNumber(TFormatNumber& tNumber);
  bool ParseDigits(int& nValue);
  TLengthModifier ParseLength();
  TLengthModifier ParseDoubledLength(wchar_t chModifier, TLengthModifier eOne, TLengthModifier eTwo);
  bool TakeArguments(TFormatPiece& tPiece);
  bool TakeArgument(int& nArgument, TArgumentType eType);
  void AddText(std::size_t nStart, std::size_t nEnd);

  bool AtEnd() const { return m_nPosition >= m_strFormat.size(); }
  wchar_t Next() const { return AtEnd() ? L'\0' : m_strFormat[m_nPosition]; }
  bool Skip(wchar_t ch) {
    if (AtEnd() || Next() != ch) return false;
    ++m_nPosition;
    return true;
  }

  std::wstring_view m_strFormat;
  std::size_t m_nPosition = 0;
  int m_nNextArgument = 0;
  TParsedFormat m_tResult;
};

// Where an argument's number is still to be given, in the order in which directives read them.
constexpr int NEXT_ARGUMENT = -2;

TParsedFormat CFormatParser::Parse() {
  while (!AtEnd()) {
    const std::size_t nStart = m_nPosition;
    const std::size_t nPercent = m_strFormat.find(L'%', nStart);
    m_nPosition = nPercent == std::wstring_view::npos ? m_strFormat.size() : nPercent;
    AddText(nStart, m_nPosition);
    if (AtEnd()) break;

    TFormatPiece tPiece;
    const bool bDirective = ParseDirective(tPiece);
    tPiece.strText = m_strFormat.substr(nPercent, m_nPosition - nPercent);
    if (bDirective && TakeArguments(tPiece)) {
      m_tResult.atPieces.push_back(tPiece);
    } else {
      AddText(nPercent, m_nPosition);
    }
  }
  return std::move(m_tResult);
}

bool CFormatParser::ParseDirective(TFormatPiece& tPiece) {
  Skip(L'%');
  tPiece.nArgument = NEXT_ARGUMENT;
  ParsePosition(tPiece.nArgument);
  ParseFlags(tPiece);
  if (!ParseNumber(tPiece.tWidth)) return false;
  if (Skip(L'.')) {
    if (!ParseNumber(tPiece.tPrecision)) return false;
    tPiece.tPrecision.bPresent = true;  // "%.d" is "%.0d"
  }
  tPiece.eLength = ParseLength();
  tPiece.chConversion = Next();
  const bool bKnown = Contains(INTEGER_CONVERSIONS, Next()) || Contains(FLOAT_CONVERSIONS, Next()) ||
                      Contains(OTHER_CONVERSIONS, Next());
  // The "n" belongs to the text of the directive that isn't carried out; what else is unknown may be a "%".
  if (bKnown || Next() == L'n') ++m_nPosition;
  return bKnown;
}

/// "3$": the number of an argument, counted from 1. Without one nothing is consumed.
bool CFormatParser::ParsePosition(int& nArgument) {
  const std::size_t nStart = m_nPosition;
  int nNumber = 0;
  if (ParseDigits(nNumber) && nNumber > 0 && Skip(L'$')) {
    nArgument = nNumber - 1;
    return true;
  }
  m_nPosition = nStart;
  return false;
}

void CFormatParser::ParseFlags(TFormatPiece& tPiece) {
  const std::size_t nStart = m_nPosition;
  while (!AtEnd() && Contains(FLAGS, Next())) {
    ++m_nPosition;
  }
  tPiece.strFlags = m_strFormat.substr(nStart, m_nPosition - nStart);
}

/// False for a number that no int holds.
bool CFormatParser::ParseNumber(TFormatNumber& tNumber) {
  if (Skip(L'*')) {
    tNumber.bPresent = true;
    tNumber.nArgument = NEXT_ARGUMENT;
    ParsePosition(tNumber.nArgument);
    return true;
  }
  const std::size_t nStart = m_nPosition;
  const bool bFits = ParseDigits(tNumber.nValue);
  tNumber.bPresent = m_nPosition > nStart;
  return bFits || !tNumber.bPresent;
}

/// False when there are no digits, or too many. Consumes all of them.
bool CFormatParser::ParseDigits(int& nValue) {
  const std::size_t nStart = m_nPosition;
  bool bFits = true;
  for (; Next() >= L'0' && Next() <= L'9'; ++m_nPosition) {
    const int nDigit = Next() - L'0';
    if (nValue > (INT_MAX - nDigit) / 10) bFits = false;
    if (bFits) nValue = nValue * 10 + nDigit;
  }
  return bFits && m_nPosition > nStart;
}

TLengthModifier CFormatParser::ParseDoubledLength(wchar_t chModifier, TLengthModifier eOne,
                                                  TLengthModifier eTwo) {
  Skip(chModifier);
  return Skip(chModifier) ? eTwo : eOne;
}

TLengthModifier CFormatParser::ParseLength() {
  switch (Next()) {
    case L'h':
      return ParseDoubledLength(L'h', TLengthModifier::SHORT, TLengthModifier::CHAR);
    case L'l':
      return ParseDoubledLength(L'l', TLengthModifier::LONG, TLengthModifier::LONG_LONG);
    case L'q':
    case L'L':
      ++m_nPosition;
      return TLengthModifier::LONG_LONG;
    case L'j':
      ++m_nPosition;
      return TLengthModifier::INTMAX;
    case L'z':
    case L'Z':
      ++m_nPosition;
      return TLengthModifier::SIZE;
    case L't':
      ++m_nPosition;
      return TLengthModifier::PTRDIFF;
    default:
      return TLengthModifier::NONE;
  }
}

TArgumentType IntegerType(TLengthModifier eLength) {
  switch (eLength) {
    case TLengthModifier::LONG:
      return TArgumentType::LONG;
    case TLengthModifier::LONG_LONG:
      return TArgumentType::LONG_LONG;
    case TLengthModifier::INTMAX:
      return TArgumentType::INTMAX;
    case TLengthModifier::SIZE:
      return TArgumentType::SIZE;
    case TLengthModifier::PTRDIFF:
      return TArgumentType::PTRDIFF;
    default:
      return TArgumentType::INT;  // smaller types are passed as int
  }
}

TArgumentType ValueType(const TFormatPiece& tPiece) {
  if (Contains(INTEGER_CONVERSIONS, tPiece.chConversion)) return IntegerType(tPiece.eLength);
  if (Contains(FLOAT_CONVERSIONS, tPiece.chConversion)) {
    return tPiece.eLength == TLengthModifier::LONG_LONG ? TArgumentType::LONG_DOUBLE : TArgumentType::DOUBLE;
  }
  return tPiece.chConversion == L'c' || tPiece.chConversion == L'C' ? TArgumentType::INT
                                                                    : TArgumentType::POINTER;
}

/// Numbers the arguments of a directive: width, precision, value. False when a number is out of reason.
bool CFormatParser::TakeArguments(TFormatPiece& tPiece) {
  const bool bReadsValue = tPiece.chConversion != L'%' && tPiece.chConversion != L'm';
  if (!bReadsValue) tPiece.nArgument = -1;
  return TakeArgument(tPiece.tWidth.nArgument, TArgumentType::INT) &&
         TakeArgument(tPiece.tPrecision.nArgument, TArgumentType::INT) &&
         TakeArgument(tPiece.nArgument, ValueType(tPiece));
}

bool CFormatParser::TakeArgument(int& nArgument, TArgumentType eType) {
  if (nArgument == -1) return true;
  if (nArgument == NEXT_ARGUMENT) nArgument = m_nNextArgument++;
  if (nArgument >= MAX_ARGUMENTS) return false;
  // Arguments that no directive names have to be stepped over; the C library takes them for ints.
  const auto nIndex = static_cast<std::size_t>(nArgument);
  if (nIndex >= m_tResult.aeArguments.size()) m_tResult.aeArguments.resize(nIndex + 1, TArgumentType::INT);
  m_tResult.aeArguments[nIndex] = eType;
  return true;
}

void CFormatParser::AddText(std::size_t nStart, std::size_t nEnd) {
  if (nStart == nEnd) return;
  TFormatPiece tPiece;
  tPiece.strText = m_strFormat.substr(nStart, nEnd - nStart);
  m_tResult.atPieces.push_back(tPiece);
}

}  // namespace

TParsedFormat ParseFormat(std::wstring_view strFormat) {
  return CFormatParser(strFormat).Parse();
}

}  // namespace TALVEK::VCM

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "core/export.h"
#include "core/string.h"

namespace TALVEK::VCM {

/// Bytes and wide text, both ways, without loss.
///
/// Bytes are decoded in the encoding of the process's LC_CTYPE. A byte that can't be decoded becomes the
/// character U+DC00 + byte (U+DC80 to U+DCFF), and that character becomes the same byte again. So
/// ToBytes(FromBytes(b)) is b for every b, in every locale. Bytes that the C library decodes to a surrogate
/// or beyond U+10FFFF count as undecodable.
TALVEK_CORE_API CString FromBytes(std::string_view strBytes);
/// As FromBytes, into a text whose storage is reused.
TALVEK_CORE_API void DecodeBytes(std::string_view strBytes, CString& strOut);

/// Copies the ASCII characters at the start of `strBytes` to `pOut`, which has room for all of `strBytes`.
/// Returns their number. ASCII is the same in every encoding used here.
TALVEK_CORE_API std::size_t WidenAscii(std::string_view strBytes, wchar_t* pOut);

/// The bytes of `strText` in the locale's encoding. A character that this encoding lacks is written in UTF-8.
TALVEK_CORE_API std::string ToBytes(const CString& strText);

/// As ToBytes, for the paths of system calls, which end at a NUL. False when `strText` contains one.
TALVEK_CORE_API bool ToSystemPath(const CString& strText, std::string& strOut);

/// UTF-8, the same in every locale; a character without a UTF-8 form (such as U+DC80) becomes U+FFFD.
TALVEK_CORE_API std::string ToUtf8(const CString& strText);

/// UTF-8 extended to surrogates (three bytes each), the same in every locale: what the database stores.
/// EncodeStored appends to `strOut`. Decoding what was encoded gives the same text again; undecodable bytes
/// become U+DC80 to U+DCFF.
TALVEK_CORE_API void EncodeStored(std::wstring_view strText, std::string& strOut);
TALVEK_CORE_API CString DecodeStored(std::string_view strBytes);
TALVEK_CORE_API void DecodeStored(std::string_view strBytes, CString& strOut);

/// True when all bytes are below 80: text that is the same in every encoding used here.
TALVEK_CORE_API bool IsAscii(std::string_view strBytes);

/// strtol in base 10 over the locale's bytes of `strText`: leading white space and a sign are accepted, the
/// first character that is no digit ends the number, no digits give 0, too large a number gives the nearest
/// long. A text with any character that the locale can't convert gives 0.
TALVEK_CORE_API long ParseNumber(const CString& strText);

}  // namespace TALVEK::VCM

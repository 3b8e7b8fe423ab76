#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/array.h"
#include "core/string.h"
#include "fuzz/fuzz_input.h"
#include "mce/cvs_revision.h"
#include "mcv/log_parser.h"

namespace TALVEK::FUZZ {

/// How a log is read. The module is "mod", the repository's directory "/repo".
///
///   m  the directory isn't known
///   i  only names that match "REL*" are included
///   x  names that match "*_x" are excluded
///   t  tags are kept
struct TLogOptions {
  explicit TLogOptions(const CFuzzInput& oInput);

  VCM::CString strModule = L"mod";
  VCM::CString strReposDir;
  VCM::CArray<VCM::CString> astrIncludeTags;
  VCM::CArray<VCM::CString> astrExcludeTags;
  bool bKeepTags;
};

using TNumber = std::vector<std::uint32_t>;
TNumber NumberOf(const MCE::TCVSRevision& oRevision);

/// An item of a log that owns its texts.
struct TPlainItem {
  int nKind;
  std::wstring strPath;
  TNumber anRevision;
  int nTotalRevisions;
  long long nTime;
  std::wstring strAuthor;
  int nState;
  std::wstring strComment;
  std::vector<std::pair<std::wstring, TNumber>> atNames;
  bool operator==(const TPlainItem&) const = default;
};

/// Reads the whole log with the parser, in pieces of at most `nPiece` bytes. Checks each item by itself, and
/// that each byte is read once.
std::vector<TPlainItem> ReadItems(std::string_view strLog, std::size_t nPiece, const TLogOptions& tOptions);

}  // namespace TALVEK::FUZZ

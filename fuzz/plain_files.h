#pragma once

#include <string>
#include <vector>

#include "fuzz/log_items.h"
#include "mcv/file_enum.h"

namespace TALVEK::FUZZ {

struct TPlainName {
  std::wstring strName;
  TNumber anNumber;
  bool bIsBranch;
  bool operator==(const TPlainName&) const = default;
};

struct TPlainRevision {
  TNumber anNumber;
  long long nTime;
  int nState;
  std::wstring strAuthor;
  std::wstring strMessage;
  bool operator==(const TPlainRevision&) const = default;
};

/// A file of a log that owns its texts.
struct TPlainFile {
  std::wstring strPath;
  std::vector<TPlainName> atNames;
  std::vector<TPlainRevision> atRevisions;
  bool operator==(const TPlainFile&) const = default;
};

TPlainFile CopyOf(const MCV::TFileInfo& tFile);

/// A plain second version of CFileEnum: the files that a log's items make.
std::vector<TPlainFile> PlainFiles(const std::vector<TPlainItem>& atItems, bool bKeepTags);

}  // namespace TALVEK::FUZZ

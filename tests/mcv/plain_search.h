#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/mce/plain_grouping.h"

namespace TALVEK::TEST {

using TNumber = std::vector<std::uint32_t>;

/// A file's history, as it is in the log.
struct TPlainName {
  std::string strName;
  TNumber anNumber;
  bool bIsBranch = false;  // set by the search, from the number
};
struct TPlainRevision {
  TNumber anNumber;
  std::uint32_t nTime = 0;
  std::string strState;
  std::string strAuthor;
  std::string strMessage;
};
struct TPlainFile {
  std::string strPath;  // begins with the module
  std::vector<TPlainName> atNames;
  std::vector<TPlainRevision> atRevisions;
};

struct TPlainSettings {
  bool bNestedBranches = false;
  bool bStreamsForTags = false;
  bool bCreateBranches = true;
};

/// The rules of the search for streams and change items in their simplest form, as a reference: lists that
/// are searched linearly, and no caches.
class CPlainSearch {
 public:
  explicit CPlainSearch(const TPlainSettings& tSettings);

  /// Files in the order of the log.
  void Read(std::vector<TPlainFile> atFiles);
  /// Ties each stream to the change of its parent from which it starts.
  void Link();

  // In the format of COpenProvider's functions of these names.

  std::string Streams() const;
  std::string BaseChanges() const;
  std::string Items() const;
  std::string Changes() const;
  /// The import log behind "Parsing Log".
  const std::string& Log() const { return m_strLog; }

 private:
  struct TStream {
    std::uint32_t nID = 0;
    std::uint32_t nParentID = 0;
    std::uint32_t nBaseChangeID = 0;
    std::optional<std::uint32_t> nCreated;
    std::optional<std::uint32_t> nMaxCreated;
    std::string strName;
  };

  void NormaliseNames(TPlainFile& tFile) const;
  void ReadName(const TPlainFile& tFile, std::size_t nName);
  std::uint32_t ProposeParent(const TPlainFile& tFile, std::size_t nName) const;
  bool MoveBelow(std::uint32_t nProposed, const TPlainFile& tFile);
  bool NarrowTimes(const TPlainFile& tFile, const TPlainName& tName);
  void ReadRevisions(const TPlainFile& tFile);
  void ChooseStream(const TPlainFile& tFile, const TNumber& anRevision);
  const TStream* FindByName(const std::string& strName) const;
  const TStream* FindByID(std::uint32_t nID) const;
  void LogStream(const char* pszWhat, const TStream& tStream);
  void LogTree(std::uint32_t nParentID, const std::string& strIndent);
  void LogLine(const std::string& strLine) { m_strLog += strLine + "\n"; }

  TPlainSettings m_tSettings;
  std::vector<TStream> m_atStreams;
  TStream m_tWorking;  // the working record (mcv/stream_search.h)
  CPlainGrouping m_oGrouping;
  std::string m_strLog;
};

}  // namespace TALVEK::TEST

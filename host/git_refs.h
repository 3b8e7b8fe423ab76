#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/console.h"
#include "host/history_walk.h"
#include "host/import_record.h"

namespace TALVEK::HOST {

/// Makes the names of one kind of reference (branches or tags) unique.
///
/// Git stores references as files and folders, so "a" and "a/b" exclude each other, as equal names do. On a
/// file system that ignores case "a" and "A" do, too. The name assigned later gets a suffix: "a-2", or
/// "a-2/b".
class CRefNames {
 public:
  explicit CRefNames(bool bIgnoreCase = false) : m_bIgnoreCase(bIgnoreCase) {}

  /// A name for `strName`, without refs/heads/ or refs/tags/: valid, not assigned before, and not assigned by
  /// `poOther` (the other kind), because Git's commands would find only one of a branch and a tag of one
  /// name.
  std::string Assign(std::string_view strName, const CRefNames* poOther = nullptr);

 private:
  bool IsFree(const std::string& strName) const;
  bool IsTaken(const std::string& strName) const { return m_astrTaken.contains(Key(strName)); }
  /// The name in the form in which names that exclude each other are equal (lower case if case is ignored).
  std::string Key(const std::string& strName) const;
  std::string WithSuffix(const std::string& strName, int nNumber) const;
  void Take(const std::string& strName);

  bool m_bIgnoreCase;
  std::set<std::string> m_astrTaken;    // keys
  std::set<std::string> m_astrFolders;  // keys of every proper prefix, at a "/", of a name taken
};

/// What CGitRefs needs to know of the target.
struct TRefOptions {
  std::string strTrunkBranch;  ///< name of the trunk's branch
  bool bIgnoreCase = false;    ///< the file system ignores case: "a" and "A" exclude each other
};

/// Assigns a reference to each stream of an import, and reports the streams whose names had to be changed.
///
/// Owns     Nothing of its arguments; the report must outlive it.
class CGitRefs {
 public:
  /// The trunk is the root called "Main", or else the first root. It gets the trunk's branch; no other stream
  /// gets that name.
  CGitRefs(const std::vector<TStream>& atStreams, const TRefOptions& tOptions, CReport& oReport);
  CGitRefs(const CGitRefs&) = delete;
  CGitRefs& operator=(const CGitRefs&) = delete;

  /// "refs/tags/NAME" for a tag, else "refs/heads/NAME"; the same at each call for a stream.
  const std::string& RefOf(const TStream& tStream);
  /// What RefOf has given out so far, less the trunk's.
  const std::vector<TRecordedRef>& GetRecorded() const { return m_atRecorded; }

 private:
  std::string Assign(CRefNames& oNames, const CRefNames& oOthers, const VCM::CString& strName);

  CReport& m_oReport;
  CRefNames m_oBranches;
  CRefNames m_oTags;
  std::unordered_map<std::uint32_t, std::string> m_astrRefs;  // by stream
  std::vector<TRecordedRef> m_atRecorded;
};

}  // namespace TALVEK::HOST

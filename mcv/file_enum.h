#pragma once

#include "core/array.h"
#include "core/path.h"
#include "core/string.h"
#include "core/string_pool.h"
#include "core/timestamp.h"
#include "mce/cvs_revision.h"
#include "mcv/log_parser.h"

namespace TALVEK::MCV {

/// One symbolic name of one file.
struct TTagInfo {
  VCM::CStringRef strName;
  /// The branch's number without its magic 0 (1.2.0.4 is 1.2.4), or a tag's revision. The vendor branch 1.1.1
  /// is the single component 1, and its revisions are numbered as the trunk's: 1.1.1.4 is 1.4.
  MCE::TCVSRevision oRevision;
  bool bIsBranch = false;
};

/// One revision of one file.
struct TRevInfo {
  MCE::TCVSRevision oRevision;
  VCM::CTimestamp oTime;
  int nState = REVISION_LIVE;  ///< TRevisionState
  VCM::CStringRef strAuthor;
  VCM::CStringRef strMessage;  ///< lines joined by line feeds
};

/// One RCS file.
struct TFileInfo {
  VCM::CFilePath oPath;               ///< as TLogItem::oPath; empty when the log has no readable path
  VCM::CArray<TTagInfo> atTags;       ///< sorted by CompareTags
  VCM::CArray<TRevInfo> atRevisions;  ///< sorted by CompareRevs
};

/// Order by number (MCE::CompareRevisions: -1 or +1, never 0), for CArray::Sort.
int CompareRevs(const TRevInfo* ptLeft, const TRevInfo* ptRight);
int CompareTags(const TTagInfo* ptLeft, const TTagInfo* ptRight);

/// Puts the items of a log together into whole files, one at a time. CProvider::ReadFiles takes each file
/// next: its names go to CStreamSearch, its revisions to AddFileChanges.
///
/// Owns     The parser and one item of look-ahead. The stream is lent.
/// Lifetime A file's texts are valid until the next call of GetNextFile.
class CFileEnum {
 public:
  explicit CFileEnum(wxInputStream* poInput);
  CFileEnum(wxInputStream* poInput, const VCM::CString& strModuleName, const VCM::CString& strReposDir);

  /// Fills `tFile`; false, with an empty record, at the end of the log. If the log ends in items that belong
  /// to no file, they give one last empty record. The filters are CLogParser::GetNextItem's; without
  /// `bKeepTags` names that aren't branches are dropped, too.
  bool GetNextFile(TFileInfo& tFile, const VCM::CArray<VCM::CString>& astrIncludeTags,
                   const VCM::CArray<VCM::CString>& astrExcludeTags, bool bKeepTags);

 private:
  bool GetFileRevs(TFileInfo& tFile, const VCM::CArray<VCM::CString>& astrIncludeTags,
                   const VCM::CArray<VCM::CString>& astrExcludeTags, bool bKeepTags);
  static void PostProcess(TFileInfo& tFile);

  CLogParser m_oParser;
  TLogItem m_tCurrentItem;
  TLogItem m_tHeldItem;
  bool m_bItemHeld = false;
};

}  // namespace TALVEK::MCV

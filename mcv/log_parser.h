#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>

#include <wx/txtstrm.h>

#include "core/array.h"
#include "core/line_reader.h"
#include "core/path.h"
#include "core/string.h"
#include "core/string_pool.h"
#include "core/timestamp.h"
#include "mce/cvs_revision.h"

namespace TALVEK::MCV {

/// State of a revision.
enum TRevisionState : int { REVISION_LIVE = 0, REVISION_DEAD = 1, REVISION_OTHER = 2 };

/// One item of `cvs rlog` output. Texts that repeat are references into the parser's string pools.
struct TLogItem {
  enum TKind : int { KIND_FILE = 0, KIND_REVISION = 1, KIND_UNKNOWN = 2 };

  TKind nKind = KIND_UNKNOWN;
  VCM::CFilePath oPath;         ///< file: path below the repository directory, without ",v" and "Attic"
  MCE::TCVSRevision oRevision;  ///< file: head; revision: its own number
  int nTotalRevisions = 0;      ///< file
  VCM::CTimestamp oTime;        ///< revision: commit time, UTC
  VCM::CStringRef strAuthor;    ///< revision
  int nState = REVISION_LIVE;   ///< revision: TRevisionState
  VCM::CString strComment;      ///< revision: the log message; file: the description
  VCM::CArray<VCM::CStringRef> astrTagNames;      ///< file: symbolic names that passed the filters
  VCM::CArray<MCE::TCVSRevision> aoTagRevisions;  ///< file: their numbers as the log has them

  void Reset();
};

/// Cuts the text that `cvs rlog` prints into items: one for each file's header, one for each revision.
///
///   RCS file: /cvsroot/proj/module/dir/file.c,v
///   head: 1.3
///   symbolic names:
///   <tab>REL_1: 1.2
///   <tab>BR_1: 1.2.0.2
///   keyword substitution: kv
///   total revisions: 3;<tab>selected revisions: 3
///   description:
///   ----------------------------
///   revision 1.3
///   date: 2003/01/02 10:11:12;  author: joe;  state: Exp;  lines: +1 -0;
///   The message.
///   =============================================================================
///
/// Keywords are compared without regard to case, and only as many characters as the keyword has. A message
/// line that begins like a keyword line is taken for one, and one that begins with ten dashes or equals signs
/// ends its item: the format has no way to tell them apart. A byte-order mark at the very start is skipped.
///
/// Decides  GetNextItem decides by an item's first line what the item is; ProcessFileLine or
///          ProcessRevisionLine then decides what each further line is. CFileEnum takes the items next.
/// Errors   None: a line of unknown form is ignored, a malformed number reads as 0. At the end of the input
///          the current item ends, too.
/// Owns     Two string pools. The stream is lent and must outlive the parser. An item's references are valid
///          until the header after the next one has been read.
class CLogParser : public wxTextInputStream {
 public:
  explicit CLogParser(wxInputStream* poInput);
  /// `strReposDir` is the repository's directory on its server; when a file's path doesn't hold it, the path
  /// is taken from `strModuleName` on.
  CLogParser(wxInputStream* poInput, const VCM::CString& strModuleName, const VCM::CString& strReposDir);
  ~CLogParser();

  /// Fills `tItem` with the next item; false at the end of the input. A symbolic name is kept when it matches
  /// every pattern of `astrIncludeTags` and none of `astrExcludeTags` (CLIENT::PassesFilters). `bKeepTags` is
  /// not used here: CFileEnum drops the tags.
  bool GetNextItem(TLogItem& tItem, const VCM::CArray<VCM::CString>& astrIncludeTags,
                   const VCM::CArray<VCM::CString>& astrExcludeTags, bool bKeepTags);

  /// The number of any text (MCE::TCVSRevision); always true.
  bool GetRevisionFromString(const VCM::CString& strText, MCE::TCVSRevision& oRevision);

  /// Stores a text in the current pool: the reference is valid as long as the current item's.
  VCM::CStringRef Intern(std::wstring_view strText) { return m_poCurrentPool->Intern(strText); }

 private:
  enum TSection : int { SECTION_NONE = 0, SECTION_DESCRIPTION = 1, SECTION_NAMES = 2, SECTION_MESSAGE = 1 };

  bool GetNextFileItem(TLogItem& tItem, const VCM::CArray<VCM::CString>& astrIncludeTags,
                       const VCM::CArray<VCM::CString>& astrExcludeTags, bool bKeepTags);
  bool GetNextRevisionItem(TLogItem& tItem);
  bool GetNextUnknownItem(TLogItem& tItem);
  bool ProcessFileLine(TLogItem& tItem, const VCM::CArray<VCM::CString>& astrIncludeTags,
                       const VCM::CArray<VCM::CString>& astrExcludeTags);
  bool ProcessPathLine(TLogItem& tItem) const;
  void ProcessTotalLine(TLogItem& tItem) const;
  void ProcessNameLine(TLogItem& tItem, const VCM::CArray<VCM::CString>& astrIncludeTags,
                       const VCM::CArray<VCM::CString>& astrExcludeTags);
  bool ProcessRevisionLine(TLogItem& tItem);
  void ProcessDateLine(TLogItem& tItem);
  bool ItemEnded() const;
  static void ParseDateTime(std::wstring_view strText, VCM::CTimestamp& oTime);
  /// The text of the line from a place on; empty when it is shorter.
  std::wstring_view LineFrom(std::size_t nStart) const {
    return m_strLine.substr(std::min(nStart, m_strLine.size()));
  }
  /// True when the line begins with the keyword. As each line is compared with several keywords, the first
  /// character is compared alone: usually it is enough to say no.
  template <std::size_t N>
  bool LineBegins(const wchar_t (&szKeyword)[N]) const {
    if (m_strLine.size() < N - 1 || CannotBeSame(m_strLine[0], szKeyword[0])) return false;
    return IsSameKeyword(m_strLine.substr(0, N - 1), {szKeyword, N - 1});
  }
  /// Compares with regard to case first, because CVS always writes a keyword in the same case.
  static bool IsSameKeyword(std::wstring_view strText, std::wstring_view strKeyword) {
    return strText == strKeyword || VCM::EqualsNoCase(strText, strKeyword);
  }
  /// True when `ch` is ASCII and differs from the keyword's character by more than case.
  static bool CannotBeSame(wchar_t ch, wchar_t chKeyword) {
    return ch < 0x80 && ((ch ^ chKeyword) & ~0x20) != 0;
  }
  void RotatePools();

  VCM::CLineReader m_oLines;
  std::wstring_view m_strLine;  // the current line; in the reader's buffer
  VCM::CString m_strModuleName;
  VCM::CString m_strReposDir;
  MCE::TCVSRevision m_oNameNumber;  // scratch; a member to reuse its memory
  int m_nSection = SECTION_NONE;
  bool m_bAtStart = true;
  std::unique_ptr<VCM::CStringPool> m_poCurrentPool;
  std::unique_ptr<VCM::CStringPool> m_poPreviousPool;
};

}  // namespace TALVEK::MCV

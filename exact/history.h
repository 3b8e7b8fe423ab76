#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "exact/name_places.h"
#include "exact/rcs_file.h"
#include "exact/records.h"
#include "exact/text_table.h"

namespace TALVEK::EXACT {

struct THistoryOptions {
  bool bCreateBranches = true;   ///< off: the trunk only
  bool bStreamsForTags = true;   ///< off: branches only
  bool bUnnamedBranches = true;  ///< off: branch lines without a name are left out
  /// Which names count; none: all. Names that are left out leave the rest as it is.
  std::function<bool(std::string_view)> fnWanted;
  /// Revisions after this time are left out, and so are tags that name one of them.
  std::optional<std::int64_t> nEndTime;
};

/// A file of the repository. Its first line is the trunk (which may have no revision).
struct TFile {
  TIndex nPath = NONE;       ///< text
  TIndex nFirstLine = NONE;  ///< its lines lie together
  TIndex nEndLine = NONE;
  TIndex nTrunkEnd = NONE;    ///< revision that the client gives for the trunk without a date; NONE: no file
  TIndex nVendorLine = NONE;  ///< the vendor line that the trunk may show
  bool bCut = false;          ///< some revision is after the end time: the trunk ends with its last event
};

/// The trunk of a file (revisions 1.1, 1.2, 2.1 ... in numeric order), or one branch of it that has
/// revisions.
struct TLine {
  TIndex nFile = NONE;
  TIndex nNumber = NONE;         ///< text: "1.2.2"; "" for the trunk
  TIndex nSprout = NONE;         ///< revision that it sprouts from; NONE: the trunk, or that revision is gone
  TIndex nFirstRevision = NONE;  ///< its revisions lie together, in ascending order
  TIndex nEndRevision = NONE;
  TIndex nStream = NONE;  ///< the stream that owns it; NONE: it is left out
  bool bVendor = false;   ///< made by `cvs import`: 1.1.N with an odd N, or with a name that is spelled so
  /// Its first revision is dead and is no change: CVS made it when the file was added to the branch, and
  /// the file joined the branch by the next one.
  bool bAddedLater = false;
  bool bHasDead = false;  ///< some revision is dead
};

struct TRevision {
  std::int64_t nTime = 0;  ///< seconds since 1970 UTC
  TIndex nLine = NONE;
  std::uint32_t nMajor = 0;  ///< on the trunk the first component, else 0
  std::uint32_t nLast = 0;   ///< the last component
  TIndex nAuthor = NONE;     ///< text
  TIndex nMessage = NONE;    ///< text
  TIndex nCommitId = NONE;   ///< text; NONE where the server notes none
  bool bDead = false;
  bool bDiffers = false;  ///< lines were added or removed since the revision before; false: not told
};
static_assert(sizeof(TRevision) <= 40);

/// A symbolic name, over all files.
struct TName {
  std::string strName;
  std::uint32_t nBranchFiles = 0;  ///< files in which it is a branch
  std::uint32_t nTagFiles = 0;     ///< files in which it is a tag
  bool bWanted = true;             ///< the options' fnWanted takes it
  bool bCut = false;               ///< a tag of a revision after the end time
  TIndex nStream = NONE;           ///< NONE: left out
  TIndex nLastFile = NONE;         ///< the last file that has it
};

/// A stream: the trunk, a name, or the lines of one number that have no name.
struct TStreamName {
  std::string strName;
  TIndex nName = NONE;  ///< NONE: the trunk, or lines without a name
  bool bTag = false;    ///< a tag in all of its files
  bool bUnnamed = false;
  std::uint32_t nLines = 0;        ///< lines that it owns
  std::uint32_t nVendorLines = 0;  ///< those of them that are vendor lines
  TIndex nPlaces = NONE;           ///< key of its records in Places(); NONE: the trunk
  bool IsVendor() const { return nVendorLines * 2 > nLines; }
};

/// Facts of a module: files, lines, revisions, names. Files are added one at a time, in the order of the log.
///
/// Shape    Records by number; a file's lines and a line's revisions lie together and in order.
/// Cost     40 bytes a revision and 36 a line in memory; texts and name places go to temporary files when
///          they are large.
/// Errors   AddFile and Finish throw std::system_error when a temporary file can't be written.
/// Threads  One.
class CHistory {
 public:
  explicit CHistory(THistoryOptions tOptions = {});

  void AddFile(const TRcsFile& tFile);
  /// After the last file: decides which stream owns which line.
  void Finish();

  const THistoryOptions& Options() const { return m_tOptions; }
  const std::vector<TFile>& Files() const { return m_atFiles; }
  const std::vector<TLine>& Lines() const { return m_atLines; }
  const std::vector<TRevision>& Revisions() const { return m_atRevisions; }
  const std::vector<TName>& Names() const { return m_atNames; }
  const std::vector<TStreamName>& Streams() const { return m_atStreams; }
  const CTextTable& Texts() const { return m_oTexts; }
  const CTextTable& Messages() const { return m_oMessages; }
  const std::vector<std::string>& Notes() const { return m_astrNotes; }

  const TLine& LineOf(TIndex nRevision) const { return m_atLines[m_atRevisions[nRevision].nLine]; }
  TIndex FileOf(TIndex nRevision) const { return LineOf(nRevision).nFile; }
  std::string Path(TIndex nFile) const { return m_oTexts.Get(m_atFiles[nFile].nPath); }
  /// "1.2.2.1"
  std::string Number(TIndex nRevision) const;
  /// The line's last revision, NONE for a trunk without revisions.
  TIndex Tip(const TLine& tLine) const {
    return tLine.nFirstRevision == tLine.nEndRevision ? NONE : tLine.nEndRevision - 1;
  }
  bool IsAlive(TIndex nRevision) const { return nRevision != NONE && !m_atRevisions[nRevision].bDead; }

  /// What a stream starts from in the files that know it, in ascending order of files: calls
  /// fnEntry(file, revision) for files in which that is a living revision. On lines that the stream owns this
  /// is the revision that the line sprouts from; elsewhere it is what the name gives.
  template <class TFunction>
  void ForEachEntry(TIndex nStream, TFunction fnEntry) const {
    ForEachEntryWhile(nStream, [&](TIndex nFile, TIndex nRevision) {
      fnEntry(nFile, nRevision);
      return true;
    });
  }
  /// The same, until fnEntry returns false.
  template <class TFunction>
  void ForEachEntryWhile(TIndex nStream, TFunction fnEntry) const {
    if (m_atStreams[nStream].nPlaces == NONE) return;
    m_oPlaces.ForEachWhile(m_atStreams[nStream].nPlaces, [&](const TNamePlace& tPlace) {
      const TIndex nEntry = Entry(nStream, tPlace);
      return nEntry == NONE || fnEntry(tPlace.nFile, nEntry);
    });
  }
  /// The living revision that a line which its stream owns starts from; NONE: the file comes by the line's
  /// own changes.
  TIndex LineEntry(const TLine& tLine) const {
    return tLine.bVendor || tLine.bAddedLater || !IsAlive(tLine.nSprout) ? NONE : tLine.nSprout;
  }
  /// What the client gives for the stream's name: calls fnState(file, revision), as ForEachEntry does.
  template <class TFunction>
  void ForEachNamed(TIndex nStream, TFunction fnState) const {
    if (m_atStreams[nStream].nPlaces == NONE) return;
    m_oPlaces.ForEach(m_atStreams[nStream].nPlaces, [&](const TNamePlace& tPlace) {
      const TIndex nRevision = tPlace.nLine != NONE ? Tip(m_atLines[tPlace.nLine]) : tPlace.nRevision;
      if (IsAlive(nRevision)) fnState(tPlace.nFile, nRevision);
    });
  }

 private:
  class CFileNumbers;

  void AddRevisions(const TRcsFile& tFile, CFileNumbers& oNumbers);
  void AddLine(const TNumber& nKey, CFileNumbers& oNumbers);
  void SetTrunk(const TRcsFile& tFile, const CFileNumbers& oNumbers);
  void AddNames(const TRcsFile& tFile, const CFileNumbers& oNumbers);
  TNamePlace PlaceOf(const TRcsName& tName, const CFileNumbers& oNumbers) const;
  TIndex AddName(const std::string& strName);
  void MakeNamedStreams();
  void GiveLinesToStreams();
  void MakeUnnamedStreams();
  TIndex Entry(TIndex nStream, const TNamePlace& tPlace) const;

  THistoryOptions m_tOptions;
  std::vector<TFile> m_atFiles;
  std::vector<TLine> m_atLines;
  std::vector<TRevision> m_atRevisions;
  std::vector<TName> m_atNames;
  std::unordered_map<std::string, TIndex> m_anNames;
  std::vector<std::pair<TIndex, TIndex>>
      m_nLineNames;  ///< (line, name) for each name of a line with revisions
  std::vector<TStreamName> m_atStreams;
  CTextTable m_oTexts;  ///< paths, numbers of lines, authors, commit ids
  CTextTable m_oMessages;
  CNamePlaces m_oPlaces;
  std::vector<std::string> m_astrNotes;
};

}  // namespace TALVEK::EXACT

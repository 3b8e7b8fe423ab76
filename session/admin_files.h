#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace TALVEK::SESSION {

/// The text of CVS/Entries: a line for each file and sub-folder checked out, in the order in which they came.
class CEntries {
 public:
  /// Shape    The text of Entries, then that of Entries.Log, which holds what came since Entries was written.
  /// Returns  False for a line of a kind that isn't known; the client then has to see to this folder.
  bool Parse(std::string_view strEntries, std::string_view strLog);

  /// True when the folder is entered.
  bool HasFolder(std::string_view strName) const;
  /// The names of the folders entered, in their order.
  std::vector<std::string> Folders() const;
  /// The line of a file, empty without one.
  std::string FileLine(std::string_view strName) const;
  /// Enters a file or folder by its whole line. One of the same name goes, and the new one comes last.
  void Add(const std::string& strLine);
  /// Says that all sub-folders are entered here, even when there is none.
  void SetFoldersKnown() { m_bFoldersKnown = true; }
  bool AreFoldersKnown() const { return m_bFoldersKnown; }

  std::string Text() const;

 private:
  bool ParseLine(std::string_view strLine);
  void Remove(std::string_view strLine);

  std::vector<std::string> m_astrLines;
  bool m_bFoldersKnown = false;
};

/// The fields of a file's line: /NAME/REVISION/TIME/OPTIONS/TAG.
struct TEntry {
  std::string strName;
  std::string strRevision;
  std::string strTime;
  std::string strOptions;
  std::string strTag;
};

bool ParseEntry(std::string_view strLine, TEntry& tEntry);
std::string EntryLine(const TEntry& tEntry);
std::string FolderLine(std::string_view strName);

}  // namespace TALVEK::SESSION

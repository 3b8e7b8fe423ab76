#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace TALVEK::SESSION {

/// The text of CVS/Entries: a line for each file and sub-folder checked out, the latest last.
class CEntries {
 public:
  /// Shape    The text of Entries, then that of Entries.Log, which holds the changes made since.
  /// Returns  False for a line of an unknown kind or without an end; leave the folder to the client then.
  bool Parse(std::string_view strEntries, std::string_view strLog);

  /// True when there is a line for the sub-folder.
  bool HasFolder(std::string_view strName) const;
  /// The names of the sub-folders, in the order of their lines.
  std::vector<std::string> Folders() const;
  /// The line of a file; empty when it has none.
  std::string FileLine(std::string_view strName) const;
  /// Appends the line of a file or sub-folder, and removes an older line of that name.
  void Add(const std::string& strLine);
  /// Records that all sub-folders are listed. Without any, a line "D" says so.
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

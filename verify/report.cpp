#include "verify/report.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <vector>

#include "host/json_bytes.h"
#include "host/text_output.h"

namespace TALVEK::VERIFY {
namespace {

constexpr const char* KIND_NAMES[] = {"trunk", "branch", "tag", "unnamed branch", "only in Git"};
constexpr const char* STATUS_NAMES[] = {"equal", "different", "missing ref", "extra ref", "refused"};
constexpr const char* PROBLEM_NAMES[] = {"different", "missing", "extra", "refused"};

const char* NameOf(TProblemKind eKind) {
  return PROBLEM_NAMES[static_cast<std::size_t>(eKind)];
}

/// How the table calls a row.
std::string TitleOf(const TRow& tRow) {
  std::string strTitle = HOST::ShowBytes(tRow.strName);
  if (tRow.eKind == TRow::TRUNK) strTitle = "trunk";
  if (tRow.eKind == TRow::ONLY_IN_GIT) strTitle = HOST::ShowBytes(tRow.strRef);
  return tRow.strTime.empty() ? strTitle : strTitle + " at " + tRow.strTime;
}

using TCells = std::array<std::string, 7>;

TCells CellsOf(const TRow& tRow) {
  return {TitleOf(tRow),
          std::to_string(tRow.nFiles),
          std::to_string(tRow.nEqual),
          std::to_string(tRow.Count(TProblemKind::DIFFERENT)),
          std::to_string(tRow.Count(TProblemKind::MISSING)),
          std::to_string(tRow.Count(TProblemKind::EXTRA)),
          tRow.eStatus == TRow::EQUAL ? "" : STATUS_NAMES[tRow.eStatus]};
}

void AppendTable(const std::vector<TCells>& atRows, std::string& strText) {
  std::array<std::size_t, std::tuple_size_v<TCells>> anWidths{};
  for (const TCells& tCells : atRows) {
    for (std::size_t nColumn = 0; nColumn < tCells.size(); ++nColumn)
      anWidths[nColumn] = std::max(anWidths[nColumn], tCells[nColumn].size());
  }
  for (const TCells& tCells : atRows) {
    std::string strLine = tCells[0] + std::string(anWidths[0] - tCells[0].size(), ' ');
    for (std::size_t nColumn = 1; nColumn + 1 < tCells.size(); ++nColumn)
      strLine += "  " + std::string(anWidths[nColumn] - tCells[nColumn].size(), ' ') + tCells[nColumn];
    if (!tCells.back().empty()) strLine += "  " + tCells.back();
    strText += strLine + '\n';
  }
}

void AppendFiles(const TRow& tRow, std::string& strText) {
  if (!tRow.strWords.empty())
    strText += TitleOf(tRow) + ": cvs says: " + HOST::ShowBytes(tRow.strWords) + '\n';
  for (const TProblem& tProblem : tRow.atFirst) {
    strText += TitleOf(tRow) + ": " + NameOf(tProblem.eKind) + ": " + HOST::ShowBytes(tProblem.strPath);
    if (!tProblem.strRevision.empty()) strText += ' ' + tProblem.strRevision;
    if (!tProblem.strReason.empty()) strText += ": " + HOST::ShowBytes(tProblem.strReason);
    strText += '\n';
  }
}

bool IsShown(const TRow& tRow, bool bBrief) {
  return !bBrief || tRow.eStatus != TRow::EQUAL;
}

nlohmann::json FilesJson(const TRow& tRow) {
  nlohmann::json oFiles = nlohmann::json::array();
  for (const TProblem& tProblem : tRow.atFirst) {
    nlohmann::json oFile = {{"kind", NameOf(tProblem.eKind)},
                            {"path", HOST::JsonOfBytes(tProblem.strPath)},
                            {"reason", HOST::JsonOfBytes(tProblem.strReason)}};
    if (!tProblem.strRevision.empty()) oFile["revision"] = HOST::JsonOfBytes(tProblem.strRevision);
    oFiles.push_back(std::move(oFile));
  }
  return oFiles;
}

nlohmann::json RowJson(const TRow& tRow) {
  nlohmann::json oRow = {{"kind", KIND_NAMES[tRow.eKind]},
                         {"name", tRow.eKind == TRow::TRUNK ? "trunk" : HOST::JsonOfBytes(tRow.strName)},
                         {"ref", HOST::JsonOfBytes(tRow.strRef)},
                         {"status", STATUS_NAMES[tRow.eStatus]},
                         {"how", tRow.strHow},
                         {"files", tRow.nFiles},
                         {"equal", tRow.nEqual},
                         {"first", FilesJson(tRow)}};
  for (std::size_t nKind = 0; nKind < PROBLEM_KIND_COUNT; ++nKind)
    oRow[PROBLEM_NAMES[nKind]] = tRow.anProblems[nKind];
  if (!tRow.strTime.empty()) oRow["time"] = tRow.strTime;
  if (!tRow.strWords.empty()) oRow["words"] = HOST::JsonOfBytes(tRow.strWords);
  return oRow;
}

/// ", 2 differ"; empty for none.
std::string CountText(std::uint64_t nCount, const char* pszOne, const char* pszMany) {
  if (nCount == 0) return "";
  return ", " + std::to_string(nCount) + ' ' + (nCount == 1 ? pszOne : pszMany);
}

/// How many names were exported whole, and how the others were compared.
std::string HowText(const TResult& tResult) {
  std::uint64_t nWhole = 0;
  for (const TRow& tRow : tResult.atRows)
    nWhole += tRow.strHow == "export" ? 1 : 0;
  return "compared: " + std::to_string(nWhole) + " by whole exports, the others by the server's list of " +
         "revisions; " + HOST::ShowCount(tResult.nFetches, "file revision") + " fetched alone";
}

}  // namespace

std::string MakeSummary(const TResult& tResult) {
  return HOST::ShowCount(tResult.atRows.size(), "ref") + ": " + std::to_string(tResult.Count(TRow::EQUAL)) +
         " equal" + CountText(tResult.Count(TRow::DIFFERENT), "differs", "differ") +
         CountText(tResult.Count(TRow::MISSING_REF), "is missing in Git", "are missing in Git") +
         CountText(tResult.Count(TRow::EXTRA_REF), "is in Git only", "are in Git only") +
         CountText(tResult.Count(TRow::REFUSED), "is refused by cvs", "are refused by cvs");
}

std::string MakeText(const TResult& tResult, bool bBrief) {
  std::vector<TCells> atCells = {{"ref", "files", "equal", "different", "missing", "extra", ""}};
  std::string strFiles;
  for (const TRow& tRow : tResult.atRows) {
    if (!IsShown(tRow, bBrief)) continue;
    atCells.push_back(CellsOf(tRow));
    AppendFiles(tRow, strFiles);
  }
  std::string strText;
  if (atCells.size() > 1) AppendTable(atCells, strText);
  strText += strFiles;
  for (const std::string& strNote : tResult.astrNotes)
    strText += "note: " + strNote + '\n';
  return strText + HowText(tResult) + '\n' + MakeSummary(tResult) + '\n';
}

std::string MakeJson(const TResult& tResult, const TSettings& tSettings, bool bBrief) {
  nlohmann::json oRows = nlohmann::json::array();
  for (const TRow& tRow : tResult.atRows) {
    if (IsShown(tRow, bBrief)) oRows.push_back(RowJson(tRow));
  }
  nlohmann::json oTotals = {{"refs", tResult.atRows.size()}};
  for (std::size_t nStatus = 0; nStatus < std::size(STATUS_NAMES); ++nStatus)
    oTotals[STATUS_NAMES[nStatus]] = tResult.Count(static_cast<TRow::TStatus>(nStatus));
  nlohmann::json oNotes = nlohmann::json::array();
  for (const std::string& strNote : tResult.astrNotes)
    oNotes.push_back(HOST::JsonOfBytes(strNote));
  const nlohmann::json oResult = {{"provider", tSettings.strProvider},
                                  {"module", HOST::JsonOfBytes(tSettings.tSource.strModule)},
                                  {"equal", tResult.IsEqual()},
                                  {"totals", oTotals},
                                  {"exports", tResult.nExports},
                                  {"fetched", tResult.nFetches},
                                  {"notes", oNotes},
                                  {"refs", oRows}};
  return oResult.dump(1) + '\n';
}

}  // namespace TALVEK::VERIFY

#include <nlohmann/json.hpp>

#include "core/text_codec.h"
#include "host/commands.h"
#include "host/exit_status.h"
#include "host/text_output.h"

namespace TALVEK::HOST {
namespace {

const char* TypeName(const TProperty& tProperty) {
  switch (tProperty.nType) {
    case MCE::TPropertyInfo::TYPE_TEXT:
      return "text";
    case MCE::TPropertyInfo::TYPE_SWITCH:
      return "switch";
    case MCE::TPropertyInfo::TYPE_EXECUTABLE:
      return "executable";
    default:
      return "other";
  }
}

std::string OptionText(const TProperty& tProperty) {
  if (tProperty.strOption.empty()) return "";
  return (tProperty.IsSwitch() ? "--[no-]" : "--") + tProperty.strOption;
}

std::string AsText(const CPropertyTable& oTable) {
  std::string strText;
  for (const TProperty& tProperty : oTable.GetProperties()) {
    strText += ShowText(tProperty.strKey) + "\n    " + ShowText(tProperty.strLabel) + '\n';
    if (!tProperty.strOption.empty()) strText += "    option   " + OptionText(tProperty) + '\n';
    strText += "    type     " + std::string(TypeName(tProperty)) + '\n';
    if (!tProperty.strDefault.IsEmpty()) strText += "    default  " + ShowText(tProperty.strDefault) + '\n';
    if (tProperty.strHostDefault != tProperty.strDefault)
      strText += "    instead  " + ShowText(tProperty.strHostDefault) + " (default of talvek-import)\n";
  }
  return strText;
}

std::string AsJson(const CPropertyTable& oTable) {
  nlohmann::ordered_json oList = nlohmann::ordered_json::array();
  for (const TProperty& tProperty : oTable.GetProperties()) {
    oList.push_back({{"key", VCM::ToUtf8(tProperty.strKey)},
                     {"label", VCM::ToUtf8(tProperty.strLabel)},
                     {"default", VCM::ToUtf8(tProperty.strDefault)},
                     {"type", TypeName(tProperty)},
                     {"option", OptionText(tProperty)}});
  }
  return oList.dump(2) + '\n';
}

}  // namespace

int PropertiesCommand(const TCommandContext& tContext) {
  const bool bJson = tContext.tCommandLine.strFormat == "json";
  WriteOutput(bJson ? AsJson(tContext.oTable) : AsText(tContext.oTable));
  return STATUS_IMPORTED;
}

}  // namespace TALVEK::HOST

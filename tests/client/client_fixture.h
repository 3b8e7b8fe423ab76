#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "client/cvs_client.h"
#include "core/text_codec.h"
#include "mce/import_log.h"
#include "tests/support/fake_cvs.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {

/// A CCvsClient that runs a shell script, and its log, in a folder of the test.
class ClientTest : public ::testing::Test {
 protected:
  void FakeCvs(const std::string& strScript, std::uint16_t nRepeatCount = 5) {
    m_oCvs.Make(strScript);
    m_oClient.SetCommand(VCM::FromBytes(m_oCvs.Path().string()), nRepeatCount);
  }
  std::string Calls() const { return m_oCvs.Calls(); }
  /// The lines logged so far, in UTF-8, with FAKE in place of the script's quoted path.
  std::string Log() const {
    std::string strLog = ReadFile(m_oFolder / "log");
    const std::string strCommand = "\"" + m_oCvs.Path().string() + "\"";
    for (std::size_t n = 0; (n = strLog.find(strCommand, n)) != std::string::npos;)
      strLog.replace(n, strCommand.size(), "FAKE");
    return strLog;
  }
  std::string Output() const { return ReadAll(m_oClient.GetOutput()); }

  CTempFolder m_oFolder;
  CFakeCvs m_oCvs{m_oFolder.Path()};
  std::ofstream m_oLogFile{m_oFolder / "log"};
  bool m_bLogOpen = true;
  MCE::CLogSink m_oLog{
      [this](const VCM::CString& strText) { m_oLogFile << VCM::ToUtf8(strText) << std::endl; },
      [this] { return m_bLogOpen; }};
  CLIENT::CCvsClient m_oClient{m_oLog};
};

}  // namespace TALVEK::TEST

#include "client/client_properties.h"

#include "core/file_system.h"

namespace TALVEK::CLIENT {

int CheckClientPath(const VCM::CString& strCvsPath, VCM::CString& strMessage) {
  if (VCM::FileExists(strCvsPath)) return 0;
  strMessage.Format(L"The file '%s' doesn't seem to exist (ignore if cvs/cvs.exe is somewhere on your PATH)",
                    strCvsPath.c_str());
  return 1;
}

}  // namespace TALVEK::CLIENT

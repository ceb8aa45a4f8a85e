#include "support/TempFolder.h"

#include <sys/stat.h>
#include "language/TextConvert.h"

namespace orvtest {

bool MakeFolder(const std::wstring& strPath)
{
    return mkdir(Language::Utf8FromWide(strPath).c_str(), 0700) == 0;
}

} // namespace orvtest

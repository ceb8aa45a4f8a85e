#include "support/RecordTextLocale.h"

#include <clocale>
#include "logging/ValueText.h"

namespace orvtest {

ScopedRecordTextLocale::ScopedRecordTextLocale()
{
    const char* szOld = setlocale(LC_ALL, nullptr);
    m_strOld = szOld ? szOld : "C";
    paramtrace::SetRecordTextLocale();
}

ScopedRecordTextLocale::~ScopedRecordTextLocale()
{
    setlocale(LC_ALL, m_strOld.c_str());
}

} // namespace orvtest

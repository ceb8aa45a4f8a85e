#include "language/CrtException.h"

#include <cerrno>
#include "language/SystemErrorText.h"
#include "language/TextConvert.h"

namespace Language {

CrtException::CrtException(const char* szFunction)
    : m_iErrno(errno)
{
    // The error number is taken before anything else can change it.
    m_strDetail = szFunction ? szFunction : "";
    m_strDetail += " failed. err = ";
    m_strDetail += GetCrtErrorText(m_iErrno);
}

std::string CrtException::Message() const
{
    return m_strText;
}

std::wstring CrtException::MessageW() const
{
    return WideFromNarrow(m_strText);
}

std::string CrtException::Detail() const
{
    return m_strDetail;
}

std::wstring CrtException::DetailW() const
{
    return WideFromNarrow(m_strDetail);
}

} // namespace Language

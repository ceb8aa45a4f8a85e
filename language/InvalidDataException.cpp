#include "language/InvalidDataException.h"

#include "language/TextConvert.h"

namespace Language {

InvalidDataException::InvalidDataException(const std::wstring& strText)
    : m_strText(strText)
{
}

std::string InvalidDataException::Message() const
{
    return NarrowFromWide(m_strText);
}

std::wstring InvalidDataException::MessageW() const
{
    return m_strText;
}

} // namespace Language

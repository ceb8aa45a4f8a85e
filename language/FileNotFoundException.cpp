#include "language/FileNotFoundException.h"

#include "language/TextConvert.h"

namespace Language {

FileNotFoundException::FileNotFoundException(const std::wstring& strFileName)
    : m_strFileName(strFileName)
{
}

std::string FileNotFoundException::Message() const
{
    // The narrow text is the bare file name, without the prefix.
    return NarrowFromWide(m_strFileName);
}

std::wstring FileNotFoundException::MessageW() const
{
    return L"找不到文件 : " + m_strFileName;
}

} // namespace Language

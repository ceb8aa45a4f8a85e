#include "language/MachineRegistry.h"

#include <cstdlib>
#include <mutex>
#include <unistd.h>
#include "language/TextConvert.h"
#include "language/posix/PrivateProfileDocument.h"

namespace Language {

namespace {

const char* const DEFAULT_STORE = "/etc/orv-soft/machine.ini";
const char* const STORE_VARIABLE = "ORVPRINT_MACHINE_CONFIG";
const uint32_t ERROR_INVALID_PARAMETER_CODE = 87;

std::string StorePath()
{
    const char* szPath = std::getenv(STORE_VARIABLE);
    return (szPath && *szPath) ? std::string(szPath) : std::string(DEFAULT_STORE);
}

// Changes of the store are a read, a change and a replacement of the file:
// one at a time in this process.
std::mutex& StoreMutex()
{
    static std::mutex s_mutex;
    return s_mutex;
}

std::wstring KeyPath(const wchar_t* szSubKey)
{
    return CPrivateProfileDocument::Trim(szSubKey ? std::wstring(szSubKey) : std::wstring());
}

std::wstring ValueName(const wchar_t* szValueName)
{
    return szValueName ? std::wstring(szValueName) : std::wstring();
}

bool KeyExists(const CPrivateProfileDocument& doc, const std::wstring& strKey)
{
    return strKey.empty() || doc.HasSectionPrefix(strKey, L'\\');
}

// Registry bytes of a value: UTF-16 code units and the terminator.
uint32_t Utf16Bytes(const std::wstring& strValue)
{
    uint32_t uiUnits = 1;
    for (wchar_t ch : strValue) {
        uiUnits += static_cast<uint32_t>(ch) > 0xFFFF ? 2 : 1;
    }
    return uiUnits * CMachineRegistryKey::CHAR_BYTES;
}

} // namespace

struct CMachineRegistryKey::Impl {
    std::string strStore;
    std::wstring strKey;
    bool bWritable = false;
};

CMachineRegistryKey::CMachineRegistryKey() = default;

CMachineRegistryKey::~CMachineRegistryKey()
{
    Close();
}

CMachineRegistryKey::CMachineRegistryKey(CMachineRegistryKey&& other) noexcept = default;

CMachineRegistryKey& CMachineRegistryKey::operator=(CMachineRegistryKey&& other) noexcept
{
    if (this != &other) {
        Close();
        m_pImpl = std::move(other.m_pImpl);
    }
    return *this;
}

uint32_t CMachineRegistryKey::Open(const wchar_t* szSubKey, EAccess eAccess)
{
    Close();
    const std::string strStore = StorePath();
    const std::wstring strKey = KeyPath(szSubKey);
    CPrivateProfileDocument doc;
    switch (doc.Load(strStore)) {
    case CPrivateProfileDocument::LOAD_MISSING:
        return MachineRegistryStatus::NOT_FOUND;
    case CPrivateProfileDocument::LOAD_FAILED:
        return MachineRegistryStatus::ACCESS_DENIED;
    case CPrivateProfileDocument::LOAD_OK:
        break;
    }
    if (!KeyExists(doc, strKey)) {
        return MachineRegistryStatus::NOT_FOUND;
    }
    const bool bCanWrite = access(strStore.c_str(), W_OK) == 0;
    if (eAccess == ACCESS_WRITE && !bCanWrite) {
        return MachineRegistryStatus::ACCESS_DENIED;
    }
    m_pImpl.reset(new Impl());
    m_pImpl->strStore = strStore;
    m_pImpl->strKey = strKey;
    m_pImpl->bWritable = eAccess != ACCESS_READ && bCanWrite;
    return MachineRegistryStatus::OK;
}

uint32_t CMachineRegistryKey::Create(const wchar_t* szSubKey)
{
    Close();
    const std::string strStore = StorePath();
    const std::wstring strKey = KeyPath(szSubKey);
    std::lock_guard<std::mutex> lock(StoreMutex());
    CPrivateProfileDocument doc;
    const CPrivateProfileDocument::ELoadResult eLoad = doc.Load(strStore);
    if (eLoad == CPrivateProfileDocument::LOAD_FAILED) {
        return MachineRegistryStatus::ACCESS_DENIED;
    }
    if (eLoad == CPrivateProfileDocument::LOAD_OK && access(strStore.c_str(), W_OK) != 0) {
        return MachineRegistryStatus::ACCESS_DENIED;
    }
    bool bChanged = false;
    if (!strKey.empty()) {
        size_t uiBegin = 0;
        size_t uiEnd = 0;
        if (!doc.FindSection(strKey, &uiBegin, &uiEnd)) {
            bChanged = doc.AddSection(strKey);
        }
    }
    if ((bChanged || eLoad == CPrivateProfileDocument::LOAD_MISSING) && !doc.Save()) {
        return MachineRegistryStatus::ACCESS_DENIED;
    }
    m_pImpl.reset(new Impl());
    m_pImpl->strStore = strStore;
    m_pImpl->strKey = strKey;
    m_pImpl->bWritable = true;
    return MachineRegistryStatus::OK;
}

bool CMachineRegistryKey::IsOpen() const
{
    return static_cast<bool>(m_pImpl);
}

void CMachineRegistryKey::Close()
{
    m_pImpl.reset();
}

uint32_t CMachineRegistryKey::QueryValue(const wchar_t* szValueName, wchar_t* pBuffer, uint32_t* puiBytes,
                                         uint32_t* puiType) const
{
    if (!m_pImpl) {
        return MachineRegistryStatus::INVALID_HANDLE;
    }
    if (pBuffer && !puiBytes) {
        return ERROR_INVALID_PARAMETER_CODE;
    }
    CPrivateProfileDocument doc;
    switch (doc.Load(m_pImpl->strStore)) {
    case CPrivateProfileDocument::LOAD_MISSING:
        return MachineRegistryStatus::NOT_FOUND;
    case CPrivateProfileDocument::LOAD_FAILED:
        return MachineRegistryStatus::ACCESS_DENIED;
    case CPrivateProfileDocument::LOAD_OK:
        break;
    }
    bool bHasValue = false;
    const std::wstring* pValue = doc.FindValue(m_pImpl->strKey, ValueName(szValueName), &bHasValue);
    if (!pValue || !bHasValue) {
        return MachineRegistryStatus::NOT_FOUND;
    }
    const uint32_t uiBytes = Utf16Bytes(*pValue);
    if (puiType) {
        *puiType = TYPE_STRING;
    }
    if (!pBuffer) {
        if (puiBytes) {
            *puiBytes = uiBytes;
        }
        return MachineRegistryStatus::OK;
    }
    if (uiBytes > *puiBytes) {
        *puiBytes = uiBytes;
        return MachineRegistryStatus::MORE_DATA;
    }
    // The buffer holds *puiBytes / CHAR_BYTES characters, enough for the
    // value's code points and the terminator.
    pValue->copy(pBuffer, pValue->size());
    pBuffer[pValue->size()] = L'\0';
    *puiBytes = uiBytes;
    return MachineRegistryStatus::OK;
}

uint32_t CMachineRegistryKey::QueryValueSize(const wchar_t* szValueName, uint32_t* puiBytes) const
{
    return QueryValue(szValueName, nullptr, puiBytes, nullptr);
}

uint32_t CMachineRegistryKey::SetStringValue(const wchar_t* szValueName, const std::wstring& strData)
{
    if (!m_pImpl) {
        return MachineRegistryStatus::INVALID_HANDLE;
    }
    if (!m_pImpl->bWritable) {
        return MachineRegistryStatus::ACCESS_DENIED;
    }
    std::lock_guard<std::mutex> lock(StoreMutex());
    CPrivateProfileDocument doc;
    if (doc.Load(m_pImpl->strStore) == CPrivateProfileDocument::LOAD_FAILED) {
        return MachineRegistryStatus::ACCESS_DENIED;
    }
    if (doc.SetValue(m_pImpl->strKey, ValueName(szValueName), strData) && !doc.Save()) {
        return MachineRegistryStatus::ACCESS_DENIED;
    }
    return MachineRegistryStatus::OK;
}

uint32_t CMachineRegistryKey::DeleteValue(const wchar_t* szValueName)
{
    if (!m_pImpl) {
        return MachineRegistryStatus::INVALID_HANDLE;
    }
    if (!m_pImpl->bWritable) {
        return MachineRegistryStatus::ACCESS_DENIED;
    }
    std::lock_guard<std::mutex> lock(StoreMutex());
    CPrivateProfileDocument doc;
    switch (doc.Load(m_pImpl->strStore)) {
    case CPrivateProfileDocument::LOAD_MISSING:
        return MachineRegistryStatus::NOT_FOUND;
    case CPrivateProfileDocument::LOAD_FAILED:
        return MachineRegistryStatus::ACCESS_DENIED;
    case CPrivateProfileDocument::LOAD_OK:
        break;
    }
    if (!doc.DeleteKey(m_pImpl->strKey, ValueName(szValueName))) {
        return MachineRegistryStatus::NOT_FOUND;
    }
    return doc.Save() ? MachineRegistryStatus::OK : MachineRegistryStatus::ACCESS_DENIED;
}

uint32_t CMachineRegistryKey::DeleteKey(const wchar_t* szSubKey)
{
    const std::string strStore = StorePath();
    const std::wstring strKey = KeyPath(szSubKey);
    std::lock_guard<std::mutex> lock(StoreMutex());
    CPrivateProfileDocument doc;
    switch (doc.Load(strStore)) {
    case CPrivateProfileDocument::LOAD_MISSING:
        return MachineRegistryStatus::NOT_FOUND;
    case CPrivateProfileDocument::LOAD_FAILED:
        return MachineRegistryStatus::ACCESS_DENIED;
    case CPrivateProfileDocument::LOAD_OK:
        break;
    }
    if (strKey.empty()) {
        return MachineRegistryStatus::ACCESS_DENIED;
    }
    // A key with sub-keys cannot be deleted.
    for (const std::wstring& strName : doc.SectionNames()) {
        if (strName.size() > strKey.size() && strName[strKey.size()] == L'\\' &&
            CPrivateProfileDocument::NamesEqual(strName.substr(0, strKey.size()), strKey)) {
            return MachineRegistryStatus::ACCESS_DENIED;
        }
    }
    if (!doc.DeleteSection(strKey)) {
        return MachineRegistryStatus::NOT_FOUND;
    }
    return doc.Save() ? MachineRegistryStatus::OK : MachineRegistryStatus::ACCESS_DENIED;
}

std::wstring CMachineRegistryKey::StoreLocation()
{
    return WideFromUtf8(StorePath());
}

} // namespace Language

#include "utility/PsFolder.h"

#include "language/MachineRegistry.h"
#include "logging/LogMacros.h"

namespace OrvUtility {

namespace {

// The working buffer: MAX_PATH wide characters, 520 registry bytes.
const uint32_t FOLDER_BUFFER_CHARS = 260;

} // namespace

const wchar_t* GetClientFolderValueName(uint32_t iFolderId)
{
    switch (iFolderId) {
    case CLIENT_FOLDER_INSTALL:
        return L"InstallDir";
    case CLIENT_FOLDER_LOG:
        return L"LogDir";
    case CLIENT_FOLDER_TEMP:
        return L"TempDir";
    case CLIENT_FOLDER_DATA:
        return L"DataDir";
    default:
        return nullptr;
    }
}

uint32_t GetClientFolder(uint32_t iFolderId, wchar_t* szFolder, uint32_t uiSize)
{
    ORV_TRACE_SCOPE("OrvUtility::GetClientFolder");
    ORV_LOG_DEBUG("%s(%d) : iFolderId = %u", iFolderId);
    ORV_LOG_DEBUG("%s(%d) : uiSize = %u", uiSize);

    wchar_t szBuffer[FOLDER_BUFFER_CHARS] = {0};
    uint32_t dwDataLen = FOLDER_BUFFER_CHARS * Language::CMachineRegistryKey::CHAR_BYTES;
    uint32_t dwType = Language::CMachineRegistryKey::TYPE_STRING;

    if (!szFolder) {
        ORV_LOG_ERROR("%s(%d) : szFolder = 0x%08X", 0u);
        return CLIENT_FOLDER_BUFFER_TOO_SMALL;
    }
    const wchar_t* szValueName = GetClientFolderValueName(iFolderId);
    if (!szValueName) {
        ORV_LOG_ERROR("%s(%d) : iFolderId = %u", iFolderId);
        return CLIENT_FOLDER_REGISTRY_FAILED;
    }

    // The key is closed on every path by its owner.
    Language::CMachineRegistryKey key;
    uint32_t lRet = key.Open(CLIENT_REGISTRY_KEY, Language::CMachineRegistryKey::ACCESS_READ);
    if (lRet != Language::MachineRegistryStatus::OK) {
        ORV_LOG_ERROR("%s(%d) : lRet = %u", lRet);
        return CLIENT_FOLDER_REGISTRY_FAILED;
    }
    // The type is not checked.
    lRet = key.QueryValue(szValueName, szBuffer, &dwDataLen, &dwType);
    if (lRet != Language::MachineRegistryStatus::OK) {
        ORV_LOG_ERROR("%s(%d) : lRet = %u", lRet);
        return CLIENT_FOLDER_REGISTRY_FAILED;
    }
    // Bytes against characters: folders of more than 127 characters are
    // refused although the caller's buffer could hold them. Intended.
    if (dwDataLen > uiSize) {
        ORV_LOG_ERROR("%s(%d) : dwDateLen = %u", dwDataLen);
        ORV_LOG_ERROR("%s(%d) : uiSize = %u", uiSize);
        return CLIENT_FOLDER_BUFFER_TOO_SMALL;
    }
    uint32_t i = 0;
    for (; i + 1 < uiSize && i < FOLDER_BUFFER_CHARS - 1 && szBuffer[i] != L'\0'; ++i) {
        szFolder[i] = szBuffer[i];
    }
    szFolder[i] = L'\0';
    ORV_LOG_DEBUG("%s(%d) : szFolder = %S", szFolder);
    return CLIENT_FOLDER_OK;
}

} // namespace OrvUtility

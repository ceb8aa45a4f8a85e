#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace OrvprintFolders {

// An absolute path split into the trusted folder it lies below and the parts
// under it, each of which the package may have to check: "C:\ProgramData"
// and "Orv-soft", "Client", "Temp". A path outside the trusted folder lies
// below its drive's root ("C:\Orv Logs": "C:\" and "Orv Logs").
//
// Accepted: "X:\..." with "\" or "/" between parts; empty parts are dropped,
// and a last part "." names the folder before it ("C:\ProgramData\Orv-soft\."
// is how the package passes a folder: a final "\" would quote the closing
// quote). Refused: relative paths, UNC and device paths, "." or ".." inside,
// ":" in a part (alternate streams), and "*" or "?" except in the last part
// of a file pattern.
class CFolderPath {
public:
    CFolderPath() = default;

    // False with the reason in strError ("... is not an absolute path
    // (X:\...)." and the like), the path unchanged then.
    bool Parse(const std::wstring& strRoot, const std::wstring& strPath, bool bPatternInLastPart, std::wstring& strError);

    const std::wstring& GetRoot() const { return m_strRoot; }
    size_t GetPartCount() const { return m_vecParts.size(); }
    const std::wstring& GetPart(size_t uiIndex) const { return m_vecParts[uiIndex]; }

    // The root joined with the first uiParts parts.
    std::wstring GetPrefix(size_t uiParts) const;
    std::wstring GetFull() const { return GetPrefix(m_vecParts.size()); }

    // The same root and all parts but the last (the folder of a file).
    CFolderPath GetParent() const;

    // Whether the last part holds "*" or "?".
    bool IsPattern() const;

private:
    std::wstring m_strRoot;
    std::vector<std::wstring> m_vecParts;
};

// Root and parts of one absolute path, without the trusted folder: "C:\" and
// the parts. False with the reason when the path is not accepted (see above).
bool SplitAbsolutePath(const std::wstring& strPath, bool bPatternInLastPart, std::wstring& strDrive,
                       std::vector<std::wstring>& vecParts, std::wstring& strError);

// Case-insensitive equality of two parts, as the file system compares names.
bool SamePart(const std::wstring& strLeft, const std::wstring& strRight);

} // namespace OrvprintFolders

#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Language {

// An INI file in memory, line by line, read and changed the way the Windows
// private-profile functions see such a file:
//
// - lines end with LF, CR LF or a lone CR; white space around lines, names
//   and values is not significant;
// - a line that starts with "[" and holds a "]" is a section header, its name
//   running to the last "]"; every other non-blank line is an entry, named by
//   the text before its first "=" (or by the whole line when it has none, in
//   which case it has no value); comment lines are entries like any other,
//   their names start with ";";
// - lines before the first header form the nameless section "";
// - names compare without regard to case; the first section of a name and
//   the first entry of a name in it are the ones that count.
//
// Changes touch only the lines they concern: every other line is written
// back byte for byte. A file is replaced as a whole (temporary file in the
// same folder, then rename), so a reader never sees half a file.
class CPrivateProfileDocument {
public:
    enum ELoadResult {
        LOAD_OK,       // read
        LOAD_MISSING,  // no such file (or the name is a folder): an empty document
        LOAD_FAILED    // the file exists but could not be read
    };

    CPrivateProfileDocument() = default;
    CPrivateProfileDocument(const CPrivateProfileDocument&) = delete;
    CPrivateProfileDocument& operator=(const CPrivateProfileDocument&) = delete;

    ELoadResult Load(const std::string& strPath);

    // Writes the document back to the file it was loaded from. False when
    // the file could not be replaced (the old file is then unchanged).
    bool Save() const;

    // Section lookup. A found section is described by the range of its body
    // lines [uiBegin, uiEnd); the nameless section always exists.
    bool FindSection(const std::wstring& strSection, size_t* puiBegin, size_t* puiEnd) const;
    bool HasSectionPrefix(const std::wstring& strPrefix, wchar_t chSeparator) const;

    // The first entry named strKey in the first section named strSection.
    // Null when absent. *pbHasValue tells a line with "=" from one without.
    const std::wstring* FindValue(const std::wstring& strSection, const std::wstring& strKey,
                                  bool* pbHasValue) const;

    // Names of the named sections, in file order.
    std::vector<std::wstring> SectionNames() const;
    // Names of the entries with a value in the first section named
    // strSection, comments (";") left out. False when there is no section.
    bool KeyNames(const std::wstring& strSection, std::vector<std::wstring>* pvecNames) const;

    // Sets an entry, adding the section (at the end of the file) or the entry
    // (after the section's last non-blank line) as needed. Returns false
    // when nothing had to change (the entry holds that value already).
    bool SetValue(const std::wstring& strSection, const std::wstring& strKey, const std::wstring& strValue);
    // Adds an empty section at the end of the file unless one of that name
    // exists; false when it existed.
    bool AddSection(const std::wstring& strSection);
    // Removes the first entry of that name; false when there was none.
    bool DeleteKey(const std::wstring& strSection, const std::wstring& strKey);
    // Removes the first section of that name with its header; false when
    // there was none.
    bool DeleteSection(const std::wstring& strSection);

    // Name comparison of section and entry names (simple case folding).
    static bool NamesEqual(const std::wstring& strLeft, const std::wstring& strRight);
    // White space as the profile functions trim it.
    static bool IsBlank(wchar_t ch);
    static std::wstring Trim(const std::wstring& strText);
    static std::wstring TrimLeft(const std::wstring& strText);

private:
    enum ELineKind { LINE_BLANK, LINE_SECTION, LINE_ENTRY };

    struct SLine {
        std::string strRaw;     // bytes of the line as read, without its end
        std::string strEnd;     // "\n", "\r\n", "\r", or "" for a last line without one
        ELineKind eKind = LINE_BLANK;
        std::wstring strName;   // section or entry name, trimmed
        std::wstring strValue;  // entry value, trimmed
        bool bHasValue = false;
    };

    static SLine ParseLine(const std::string& strRaw, const std::string& strEnd);
    SLine MakeLine(const std::wstring& strText) const;
    const SLine* FindEntryLine(const std::wstring& strSection, const std::wstring& strKey, size_t* puiIndex) const;

    std::string m_strPath;
    std::vector<SLine> m_vecLines;
    bool m_bUtf8Bom = false;
    bool m_bExists = false;
};

} // namespace Language

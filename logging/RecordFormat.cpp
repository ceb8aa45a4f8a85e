#include "logging/RecordFormat.h"

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>

namespace {

// The record being written: bytes go in until the buffer is full or a
// character could not be converted; after that nothing more is taken.
class RecordSink {
public:
    RecordSink(char* szBuffer, size_t uiSize) : m_szBuffer(szBuffer), m_uiCapacity(uiSize ? uiSize - 1 : 0) {}

    bool Stopped() const { return m_bStopped; }
    void Stop() { m_bStopped = true; }
    size_t Length() const { return m_uiLength; }
    size_t Room() const { return m_bStopped ? 0 : m_uiCapacity - m_uiLength; }

    void Put(const char* pbyBytes, size_t uiCount)
    {
        if (m_bStopped) {
            return;
        }
        const size_t uiTaken = uiCount < Room() ? uiCount : Room();
        std::memcpy(m_szBuffer + m_uiLength, pbyBytes, uiTaken);
        m_uiLength += uiTaken;
        if (uiTaken < uiCount) {
            m_bStopped = true;
        }
    }

    void Repeat(char ch, size_t uiCount)
    {
        while (uiCount-- > 0 && !m_bStopped) {
            Put(&ch, 1);
        }
    }

private:
    char* m_szBuffer;
    size_t m_uiCapacity;
    size_t m_uiLength = 0;
    bool m_bStopped = false;
};

struct ConversionSpec {
    bool bLeft = false;
    bool bPlus = false;
    bool bSpace = false;
    bool bAlternate = false;
    bool bZero = false;
    int iWidth = 0;
    int iPrecision = -1; // none
    char szLength[4] = "";
    char chConversion = '\0';
};

bool LengthIs(const ConversionSpec& spec, const char* szLength)
{
    return std::strcmp(spec.szLength, szLength) == 0;
}

bool IsLong(const ConversionSpec& spec)
{
    return LengthIs(spec, "l");
}

// Width and precision beyond the record's size change nothing but the time.
const int kMaxField = 4096;

int ClampField(long lValue)
{
    return lValue > kMaxField ? kMaxField : static_cast<int>(lValue);
}

// A width or precision written in digits; p is left behind them.
int ReadField(const char*& p)
{
    long lValue = 0;
    while (*p >= '0' && *p <= '9') {
        lValue = lValue < kMaxField ? lValue * 10 + (*p - '0') : lValue;
        ++p;
    }
    return ClampField(lValue);
}

// Reads flags, width, precision and length after a "%". Returns the
// position of the conversion character (or of the terminating NUL).
const char* ParseSpec(const char* p, ConversionSpec& spec, va_list* pva)
{
    for (;; ++p) {
        if (*p == '-') {
            spec.bLeft = true;
        } else if (*p == '+') {
            spec.bPlus = true;
        } else if (*p == ' ') {
            spec.bSpace = true;
        } else if (*p == '#') {
            spec.bAlternate = true;
        } else if (*p == '0') {
            spec.bZero = true;
        } else {
            break;
        }
    }
    if (*p == '*') {
        int iWidth = va_arg(*pva, int);
        if (iWidth < 0) {
            spec.bLeft = true;
            iWidth = iWidth == INT_MIN ? INT_MAX : -iWidth;
        }
        spec.iWidth = ClampField(iWidth);
        ++p;
    } else {
        spec.iWidth = ReadField(p);
    }
    if (*p == '.') {
        ++p;
        if (*p == '*') {
            const int iPrecision = va_arg(*pva, int);
            spec.iPrecision = iPrecision < 0 ? -1 : ClampField(iPrecision);
            ++p;
        } else {
            spec.iPrecision = ReadField(p);
        }
    }
    static const char* const aszLengths[] = {"I64", "I32", "hh", "ll", "h", "l", "j", "z", "t", "L", "q", "I"};
    for (const char* szLength : aszLengths) {
        const size_t uiLength = std::strlen(szLength);
        if (std::strncmp(p, szLength, uiLength) == 0) {
            std::memcpy(spec.szLength, szLength, uiLength + 1);
            p += uiLength;
            break;
        }
    }
    spec.chConversion = *p;
    return p;
}

void PutPadded(RecordSink& sink, const ConversionSpec& spec, const char* pbyBody, size_t uiBody)
{
    const size_t uiPad = static_cast<size_t>(spec.iWidth) > uiBody ? spec.iWidth - uiBody : 0;
    if (!spec.bLeft) {
        sink.Repeat(' ', uiPad);
    }
    sink.Put(pbyBody, uiBody);
    if (spec.bLeft) {
        sink.Repeat(' ', uiPad);
    }
}

bool IsSignedLong64(const ConversionSpec& spec)
{
    return LengthIs(spec, "ll") || LengthIs(spec, "q") || LengthIs(spec, "I64");
}

long long TakeSigned(const ConversionSpec& spec, va_list* pva)
{
    if (LengthIs(spec, "hh")) {
        return static_cast<signed char>(va_arg(*pva, int));
    }
    if (LengthIs(spec, "h")) {
        return static_cast<short>(va_arg(*pva, int));
    }
    if (IsLong(spec)) {
        return va_arg(*pva, long);
    }
    if (IsSignedLong64(spec)) {
        return va_arg(*pva, long long);
    }
    if (LengthIs(spec, "j")) {
        return static_cast<long long>(va_arg(*pva, intmax_t));
    }
    if (LengthIs(spec, "z") || LengthIs(spec, "t") || LengthIs(spec, "I")) {
        return static_cast<long long>(va_arg(*pva, ptrdiff_t));
    }
    return va_arg(*pva, int);
}

unsigned long long TakeUnsigned(const ConversionSpec& spec, va_list* pva)
{
    if (LengthIs(spec, "hh")) {
        return static_cast<unsigned char>(va_arg(*pva, unsigned int));
    }
    if (LengthIs(spec, "h")) {
        return static_cast<unsigned short>(va_arg(*pva, unsigned int));
    }
    if (IsLong(spec)) {
        return va_arg(*pva, unsigned long);
    }
    if (IsSignedLong64(spec)) {
        return va_arg(*pva, unsigned long long);
    }
    if (LengthIs(spec, "j")) {
        return static_cast<unsigned long long>(va_arg(*pva, uintmax_t));
    }
    if (LengthIs(spec, "z") || LengthIs(spec, "t") || LengthIs(spec, "I")) {
        return static_cast<unsigned long long>(va_arg(*pva, size_t));
    }
    return va_arg(*pva, unsigned int);
}

void PutInteger(RecordSink& sink, const ConversionSpec& spec, unsigned long long ullMagnitude, bool bNegative,
                const char* szPrefix)
{
    const unsigned uiBase = spec.chConversion == 'o' ? 8 : (spec.chConversion == 'x' || spec.chConversion == 'X' ||
                                                            spec.chConversion == 'p')
                                                               ? 16
                                                               : 10;
    const char* const szDigits = spec.chConversion == 'X' ? "0123456789ABCDEF" : "0123456789abcdef";
    char szReversed[32];
    size_t uiDigits = 0;
    for (unsigned long long ull = ullMagnitude; ull != 0; ull /= uiBase) {
        szReversed[uiDigits++] = szDigits[ull % uiBase];
    }
    // At least one digit, unless the precision is 0 and the value is 0.
    size_t uiMinDigits = spec.iPrecision < 0 ? 1 : static_cast<size_t>(spec.iPrecision);
    if (spec.chConversion == 'o' && spec.bAlternate && ullMagnitude != 0 && uiMinDigits <= uiDigits) {
        uiMinDigits = uiDigits + 1; // the leading 0 of "%#o"
    } else if (spec.chConversion == 'o' && spec.bAlternate && ullMagnitude == 0 && uiMinDigits == 0) {
        uiMinDigits = 1;
    }
    const size_t uiZeros = uiMinDigits > uiDigits ? uiMinDigits - uiDigits : 0;

    char szSign[4] = "";
    if (bNegative) {
        std::strcpy(szSign, "-");
    } else if (spec.bPlus && (spec.chConversion == 'd' || spec.chConversion == 'i')) {
        std::strcpy(szSign, "+");
    } else if (spec.bSpace && (spec.chConversion == 'd' || spec.chConversion == 'i')) {
        std::strcpy(szSign, " ");
    }
    const size_t uiSign = std::strlen(szSign);
    const size_t uiPrefix = std::strlen(szPrefix);
    const size_t uiBody = uiSign + uiPrefix + uiZeros + uiDigits;
    const size_t uiPad = static_cast<size_t>(spec.iWidth) > uiBody ? spec.iWidth - uiBody : 0;
    const bool bZeroPad = spec.bZero && !spec.bLeft && spec.iPrecision < 0;

    if (!spec.bLeft && !bZeroPad) {
        sink.Repeat(' ', uiPad);
    }
    sink.Put(szSign, uiSign);
    sink.Put(szPrefix, uiPrefix);
    if (bZeroPad) {
        sink.Repeat('0', uiPad);
    }
    sink.Repeat('0', uiZeros);
    while (uiDigits > 0) {
        sink.Put(&szReversed[--uiDigits], 1);
    }
    if (spec.bLeft) {
        sink.Repeat(' ', uiPad);
    }
}

void PutNarrowText(RecordSink& sink, const ConversionSpec& spec, const char* szText)
{
    if (!szText) {
        szText = "(null)";
    }
    size_t uiLength = 0;
    while (szText[uiLength] && (spec.iPrecision < 0 || uiLength < static_cast<size_t>(spec.iPrecision))) {
        ++uiLength;
    }
    PutPadded(sink, spec, szText, uiLength);
}

// Converts wide text in the current C locale, whole characters only, at
// most uiLimit bytes. False at a character the locale cannot express.
bool ConvertWide(const wchar_t* szText, size_t uiMaxChars, size_t uiLimit, char* pbyOut, size_t& uiOut)
{
    uiOut = 0;
    std::mbstate_t state{};
    for (size_t i = 0; i < uiMaxChars && szText[i] != L'\0'; ++i) {
        char szChar[MB_LEN_MAX > 16 ? MB_LEN_MAX : 16];
        const size_t uiBytes = std::wcrtomb(szChar, szText[i], &state);
        if (uiBytes == static_cast<size_t>(-1)) {
            return false;
        }
        if (uiOut + uiBytes > uiLimit) {
            break;
        }
        std::memcpy(pbyOut + uiOut, szChar, uiBytes);
        uiOut += uiBytes;
    }
    return true;
}

// Longest converted wide argument; a record is far shorter.
const size_t kMaxWideBytes = 4096;

void PutWideText(RecordSink& sink, const ConversionSpec& spec, const wchar_t* szText, size_t uiMaxChars)
{
    if (!szText) {
        PutNarrowText(sink, spec, nullptr);
        return;
    }
    char szConverted[kMaxWideBytes];
    const size_t uiLimit = spec.iPrecision < 0 || static_cast<size_t>(spec.iPrecision) > sizeof(szConverted)
                               ? sizeof(szConverted)
                               : static_cast<size_t>(spec.iPrecision);
    size_t uiConverted = 0;
    if (!ConvertWide(szText, uiMaxChars, uiLimit, szConverted, uiConverted)) {
        // Nothing of a text that cannot be converted; the record ends here.
        sink.Stop();
        return;
    }
    const size_t uiPad = static_cast<size_t>(spec.iWidth) > uiConverted ? spec.iWidth - uiConverted : 0;
    if (uiConverted + uiPad <= sink.Room()) {
        PutPadded(sink, spec, szConverted, uiConverted);
        return;
    }
    // Cut: the characters that fit whole, then nothing more.
    if (!spec.bLeft) {
        sink.Repeat(' ', uiPad);
    }
    size_t uiFits = 0;
    ConvertWide(szText, uiMaxChars, sink.Room() < uiLimit ? sink.Room() : uiLimit, szConverted, uiFits);
    sink.Put(szConverted, uiFits);
    sink.Stop();
}

void PutFloating(RecordSink& sink, const ConversionSpec& spec, va_list* pva)
{
    char szFormat[32];
    char* p = szFormat;
    *p++ = '%';
    if (spec.bLeft) *p++ = '-';
    if (spec.bPlus) *p++ = '+';
    if (spec.bSpace) *p++ = ' ';
    if (spec.bAlternate) *p++ = '#';
    if (spec.bZero) *p++ = '0';
    *p++ = '*';
    *p++ = '.';
    *p++ = '*';
    if (LengthIs(spec, "L")) {
        *p++ = 'L';
    }
    *p++ = spec.chConversion;
    *p = '\0';
    // Precision at most 64 digits, width at most the room: the one number
    // always fits here, so no C library cuts it.
    char szNumber[kMaxField + 512];
    const int iPrecision = spec.iPrecision < 0 ? 6 : (spec.iPrecision > 64 ? 64 : spec.iPrecision);
    int iLength;
    if (LengthIs(spec, "L")) {
        const long double ldValue = va_arg(*pva, long double);
        iLength = std::snprintf(szNumber, sizeof(szNumber), szFormat, spec.iWidth, iPrecision, ldValue);
    } else {
        const double dValue = va_arg(*pva, double);
        iLength = std::snprintf(szNumber, sizeof(szNumber), szFormat, spec.iWidth, iPrecision, dValue);
    }
    if (iLength < 0) {
        sink.Stop();
        return;
    }
    const size_t uiLength = static_cast<size_t>(iLength) < sizeof(szNumber) ? iLength : sizeof(szNumber) - 1;
    sink.Put(szNumber, uiLength);
}

void PutConversion(RecordSink& sink, const ConversionSpec& spec, const char* pbySpecText, size_t uiSpecText,
                   va_list* pva)
{
    switch (spec.chConversion) {
    case 'd':
    case 'i': {
        const long long llValue = TakeSigned(spec, pva);
        const unsigned long long ullMagnitude =
            llValue < 0 ? 0ULL - static_cast<unsigned long long>(llValue) : static_cast<unsigned long long>(llValue);
        PutInteger(sink, spec, ullMagnitude, llValue < 0, "");
        break;
    }
    case 'u':
    case 'o':
    case 'x':
    case 'X': {
        const unsigned long long ullValue = TakeUnsigned(spec, pva);
        const char* szPrefix = "";
        if (spec.bAlternate && ullValue != 0 && spec.chConversion != 'u' && spec.chConversion != 'o') {
            szPrefix = spec.chConversion == 'X' ? "0X" : "0x";
        }
        PutInteger(sink, spec, ullValue, false, szPrefix);
        break;
    }
    case 'p': {
        const void* pValue = va_arg(*pva, void*);
        ConversionSpec pointerSpec = spec;
        pointerSpec.iPrecision = -1;
        PutInteger(sink, pointerSpec, static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(pValue)), false,
                   "0x");
        break;
    }
    case 'c':
        if (IsLong(spec)) {
            // wint_t is promoted to an int (Windows: it is 16 bits wide).
            const wchar_t szChar[2] = {static_cast<wchar_t>(va_arg(*pva, unsigned int)), L'\0'};
            ConversionSpec charSpec = spec;
            charSpec.iPrecision = -1;
            PutWideText(sink, charSpec, szChar, 1);
        } else {
            const char ch = static_cast<char>(va_arg(*pva, int));
            PutPadded(sink, spec, &ch, 1);
        }
        break;
    case 's':
        if (IsLong(spec)) {
            PutWideText(sink, spec, va_arg(*pva, const wchar_t*), SIZE_MAX);
        } else {
            PutNarrowText(sink, spec, va_arg(*pva, const char*));
        }
        break;
    case 'S':
        PutWideText(sink, spec, va_arg(*pva, const wchar_t*), SIZE_MAX);
        break;
    case 'n':
        (void)va_arg(*pva, void*);
        break;
    case '%':
        sink.Put("%", 1);
        break;
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
    case 'a':
    case 'A':
        PutFloating(sink, spec, pva);
        break;
    default:
        sink.Put(pbySpecText, uiSpecText);
        break;
    }
}

} // namespace

size_t FormatRecordV(char* szBuffer, size_t uiSize, const char* szFormat, va_list va)
{
    if (!szBuffer || uiSize == 0) {
        return 0;
    }
    RecordSink sink(szBuffer, uiSize);
    va_list vaCopy;
    va_copy(vaCopy, va);
    const char* p = szFormat ? szFormat : "";
    while (*p && !sink.Stopped()) {
        if (*p != '%') {
            const char* pEnd = std::strchr(p, '%');
            const size_t uiRun = pEnd ? static_cast<size_t>(pEnd - p) : std::strlen(p);
            sink.Put(p, uiRun);
            p += uiRun;
            continue;
        }
        const char* const pStart = p;
        ConversionSpec spec;
        p = ParseSpec(p + 1, spec, &vaCopy);
        if (*p == '\0') {
            // A "%" with no conversion at the end of the format.
            sink.Put(pStart, static_cast<size_t>(p - pStart));
            break;
        }
        ++p;
        PutConversion(sink, spec, pStart, static_cast<size_t>(p - pStart), &vaCopy);
    }
    va_end(vaCopy);
    szBuffer[sink.Length()] = '\0';
    return sink.Length();
}

size_t FormatRecord(char* szBuffer, size_t uiSize, const char* szFormat, ...)
{
    va_list va;
    va_start(va, szFormat);
    const size_t uiLength = FormatRecordV(szBuffer, uiSize, szFormat, va);
    va_end(va);
    return uiLength;
}

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

// Shared by the fuzz harnesses (tests/fuzz/*_fuzzer.cpp). Each harness
// defines LLVMFuzzerTestOneInput and is linked with libFuzzer, AddressSanitizer
// and UndefinedBehaviorSanitizer (Linux, clang; scripts/fuzz.sh).

// A broken promise of the code under test: print it and abort, so that the
// fuzzer keeps the input as a crash.
#define FUZZ_CHECK(cond)                                                                  \
    do {                                                                                  \
        if (!(cond)) {                                                                    \
            std::fprintf(stderr, "%s(%d) : check failed: %s\n", __FILE__, __LINE__, #cond); \
            std::abort();                                                                 \
        }                                                                                 \
    } while (0)

namespace orvfuzz {

// Reads the input front to back; past the end every read gives zeros.
class CInput {
public:
    CInput(const uint8_t* pbyData, size_t uiSize) : m_pbyData(pbyData), m_uiSize(uiSize), m_uiAt(0) {}

    size_t Left() const { return m_uiSize - m_uiAt; }

    uint8_t Byte()
    {
        return m_uiAt < m_uiSize ? m_pbyData[m_uiAt++] : 0;
    }

    uint16_t Unit()
    {
        const uint16_t uiLow = Byte();
        return static_cast<uint16_t>(uiLow | (Byte() << 8));
    }

    // Up to uiMax bytes, ended early by a NUL byte (which is consumed).
    std::string Text(size_t uiMax)
    {
        std::string strText;
        while (strText.size() < uiMax && m_uiAt < m_uiSize) {
            const char ch = static_cast<char>(m_pbyData[m_uiAt++]);
            if (ch == '\0') {
                break;
            }
            strText += ch;
        }
        return strText;
    }

    // The rest of the input.
    std::string Rest()
    {
        std::string strText(reinterpret_cast<const char*>(m_pbyData + m_uiAt), m_uiSize - m_uiAt);
        m_uiAt = m_uiSize;
        return strText;
    }

private:
    const uint8_t* m_pbyData;
    size_t m_uiSize;
    size_t m_uiAt;
};

// A wide string from the input read as UTF-16LE code units, one wchar_t
// per unit (unpaired surrogates and all), ended by the input's end.
inline std::wstring WideUnits(const uint8_t* pbyData, size_t uiSize)
{
    std::wstring strText;
    strText.reserve(uiSize / 2);
    for (size_t i = 0; i + 1 < uiSize; i += 2) {
        strText += static_cast<wchar_t>(pbyData[i] | (pbyData[i + 1] << 8));
    }
    return strText;
}

// A folder of the harness's own for the files it must write: made once per
// process under TMPDIR (or /tmp), removed at exit.
std::string ScratchFolder();

} // namespace orvfuzz

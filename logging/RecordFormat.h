#pragma once

#include <cstdarg>
#include <cstddef>

// printf-style formatting of log records into a fixed buffer, with one
// result on every platform. The C libraries differ exactly where records
// are cut: glibc's vsnprintf returns the length it would have needed and
// always terminates, the Windows runtime's may return -1, need not terminate
// and converts some characters that glibc refuses (and the other way round).
// Records are cut at their buffer's end, so the facade forms them here.
//
// Rules:
// - At most uiSize - 1 bytes are written, always followed by a NUL (nothing
//   at all when uiSize is 0). The result is the number of bytes written.
// - Conversions: d i u o x X c s S p n % with the flags "-+ #0", a width
//   and a precision ("*" taken from the arguments) and the length modifiers
//   hh h l ll j z t L q I I32 I64; e f g a (and upper case) go through the C
//   library for the one number. "%S" and "%ls" take a wide string, "%lc" a
//   wide character; "%n" takes its pointer and writes nothing through it. A
//   null string prints "(null)". Anything else after "%" is copied as it
//   stands.
// - Wide text is converted character by character in the current C locale
//   (the record's code page: GBK under "chs" on Windows, UTF-8 on Linux).
//   Only whole characters are written. A text with a character the locale
//   cannot express ends the record: nothing of that text and nothing after
//   it is written.
// - Narrow text is copied byte by byte and cut where the buffer ends.
size_t FormatRecord(char* szBuffer, size_t uiSize, const char* szFormat, ...);
size_t FormatRecordV(char* szBuffer, size_t uiSize, const char* szFormat, va_list va);

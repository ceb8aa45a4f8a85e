#pragma once

#include <cstdint>

namespace Language {

// Private-profile (INI) files, with the behaviour of the Windows wide
// private-profile functions on every platform. Windows forwards to
// GetPrivateProfileIntW, GetPrivateProfileStringW and
// WritePrivateProfileStringW; Linux reads and writes UTF-8 files itself:
//
// - section and key names compare without regard to case, blanks around
//   names and values do not count; the first section of a name, and in it
//   the first key of a name, is the one read and written;
// - a value in matching single or double quotes is read without them;
// - a write changes only the line of its key (adding the key after the
//   section's last line, or the section at the end of the file) and keeps
//   every other line, comments included; it creates the file when missing
//   and replaces it as a whole, so that no reader sees half a file.
//
// Names differ from the Windows ones on purpose: windows.h defines those as
// macros.

// The leading integer of a value: blanks, an optional sign, and decimal
// digits or a "0x", "0o", "0b" prefixed number (the first 29 characters of
// the value count; it wraps modulo 2^32). A value without digits gives 0;
// a missing or empty value gives iDefault (as unsigned).
uint32_t PrivateProfileGetInt(const wchar_t* szSection, const wchar_t* szKey, int32_t iDefault,
                              const wchar_t* szFileName);

// Copies the value (or szDefault, trailing blanks removed, when the key is
// missing) into szBuffer, cut to uiSize - 1 characters and terminated.
// Returns the number of characters copied, without the terminator. A null
// szKey lists the section's keys, a null szSection the file's sections,
// each name terminated and the list closed by one more NUL.
uint32_t PrivateProfileGetString(const wchar_t* szSection, const wchar_t* szKey, const wchar_t* szDefault,
                                 wchar_t* szBuffer, uint32_t uiSize, const wchar_t* szFileName);

// Sets szKey in szSection to szValue (leading blanks removed). A null
// szValue deletes the key, a null szKey the whole section. Returns non-zero
// on success, 0 when the file could not be written (or szSection is null).
int32_t PrivateProfileWriteString(const wchar_t* szSection, const wchar_t* szKey, const wchar_t* szValue,
                                  const wchar_t* szFileName);

} // namespace Language

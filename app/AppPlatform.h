#pragma once

#include <cstdint>
#include <string>
#include "utility/NamedObject.h"
#include "utility/Thread.h"

// What start-up and shutdown ask of the platform. Windows: the thread locale,
// common controls, the Run key, the spooler, message boxes and the thread's
// message loop. Linux: the C locale, an XDG autostart entry, a CUPS filter
// probe, Qt message boxes and the Qt event loop, which SIGTERM, SIGINT and
// SIGHUP end as WM_QUIT ends the Windows loop.
namespace AppPlatform {

// SetThreadLocale(2052) on Windows; a UTF-8 C locale on Linux.
void SetUiThreadLocale();

// InitCommonControlsEx with size 8 and classes 0xFF (nothing on Linux).
void InitCommonControls();

// The account under which the program must not run: "SYSTEM" on Windows
// (always: no user setting can change which account is refused), "root" on
// Linux, where the environment variable ORVPRINT_SYSTEM_ACCOUNT names another
// one (the demo and the tests, which run as root). Its own source file
// (SystemAccount.cpp), so that a test program of the Windows build can put
// the same override in its place.
std::wstring GetSystemAccountName();

// The error code of a denied access (ERROR_ACCESS_DENIED, EACCES).
uint32_t GetAccessDeniedError();

// Whether the program is registered to start at log-on: the value "OrvprintD"
// of HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Run; on Linux the XDG
// autostart entry OrvprintD.desktop in the first folder of $XDG_CONFIG_DIRS
// (default /etc/xdg) + "/autostart". Throws Language::Exception.
bool AutorunValueExists();
// Registers the program (full path) to start at log-on. Throws
// Win32::Win32Exception for "RegSetValueEx" with "设定注册表值%s失败".
void WriteAutorunValue(const std::wstring& strProgramPath);
// Where the registration lives (for messages).
std::wstring GetAutorunLocation();

// Asks the spooler to load the print processor "orvprint": the result of
// EnumPrintProcessorDatatypesW with a buffer (1 = success), and the last
// error after it. Linux: 1 when the print service's CUPS backend "orvprint"
// is installed: a regular file, executable by its owner, in
// $CUPS_SERVERBIN/backend (default /usr/lib/cups/backend).
int ProbePrintProcessor(uint32_t* puiLastError);

// Linux: blocks SIGTERM, SIGINT and SIGHUP in the calling thread (and so in
// every thread started after it) and keeps them for the message loop, which
// they end; a signal that comes at any moment after this call is not lost
// and ends the program as --quit does. Called first in main, before any
// thread starts. Windows: nothing (WM_QUIT ends the loop).
void CatchQuitSignals();

// A modal message box with the error icon and the OK button. Linux: a quit
// signal closes it.
void ShowErrorMessageBox(const std::wstring& strText);

// Runs the main thread's message loop until the quit message (Windows) or a
// quit signal or --quit request (Linux).
void RunMessageLoop();

// Join for the main thread at shutdown. Linux keeps serving the GUI thread's
// events meanwhile, because the popup thread may still show a dialog there.
uint32_t JoinFromMainThread(OrvUtility::CThread& objThread);

// --quit: asks the running instance (same program file) to end its loop and
// waits until it has exited. QUIT_ENDED when it has ended, QUIT_NONE when none
// runs, QUIT_NOT_IN_TIME when it did not end in time, QUIT_NOT_ENDED when one
// runs that this user may not end (another user's instance: the signal or the
// process handle is refused, or the instance mutex is held by a process this
// user cannot see).
enum { QUIT_ENDED = 0, QUIT_NONE = 1, QUIT_NOT_IN_TIME = 2, QUIT_NOT_ENDED = 3 };
int QuitRunningInstance(uint32_t uiTimeoutMs);

// The graver of two --quit results (ended < not in time < not ended).
int WorseQuitResult(int iFirst, int iSecond);

// The result when no process of this program file was found: QUIT_NOT_ENDED
// while the instance mutex is held all the same, else QUIT_NONE.
int NoInstanceFound();

// At the clean end of the program, with the single-instance mutex it owns.
// Windows: nothing (the handle stays open until the process ends). Linux:
// the mutex is released, so that its lock file's owner record is blanked and
// the next start does not take this one for a crashed instance.
void EndInstance(OrvUtility::NamedHandle hInstanceMutex);

// Path separator of this platform ("\" or "/").
const wchar_t* GetPathSeparator();

} // namespace AppPlatform

#pragma once

namespace OrvprintFolders {

// Exit codes of orvprint-folders; a run that meets several ends with the
// highest.
enum ExitCode {
    EXIT_DONE = 0,    // done, or nothing to do (a file or folder not there)
    EXIT_USAGE = 1,   // bad command line or path
    EXIT_REFUSED = 2, // a part of a path is not what it must be: a junction,
                      // link or other reparse point, a file where a folder
                      // belongs (or a folder where a file does), an owner
                      // that could not be replaced
    EXIT_FAILED = 3,  // a system call failed (open, make, rights, delete, rename)
};

inline ExitCode WorseOf(ExitCode eLeft, ExitCode eRight)
{
    return eLeft > eRight ? eLeft : eRight;
}

} // namespace OrvprintFolders

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// The calling thread's log4cpp NDC, which holds its trace entries. None of
// these creates the thread's NDC object once it has been released.

// Number of entries (0 without an NDC object).
size_t ThreadNdcDepth();
// The full NDC text (empty without an NDC object).
std::string ThreadNdcText();
// The innermost trace entry without its "$"; false when there is none.
bool ReadCurrentEntry(std::string& strEntry);
// The same entry as a view into the thread's NDC text, valid until the
// thread's next push or pop.
bool ReadCurrentEntryView(std::string_view& entry);

// Pops the innermost entry, if there is one; an NDC left empty is released
// as by ReleaseThreadNdc. The thread's NDC object is looked up once.
void PopThreadNdc();

// Clears the thread's NDC and deletes its per-thread object, so that a thread
// whose outermost scope has closed holds no logging memory. The next push
// creates a fresh one.
void ReleaseThreadNdc();
// True while the calling thread holds an NDC object (known once any thread
// has released one).
bool ThreadHoldsNdc();

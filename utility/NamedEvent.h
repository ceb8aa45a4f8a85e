#pragma once

#include <cstdint>
#include <string>
#include "utility/NamedObject.h"

// Auto-reset events: a set event wakes one wait and is reset by it; any
// number of sets before a wait wake it once.

namespace OrvUtility {

// OpenEventW(EVENT_ALL_ACCESS, FALSE, name). Null when there is no such event.
NamedHandle OpenNamedEvent(const std::wstring& strName);

// CreateEventW(attributes, FALSE /* auto-reset */, FALSE, name): opens the
// event when it exists already (last error 183), else creates it. A null
// name creates an unnamed event, which only this process can signal.
NamedHandle CreateNamedEvent(const wchar_t* szName, uint32_t uiEveryoneAccess);

// SetEvent. Nonzero on success.
int SetNamedEvent(NamedHandle hEvent);

// WaitForMultipleObjects(count, handles, FALSE, timeout) over events: returns
// NAMED_WAIT_OBJECT_0 + i for the first set event in list order (and resets
// that one only), NAMED_WAIT_TIMEOUT, or NAMED_WAIT_FAILED (for instance for
// a null handle).
uint32_t WaitForAnyNamedEvent(uint32_t uiCount, const NamedHandle* phEvents, uint32_t uiTimeoutMs);

// WaitForSingleObject over one event.
uint32_t WaitForNamedEvent(NamedHandle hEvent, uint32_t uiTimeoutMs);

} // namespace OrvUtility

#include "logging/log4cpp/ThreadNdc.h"

#include <atomic>
#include <log4cpp/NDC.hh>
#include "logging/TraceEntry.h"
#include "logging/log4cpp/ThreadSlots.h"

// log4cpp keeps each thread's NDC object in a thread-local slot of its own
// and offers no way to drop it. The slot is found once, by the address of an
// NDC object, and remembered: slots are process-wide.
namespace {

const long kSlotUnknown = -1;
std::atomic<long> s_lNdcSlot{kSlotUnknown};

long FindNdcSlot(const log4cpp::NDC* pNdc)
{
    const long lKnown = s_lNdcSlot.load(std::memory_order_acquire);
    if (lKnown != kSlotUnknown && GetThreadSlot(static_cast<size_t>(lKnown)) == pNdc) {
        return lKnown;
    }
    const size_t uiCount = ThreadSlotCount();
    for (size_t uiSlot = 0; uiSlot < uiCount; ++uiSlot) {
        if (GetThreadSlot(uiSlot) == pNdc) {
            s_lNdcSlot.store(static_cast<long>(uiSlot), std::memory_order_release);
            return static_cast<long>(uiSlot);
        }
    }
    return kSlotUnknown;
}

// False when the thread is known to hold no NDC object: then log4cpp must
// not be asked, as asking would create one.
bool MayHoldNdc()
{
    const long lSlot = s_lNdcSlot.load(std::memory_order_acquire);
    return lSlot == kSlotUnknown || GetThreadSlot(static_cast<size_t>(lSlot)) != nullptr;
}

} // namespace

size_t ThreadNdcDepth()
{
    if (!MayHoldNdc() || log4cpp::NDC::get().empty()) {
        return 0;
    }
    return log4cpp::NDC::getDepth();
}

std::string ThreadNdcText()
{
    if (!MayHoldNdc()) {
        return std::string();
    }
    return log4cpp::NDC::get();
}

bool ReadCurrentEntry(std::string& strEntry)
{
    if (!MayHoldNdc()) {
        return false;
    }
    const std::string& strNdc = log4cpp::NDC::get();
    if (strNdc.empty()) {
        return false;
    }
    return CurrentTraceEntry(strNdc, log4cpp::NDC::getDepth(), strEntry);
}

bool ReadCurrentEntryView(std::string_view& entry)
{
    if (!MayHoldNdc()) {
        return false;
    }
    const std::string& strNdc = log4cpp::NDC::get();
    if (strNdc.empty()) {
        return false;
    }
    return CurrentTraceEntryView(strNdc, log4cpp::NDC::getDepth(), entry);
}

void PopThreadNdc()
{
    if (!MayHoldNdc()) {
        return;
    }
    log4cpp::NDC& ndc = log4cpp::NDC::getNDC();
    if (ndc._getDepth() == 0) {
        return;
    }
    // Straight off log4cpp's stack: its pop would hand back a copy of the
    // entry that nobody reads.
    ndc._stack.pop_back();
    if (ndc._stack.empty()) {
        ReleaseThreadNdc();
    }
}

void ReleaseThreadNdc()
{
    if (!MayHoldNdc()) {
        return;
    }
    log4cpp::NDC* pNdc = &log4cpp::NDC::getNDC();
    pNdc->_clear();
    const long lSlot = FindNdcSlot(pNdc);
    if (lSlot != kSlotUnknown) {
        ClearThreadSlot(static_cast<size_t>(lSlot));
        delete pNdc;
    } else {
        // Slot not found: at least give the stack's memory back.
        log4cpp::NDC::ContextStack().swap(pNdc->_stack);
    }
}

bool ThreadHoldsNdc()
{
    const long lSlot = s_lNdcSlot.load(std::memory_order_acquire);
    if (lSlot == kSlotUnknown) {
        return !log4cpp::NDC::get().empty();
    }
    return GetThreadSlot(static_cast<size_t>(lSlot)) != nullptr;
}

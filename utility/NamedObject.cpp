#include "utility/NamedObject.h"

namespace OrvUtility {

uint32_t PointerLogValue(const void* pAddress)
{
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(pAddress));
}

} // namespace OrvUtility

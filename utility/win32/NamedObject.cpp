#include "utility/NamedObject.h"

#include <windows.h>

namespace OrvUtility {

int CloseNamedObject(NamedHandle hObject)
{
    return CloseHandle(hObject);
}

uint32_t NamedObjectLogValue(NamedHandle hObject)
{
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(hObject));
}

} // namespace OrvUtility

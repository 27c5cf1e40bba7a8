// The W layer of the visual objects: one native window per object.
#include <vexapi/toolkit/visualobject.h>

#include "wvisualobjectaccess.h"

namespace VexAPI {
namespace platform {
namespace detail {

VisualObject* objectOfWindow(HWND)
{
    return nullptr;
}

HINSTANCE libraryModule()
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS
                           | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&libraryModule), &module);
    return module;
}

} // namespace detail
} // namespace platform
} // namespace VexAPI

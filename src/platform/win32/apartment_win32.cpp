// The apartment seam on Windows: the main thread enters an apartment-threaded COM apartment.
#include <vexapi/app/platform_apartment.h>

#include <objbase.h>

void VexAPI::platform::initApartment()
{
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
}

void VexAPI::platform::endApartment()
{
    CoUninitialize();
}

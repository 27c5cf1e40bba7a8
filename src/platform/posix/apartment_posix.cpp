// The apartment seam on Linux: there is no COM, so nothing to enter or leave.
#include <vexapi/app/platform_apartment.h>

void VexAPI::platform::initApartment()
{
}

void VexAPI::platform::endApartment()
{
}

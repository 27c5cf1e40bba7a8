// The apartment seam: the main thread's COM apartment (apartment-threaded) on Windows.
// Linux has none: there both are no-ops. Implemented in apartment_<platform>.cpp.
#pragma once

namespace VexAPI {
namespace platform {

void initApartment();
void endApartment();

} // namespace platform
} // namespace VexAPI

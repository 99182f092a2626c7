// The MOF texts built into the host.
#pragma once

namespace refhost {

extern const char* const kBaseMof;    // the few public core classes that the disk classes need
extern const char* const kVendorMof;  // this project's own classes, on top of them

}  // namespace refhost

// PlatformHome: a home folder of the test program's own, so that no test touches the user's. The first one made sets it
// up for the rest of the process, since NSS opens its database once; it is removed at the end of the process.
// Under Wine the scratch prefix has a home of its own already (scripts/wine.sh).
#ifndef VT_TESTS_SUPPORT_PLATFORM_HOME_H
#define VT_TESTS_SUPPORT_PLATFORM_HOME_H

namespace support {

struct PlatformHome {
    PlatformHome();
};

}  // namespace support

#endif

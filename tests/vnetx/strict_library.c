/* A library that takes the contract at its word: there is no end to the debug output, and no null. */
#include <stdlib.h>

#include "vnetx/vnetx.h"

#define EXPORT __attribute__((visibility("default")))

EXPORT int32_t vnetx32_set_debug_output_func(VnetxDebugOutput callback) {
    if (callback == NULL) {
        abort();
    }
    callback("taken\n");
    return 1;
}

/* Every other operation: nothing is opened, so nothing works. */
#define REFUSED(name)                                                                                        \
    EXPORT int32_t vnetx32_##name(void) {                                                                    \
        return -1;                                                                                           \
    }
REFUSED(open)
REFUSED(close)
REFUSED(ioctl)
REFUSED(read)
REFUSED(write)
REFUSED(get_stats)
REFUSED(calc_inet_checksum)
REFUSED(build_vant_iface_mac)
REFUSED(get_default_iface)
REFUSED(version_numbers)
REFUSED(version_string)
REFUSED(copyright_string)

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
#define FAILING(operation)                                                                                   \
    EXPORT int32_t operation(void) {                                                                         \
        return -1;                                                                                           \
    }
FAILING(vnetx32_open)
FAILING(vnetx32_close)
FAILING(vnetx32_ioctl)
FAILING(vnetx32_read)
FAILING(vnetx32_write)
FAILING(vnetx32_get_stats)
FAILING(vnetx32_calc_inet_checksum)
FAILING(vnetx32_build_vant_iface_mac)
FAILING(vnetx32_get_default_iface)
FAILING(vnetx32_version_numbers)
FAILING(vnetx32_version_string)
FAILING(vnetx32_copyright_string)

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
EXPORT int32_t vnetx32_open(void) {
    return -1;
}
EXPORT int32_t vnetx32_close(void) {
    return -1;
}
EXPORT int32_t vnetx32_ioctl(void) {
    return -1;
}
EXPORT int32_t vnetx32_read(void) {
    return -1;
}
EXPORT int32_t vnetx32_write(void) {
    return -1;
}
EXPORT int32_t vnetx32_get_stats(void) {
    return -1;
}
EXPORT int32_t vnetx32_calc_inet_checksum(void) {
    return -1;
}
EXPORT int32_t vnetx32_build_vant_iface_mac(void) {
    return -1;
}
EXPORT int32_t vnetx32_get_default_iface(void) {
    return -1;
}
EXPORT int32_t vnetx32_version_numbers(void) {
    return -1;
}
EXPORT int32_t vnetx32_version_string(void) {
    return -1;
}
EXPORT int32_t vnetx32_copyright_string(void) {
    return -1;
}

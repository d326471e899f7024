#include "platform/system/local_time.h"

namespace vnxtest {

std::tm LocalTime(std::time_t time) {
    std::tm local{};
    localtime_r(&time, &local);
    return local;
}

} // namespace vnxtest

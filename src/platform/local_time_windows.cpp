#include "platform/local_time.h"

namespace vnxtest {

std::tm LocalTime(std::time_t time) {
    std::tm local{};
    localtime_s(&local, &time);
    return local;
}

} // namespace vnxtest

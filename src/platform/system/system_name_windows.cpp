#include "platform/system/system_name.h"

namespace vnxtest {

std::wstring_view SystemName() {
    return L"Windows";
}

} // namespace vnxtest

#include "wrenpack/wrenpack.h"

namespace vnxtest {

void WrenPackLibrary::CloseAdapters(const std::vector<AdapterHandle>& handles) {
    for (const AdapterHandle handle : handles) {
        CloseAdapter(handle);
    }
}

} // namespace vnxtest

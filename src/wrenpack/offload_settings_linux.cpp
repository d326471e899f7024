#include "wrenpack/offload_settings.h"

#include "wrenlib/text.h"
#include "wrenpack/ethtool_linux.h"
#include "wrenpack/host_adapter.h"

namespace vnxtest {

std::uint8_t GetAdapterLSOFlags(std::wstring_view adapterName) {
    const std::wstring_view identifier = IdentifierOf(adapterName);
    if (identifier.empty()) {
        return 0;
    }
    Ethtool ethtool;
    const auto features = ethtool.GetFeatures(ToNarrow(identifier));
    unsigned flags = 0;
    const auto add = [&flags](bool holds, LsoFlag flag) { flags |= holds ? unsigned{flag} : 0U; };
    add(features.IsPresent("tx-tcp-segmentation"), kLsoV2Ipv4Present);
    add(features.IsActive("tx-tcp-segmentation"), kLsoV2Ipv4Enabled);
    add(features.IsPresent("tx-tcp6-segmentation"), kLsoV2Ipv6Present);
    add(features.IsActive("tx-tcp6-segmentation"), kLsoV2Ipv6Enabled);
    return static_cast<std::uint8_t>(flags);
}

} // namespace vnxtest

// The host on the simulated LAN: the real data, and after it one more adapter, its address and a default
// route through it.
//
// The simulated adapter is marked as simulated in every line. The real data stay as they are; only the last
// default route, and so the default gateway, is the simulated one. User-interface thread.
#pragma once

#include <optional>
#include <vector>

#include "platform/network/host_tables.h"
#include "wrenpack/wrenpack.h"

namespace vnxtest {

// The tables of `real`, which must outlive this, followed by the simulated rows. SendARP answers for the
// addresses of the simulated LAN and asks `real` for all others.
class SimHostTables final : public HostTables {
public:
    explicit SimHostTables(HostTables& real) : m_real(real) {}

    Result<NetworkParameters> ReadParameters() override { return m_real.ReadParameters(); }
    Result<std::vector<HostRoute>> ReadRoutes() override;
    Result<std::vector<HostAddress>> ReadAddresses() override;
    std::optional<MacAddress> SendARP(Ipv4Address destination, Ipv4Address source) override;

private:
    HostTables& m_real;
};

// The adapters of `real`, which must outlive this, followed by the simulated one, which opens without any
// privilege.
class SimWrenPack final : public WrenPackLibrary {
public:
    explicit SimWrenPack(WrenPackLibrary& real) : m_real(real) {}

    Result<std::vector<HostAdapter>> ListAdapters() override;
    Result<AdapterHandle> OpenAdapter(const HostAdapter& adapter) override;
    void CloseAdapter(AdapterHandle handle) override;
    void CloseAdapters(const std::vector<AdapterHandle>& handles) override;
    ModuleDescription DescribeModule() const override { return m_real.DescribeModule(); }
    PacketDriverDescription DescribePacketDriver() const override { return m_real.DescribePacketDriver(); }

private:
    WrenPackLibrary& m_real;
};

} // namespace vnxtest

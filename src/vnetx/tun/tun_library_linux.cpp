// The `tun` library: the kernel's own TUN/TAP device, with the host as the guest's only neighbour.
#include "vnetx/tun/tun_library.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>

#include "netlink/links.h"
#include "packets/ethernet.h"
#include "packets/ipv4_packet.h"
#include "vnetx/driver/builtin_library.h"
#include "vnetx/failure.h"
#include "vnetx/host/host_links.h"
#include "vnetx/tun/proxy_arp_linux.h"
#include "vnetx/tun/tun_device_linux.h"
#include "vnetx/watch/adapter_watch.h"
#include "wrenlib/uncancelled_linux.h"

namespace vnxtest {
namespace {

constexpr std::uint32_t kDefaultMtu = 1500;
constexpr std::uint32_t kMaximumTunMtu =
    65521; // what the kernel allows an Ethernet-like device less its header

class TunDriver final : public Driver, public Neighbourhood, public LinkFacts {
public:
    TunDriver(const HostLink& adapter, InterfaceState& state)
        : Driver(state), m_adapterIndex(adapter.index), m_adapterName(adapter.captureName),
          m_adapter(adapter) {}

    // A full queue of the device shows as the kernel's count of frames dropped on sending.
    std::optional<std::uint64_t> Dropped() override {
        const auto link = FindLink(m_device.Index());
        return link ? std::optional(link->sendDrops) : std::nullopt;
    }

    // Of the adapter that lends the host's end its address: through it the host reaches others for the guest.
    std::optional<WireFacts> Noticed() override {
        WireFacts facts;
        m_adapter.History().AddTo(facts, LinkHistory::Clock::now());
        if (m_answersArp >= 0) {
            facts.hostAnswersArp = m_answersArp != 0;
        }
        return facts;
    }

private:
    int Attach(InterfaceMode mode, std::string& name) override {
        const int code = m_device.Create(mode == InterfaceMode::Tap);
        name = m_device.Name();
        return Told(code);
    }

    int SetUp(bool up) override {
        if (up) {
            return BringUp();
        }
        m_device.TakeDown();
        return 0;
    }

    int BringUp() {
        const Ipv4Address hostIp = Settings().hostIp.Get();
        const auto hostEnd = hostIp.IsZero() ? Address() : std::optional(hostIp);
        if (!hostEnd || Settings().guestIp.Get().IsZero()) {
            return EADDRNOTAVAIL;
        }
        TunSettings settings;
        settings.adapter = m_adapterName;
        settings.hostEnd = *hostEnd;
        settings.guest = Settings().guestIp.Get();
        settings.mtu = Settings().Mtu() != 0 ? Settings().Mtu() : kDefaultMtu;
        const std::uint32_t header = IsTap() ? EthernetView::kLength : 0;
        if (m_largestFrame == 0) { // the MTU cannot change after the first start
            m_largestFrame = settings.mtu + header;
        }
        // The kernel counts its queue in frames: as many as fit the buffer size asked for.
        settings.queueLength =
            std::max(1u, Settings().deviceBufferSize.load(std::memory_order_relaxed) / m_largestFrame);
        settings.guestMac = m_mac = Settings().GuestMac();
        if (const auto link = FindHostLinkByIndex(m_adapterIndex); link && !link->addresses.empty()) {
            Settings().adapterIp.Set(link->addresses.front().address);
            Settings().adapterMask.Set(link->addresses.front().mask);
        }
        NoteProxyArp();
        m_adapter.History().Begin(LinkHistory::Clock::now());
        return Told(m_device.BringUp(settings));
    }

    // A guest of the adapter's subnet is looked for there by ARP, and only the host can answer for it.
    void NoteProxyArp() {
        const Ipv4Address mask = Settings().adapterMask.Get();
        if (!mask.IsZero() && (Settings().guestIp.Get() & mask) == (Settings().adapterIp.Get() & mask)) {
            const auto answers = AnswersArpForOthers(m_adapterName);
            m_answersArp = answers ? static_cast<int>(*answers) : -1;
        }
    }

    // Returns `code`; if the helper has refused, tells why in the debug output.
    int Told(int code) const {
        if (code != 0 && !m_device.Problem().empty()) {
            Debug().TellRefusal("A device of /dev/net/tun", m_device.Problem());
        }
        return code;
    }

    std::uint32_t MaximumMtu() const override { return kMaximumTunMtu; }
    // The health of the device. The adapter only lends the host's end its address, so its changes are told
    // but do not end the flow.
    int Health() override {
        m_adapter.Look(Settings().name, Debug());
        return HostLinkHealth(m_device.Index());
    }

    std::optional<Ipv4Address> Address() override {
        const auto link = FindHostLinkByIndex(m_adapterIndex);
        return link && !link->addresses.empty() ? std::optional(link->addresses.front().address)
                                                : std::nullopt;
    }

    // The host is the next hop of every address on this link. A TUN has no MACs.
    MacAddress FindMac(Ipv4Address address) override {
        return address == Settings().guestIp.Get() ? Settings().GuestMac() : m_device.HostMac();
    }

    Ipv4Address FindIp(MacAddress mac) override {
        if (mac == m_device.HostMac() && !mac.IsZero()) {
            const Ipv4Address hostIp = Settings().hostIp.Get();
            return hostIp.IsZero() ? Address().value_or(Ipv4Address()) : hostIp;
        }
        const auto link = FindHostLink(mac);
        return link && !link->addresses.empty() ? link->addresses.front().address : Ipv4Address();
    }

    WaitObject FrameWaitObject() const override { return m_device.Get(); }

    std::int32_t TakeFrame(std::span<std::uint8_t> buffer) override {
        // A small buffer would get a truncated frame, so it is read into a spare one first.
        const bool direct = buffer.size() >= m_largestFrame;
        const std::span<std::uint8_t> into = direct ? buffer : std::span<std::uint8_t>(m_spare);
        const ssize_t got = uncancelled::Read(m_device.Get(), into.data(), into.size());
        if (got < 0) {
            if (errno == EAGAIN || errno == EINTR) {
                return 0;
            }
            return FailAs(errno);
        }
        const auto length = static_cast<std::uint32_t>(got);
        auto& counters = Counters();
        counters.NoteTransfer(length);
        counters.reading.packets.Add();
        counters.reading.bytes.Add(length);
        if (!IsForGuest(into.first(length))) {
            return 0;
        }
        Debug().PacketRead(Settings().name, into.first(length), IsTap());
        if (!direct) {
            if (length > buffer.size()) {
                counters.ignored.Add();
                return Fail(EMSGSIZE);
            }
            std::memcpy(buffer.data(), into.data(), length);
        }
        return static_cast<std::int32_t>(length);
    }

    // Counts the frame; false if it is not to be delivered.
    bool IsForGuest(std::span<const std::uint8_t> frame) {
        auto& counters = Counters();
        if (!IsTap()) {
            if (!IsIpv4(frame)) {
                counters.ignored.Add();
                return false;
            }
            return true;
        }
        const auto header = ConstEthernetView::Over(frame);
        if (!header) {
            counters.ignored.Add();
            return false;
        }
        const MacAddress destination = header->Destination();
        if (header->Source().IsZero()) {
            counters.reading.fromZeroMac.Add();
        }
        if (destination.IsZero()) {
            counters.reading.toZeroMac.Add();
        }
        if (header->Source() == m_mac) {
            counters.reading.fromOurself.Add();
            return false;
        }
        if (destination != m_mac && !destination.IsGroup()) {
            counters.ignored.Add();
            return false;
        }
        return true;
    }

    std::int32_t WriteFrame(std::span<const std::uint8_t> frame) override {
        const auto ethernet = ConstEthernetView::Over(frame);
        if (IsTap() ? !ethernet : frame.size() < ConstIpv4View::kLength || !IsIpv4(frame)) {
            return Fail(EINVAL);
        }
        if (frame.size() > m_largestFrame) {
            return Fail(EMSGSIZE);
        }
        auto& counting = Counters().writing;
        counting.ios.Add();
        if (uncancelled::Write(m_device.Get(), frame.data(), frame.size()) !=
            static_cast<ssize_t>(frame.size())) {
            return FailAs(errno);
        }
        counting.packets.Add();
        counting.bytes.Add(static_cast<std::int64_t>(frame.size()));
        if (IsTap()) {
            if (ethernet->Destination().IsZero()) {
                counting.toZeroMac.Add();
            }
            if (ethernet->Source().IsZero()) {
                counting.fromZeroMac.Add();
            }
        }
        Debug().PacketWritten(Settings().name, frame, IsTap());
        return static_cast<std::int32_t>(frame.size());
    }

    // For a device that went down or away: ENETDOWN or ENODEV in place of the kernel's error.
    std::int32_t FailAs(int code) {
        const int health = Health();
        return Fail(health != 0 ? health : code);
    }

    bool IsTap() const { return Settings().IsTap(); }

    const std::uint32_t m_adapterIndex;
    const std::string m_adapterName;
    AdapterWatch m_adapter;
    TunDevice m_device;
    std::uint32_t m_largestFrame = 0;
    MacAddress m_mac;
    std::atomic<int> m_answersArp{-1}; // whether the host does, on the adapter; -1: not known
    std::array<std::uint8_t, 65536> m_spare;
};

class TunLibrary final : public BuiltinLibrary {
public:
    TunLibrary() : BuiltinLibrary(L"built-in tun") {}

private:
    DriverParts MakeDriver(std::string_view name, InterfaceState& state) override {
        const auto link = FindHostLinkByText(name);
        return link ? PartsOf(std::make_unique<TunDriver>(*link, state)) : DriverParts();
    }
};

} // namespace

std::unique_ptr<VnetxLibrary> MakeTunLibrary() {
    return std::make_unique<TunLibrary>();
}

} // namespace vnxtest

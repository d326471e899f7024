#include "guest/guest.h"

#include "core/interface_helpers.h"
#include "core/monitor_thread.h"
#include "guest/beside_host.h"
#include "guest/pre_start_questions.h"
#include "platform/network/socket_wait.h"
#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/log.h"

namespace vnxtest {

namespace {

void Ask(INTERFACE_INFO& info, const InterfaceParameters& asked) {
    // Values derived from the texts of an earlier start do not outlive them.
    const bool otherAdapter =
        info.asked.adapterIpText != asked.adapterIpText || info.asked.adapterMacText != asked.adapterMacText;
    if (otherAdapter) {
        info.addresses.adapterIp = Ipv4Address();
        info.addresses.adapterMac = MacAddress();
    }
    if (otherAdapter || info.asked.guestIpText != asked.guestIpText) {
        info.addresses.broadcastText.clear();
    }
    info.asked = asked;
}

MaskLookup MasksOf(const HostNetwork& host) {
    return [&host](Ipv4Address address) { return host.GetHostMaskByIP(address); };
}

} // namespace

Guest::Guest(VnetxLibrary& library, HostNetwork& host, Settings& settings, FrontEnd& frontEnd)
    : m_library(library), m_host(host), m_settings(settings), m_frontEnd(frontEnd),
      m_writer(library, MasksOf(host)), m_pingTest(library, m_writer, m_run, frontEnd),
      m_receivePath(library, m_writer, m_run, m_pingTest) {
    m_settings.ReadDebugSettings(m_run);
}

Guest::~Guest() {
    m_pingTest.StopPingTest();
    StopGuest();
}

void Guest::HandleViewMessage(ViewMessage message) {
    switch (message) {
    case ViewMessage::MonitorThreadEnded:
        // A thread that was stopped by command may leave its message in the queue.
        if (m_monitorThreads[0].HasEnded() || m_monitorThreads[1].HasEnded()) {
            StopGuest();
        }
        break;
    case ViewMessage::PingThreadEnded:
        m_pingTest.OnPingThreadEnded();
        break;
    case ViewMessage::PingWaitThreadEnded:
        m_pingTest.OnPingWaitThreadEnded();
        break;
    case ViewMessage::OutputPending:
    case ViewMessage::InterfaceOpened:
        break;
    }
}

bool Guest::IsRunning() const {
    return m_monitorThreads[0].Exists() || m_monitorThreads[1].Exists();
}

bool Guest::AskAndApplyParameters() {
    Verify(!IsRunning());
    AddressSources sources{.guestMac = [this](Ipv4Address ip) { return GuestMacOf(m_library, ip); }};
    if (const HostAdapter* const adapter = m_host.DefaultAdapter()) {
        sources.defaultAdapter = {adapter->address, adapter->mask};
    }
    m_settings.LoadInterfaceSettings(m_interfaces[0], m_interfaces[1], sources);
    GuestParameters parameters;
    parameters.interface1 = m_interfaces[0].asked;
    parameters.interface2 = m_interfaces[1].asked;
    parameters.useTwoInterfaces = m_useTwoInterfaces;
    if (!m_frontEnd.AskParameters(parameters)) {
        return false;
    }
    Ask(m_interfaces[0], parameters.interface1);
    Ask(m_interfaces[1], parameters.interface2);
    if (parameters.store) {
        m_settings.StoreInterfaceSettings(m_interfaces[0].asked, m_interfaces[1].asked);
    }
    ApplyInterfaceSettings(m_interfaces[0], m_interfaces[1]);
    m_useTwoInterfaces = parameters.useTwoInterfaces && m_interfaces[1].asked.NamesAdapter();
    return true;
}

bool Guest::AskProceed(const ProceedQuestion& question) {
    return m_frontEnd.ShowProceedTaskDialog(question) == kProceedButton;
}

void Guest::Prepare(INTERFACE_INFO& info) {
    PrepareInterface(info, m_library, MasksOf(m_host));
    info.addresses.gatewayMac = m_host.DefaultGatewayMac();
}

// The pre-start checks. With neither gateway nor forwarding and a guest outside the subnet the user is
// asked about the gateway twice, the second time with the consequences.
bool Guest::MayStart() {
    const bool forwarding = m_host.IpForwardingEnabled();
    const bool gatewayKnown = !m_host.DefaultGatewayMac().IsZero();
    Prepare(m_interfaces[0]);
    bool subnetsFine = m_interfaces[0].addresses.inAdapterSubnet;
    if (m_interfaces[1].asked.NamesAdapter()) {
        Prepare(m_interfaces[1]);
        subnetsFine = subnetsFine && m_interfaces[1].addresses.inAdapterSubnet;
    }
    if (!forwarding && !gatewayKnown && !AskProceed(UndefinedGatewayQuestion())) {
        return false;
    }
    if (subnetsFine) {
        return true;
    }
    if (gatewayKnown) {
        return AskProceed(OtherSubnetQuestion(true));
    }
    return AskProceed(forwarding ? OtherSubnetQuestion(false) : UndefinedGatewayOtherSubnetQuestion());
}

// After those: the questions about guests with an address of this host.
bool Guest::MayStartBesideHost() {
    for (const INTERFACE_INFO& info : m_interfaces) {
        if (!info.asked.NamesAdapter()) {
            continue;
        }
        if (const auto question = QuestionBesideHost(info.addresses, m_host);
            question && !AskProceed(*question)) {
            return false;
        }
    }
    return true;
}

bool Guest::OnStartGuest() {
    m_problem.clear();
    while (!IsRunning()) {
        if (!AskAndApplyParameters()) {
            return false;
        }
        if (MayStart() && MayStartBesideHost()) {
            return Start();
        }
    }
    return true;
}

bool Guest::StartMonitorThread(std::size_t index) {
    const MonitorContext context{m_interfaces[index], m_library,     m_run,
                                 m_stopEvent,         m_receivePath, m_frontEnd};
    if (m_monitorThreads[index].Start([context] { MonitorThread(context); }, m_frontEnd,
                                      ViewMessage::MonitorThreadEnded)) {
        return true;
    }
    const INTERFACE_INFO& info = m_interfaces[index];
    const int code = m_monitorThreads[index].StartError();
    m_problem =
        Sprintf(L"** OnStartGuest(%s): the monitor thread could not be started; errno=%d: %s",
                info.asked.adapterIpText.empty() ? info.asked.adapterMacText : info.asked.adapterIpText, code,
                StrError(code));
    LogMsg(L"%s\n", m_problem);
    return false;
}

// All interfaces or none: half a guest would answer for one address only.
bool Guest::Start() {
    m_stopEvent.Reset();
    // Now, for a running guest may no longer be allowed to ask.
    for (std::size_t index = 0; index < m_interfaces.size(); ++index) {
        m_largeSendOffload[index] = m_host.OffloadsLargeSends(m_interfaces[index].addresses.adapterMac);
    }
    if (StartMonitorThread(0) && (!m_interfaces[1].asked.NamesAdapter() || StartMonitorThread(1))) {
        return true;
    }
    StopGuest();
    return false;
}

std::optional<WireFacts> Guest::NoticedOnWire(int index) const {
    const INTERFACE_INFO& info = Interface(index);
    const std::int32_t handle = info.open.Handle();
    std::optional<WireFacts> noticed = handle >= 0 ? m_library.Noticed(handle) : std::nullopt;
    if (!noticed && !IsRunning()) {
        noticed = info.counted.noticed; // its thread has written that
    }
    const auto heard = info.counted.conflict.Read();
    if (heard && (!noticed || !noticed->addressInUse)) {
        noticed = noticed ? std::move(noticed) : std::optional(WireFacts());
        noticed->addressInUse = heard;
    }
    return noticed;
}

void Guest::StopGuest() {
    if (!IsRunning()) {
        return;
    }
    m_pingTest.StopPingTest();
    m_stopEvent.Set();
    for (std::size_t index = 0; index < m_monitorThreads.size(); ++index) {
        if (m_monitorThreads[index].Exists()) {
            if (m_run.socketNotifyMode) {
                m_interfaces[index].open.WithHandle(WakeSocketWaiter);
            }
            m_monitorThreads[index].Join();
        }
    }
    m_stopEvent.Reset();
}

// Of the last ping test, before the next one takes its place.
void Guest::KeepOutcome() {
    constexpr std::size_t kMost = 8;
    const PingTestResult& last = m_pingTest.Result();
    if (last.statistics.received == 0) {
        return;
    }
    if (m_earlierPings.size() == kMost) {
        m_earlierPings.erase(m_earlierPings.begin());
    }
    m_earlierPings.push_back({last.plan.target, last.plan.dataSize});
}

bool Guest::OnTestStartPing() {
    m_problem.clear();
    Verify(IsRunning() && !IsPinging());
    m_pingTest.ClearPings();
    m_settings.LoadPingSettings(m_pingPlan);
    PingWhoParameters answer;
    answer.twoInterfaces = m_interfaces[1].asked.NamesAdapter();
    answer.fromInterface = m_pingFromInterface1 ? 0 : 1;
    answer.plan = m_pingPlan;
    if (!m_frontEnd.AskPingWho(answer)) {
        return false;
    }
    m_pingFromInterface1 = answer.fromInterface == 0;
    m_pingPlan = answer.plan;
    if (answer.store) {
        m_settings.StorePingSettings(m_pingPlan);
    }
    KeepOutcome();
    const bool started = m_pingTest.Start(m_interfaces[m_pingFromInterface1 ? 0 : 1], m_pingPlan);
    m_pinged = started ? m_pingPlan.target : m_pinged;
    // While the test runs, its result belongs to its threads.
    m_problem = started ? std::wstring() : m_pingTest.Result().problem;
    return started;
}

void Guest::OnTestStopPing() {
    m_pingTest.StopPingTest();
}

} // namespace vnxtest

#include "vnetx/sim/sim_gate.h"

#include <system_error>
#include <utility>

namespace vnxtest {

namespace {

// While frames flow, one read in so many asks the socket whether the program has shut it down.
constexpr unsigned kFramesBetweenLooks = 64;

// Handles of the normal mode begin above any number of a socket.
constexpr std::int32_t kFirstHandle = 0x40000000;

} // namespace

SimGate::SimGate(std::shared_ptr<SimPort> port, std::unique_ptr<NotifySocket> socket)
    : m_port(std::move(port)), m_socket(std::move(socket)) {}

SimGate::~SimGate() {
    StopWatching();
}

std::int32_t SimGate::Handle() const {
    return m_socket ? m_socket->Handle() : kFirstHandle + static_cast<std::int32_t>(m_port->Order());
}

ReaderGate::WaitResult SimGate::Wait(WaitObject, int milliseconds) {
    std::optional<SimWire::Clock::time_point> limit;
    if (milliseconds >= 0) {
        limit = SimWire::Clock::now() + std::chrono::milliseconds(milliseconds);
    }
    switch (m_port->Wire().Wait(limit)) {
    case SimWire::WaitResult::Ready:
        return WaitResult::Ready;
    case SimWire::WaitResult::Woken:
        return WaitResult::Woken;
    case SimWire::WaitResult::TimedOut:
        break;
    }
    return WaitResult::TimedOut;
}

void SimGate::Interrupt() {
    m_interrupted.store(true);
    m_port->Wire().Wake();
}

bool SimGate::IsInterrupted() const {
    if (m_socket && !m_interrupted.load() &&
        m_questions.fetch_add(1, std::memory_order_relaxed) % kFramesBetweenLooks ==
            kFramesBetweenLooks - 1 &&
        m_socket->IsShutDown()) {
        m_interrupted.store(true);
    }
    return m_interrupted.load();
}

int SimGate::Watch(WaitObject, std::function<int()>) {
    if (m_socket) {
        m_port->Wire().SetSocket(m_socket.get());
        try {
            m_thread = std::thread([this] { m_port->Wire().AwaitLater(); });
        } catch (const std::system_error& error) {
            m_port->Wire().SetSocket(nullptr);
            return error.code().value();
        }
    }
    return 0;
}

void SimGate::Rearm() {
    if (m_socket && m_socket->IsShutDown()) {
        m_interrupted.store(true);
    }
    m_port->Wire().Rearm();
}

void SimGate::StopWatching() {
    if (m_thread.joinable()) {
        m_port->Wire().SetSocket(nullptr);
        m_thread.join();
    }
}

} // namespace vnxtest

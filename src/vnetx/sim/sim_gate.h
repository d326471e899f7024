// Where a reader of the simulated LAN waits: on its wire, or in socket-notify mode on a socket.
#pragma once

#include <atomic>
#include <memory>
#include <thread>

#include "vnetx/driver/notify_socket.h"
#include "vnetx/driver/reader_gate.h"
#include "vnetx/sim/sim_network.h"

namespace vnxtest {

// There is no system object to wait on: the WaitObject arguments are not used.
class SimGate final : public ReaderGate {
public:
    // `socket` null: normal mode.
    SimGate(std::shared_ptr<SimPort> port, std::unique_ptr<NotifySocket> socket);
    ~SimGate() override;

    const std::shared_ptr<SimPort>& Port() const { return m_port; }

    std::int32_t Handle() const override;
    WaitResult Wait(WaitObject object, int milliseconds) override;
    void Wake() override { m_port->Wire().Wake(); }
    void Interrupt() override;
    bool IsInterrupted() const override;
    int Watch(WaitObject object, std::function<int()> health) override;
    void Rearm() override;
    void StopWatching() override;

private:
    const std::shared_ptr<SimPort> m_port;
    const std::unique_ptr<NotifySocket> m_socket;
    mutable std::atomic<bool> m_interrupted{false};
    mutable std::atomic<unsigned> m_questions{0};
    std::thread m_thread;
};

} // namespace vnxtest

// One open handle of a built-in library: its state, its driver, and the operations of the contract on them.
//
// Requests (requests.h) change the settings, the reading side (frame_reader.h) waits and takes frames, and
// a driver (driver.h) is what differs from one library to another.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "vnetx/driver/driver.h"
#include "vnetx/driver/frame_reader.h"
#include "vnetx/driver/requests.h"
#include "vnetx/vnetx.h"

namespace vnxtest {

class VirtualInterface {
public:
    // `parts` work on `state`.
    VirtualInterface(std::unique_ptr<InterfaceState> state, DriverParts parts);
    ~VirtualInterface();
    VirtualInterface(const VirtualInterface&) = delete;
    VirtualInterface& operator=(const VirtualInterface&) = delete;

    std::int32_t Handle() const { return m_state->gate->Handle(); }

    // The operations of the contract; any thread, several at once.
    std::int32_t Ioctl(std::uint32_t request, void* record);
    std::int32_t Read(void* buffer, std::uint32_t size);
    std::int32_t Write(const void* frame, std::uint32_t length);
    std::int32_t GetStats(VnetxStatistics* record);

    // Frames that the driver has dropped for want of room; nullopt if it does not tell. Any thread.
    std::optional<std::uint64_t> DroppedByDriver() { return m_parts.facts->Dropped(); }
    // What it has noticed of its wire; nullopt if the driver does not tell. Any thread.
    std::optional<WireFacts> Noticed() { return m_parts.facts->Noticed(); }

    // Ends a waiting read for good.
    void Interrupt() { m_state->gate->Interrupt(); }

private:
    const std::unique_ptr<InterfaceState> m_state;
    const DriverParts m_parts;
    FrameReader m_reader;
    InterfaceRequests m_requests;
};

} // namespace vnxtest

// The requests of the contract to an open interface: one table with the code, the name and the setting of
// each.
#pragma once

#include <cstdint>
#include <mutex>
#include <string_view>

#include "vnetx/driver/driver.h"
#include "vnetx/driver/frame_reader.h"
#include "vnetx/vnetx.h"

namespace vnxtest {

// SIOCGARP or SIOCGRARP: fills the record. 0 or an errno value. Any thread.
int AnswerNeighbourQuery(Neighbourhood& neighbours, std::uint32_t request, VnetxArpRequest& record);
constexpr bool IsNeighbourQuery(std::uint32_t request) {
    return request == VNETX_SIOCGARP || request == VNETX_SIOCGRARP;
}

class InterfaceRequests {
public:
    // All arguments outlive it.
    InterfaceRequests(InterfaceState& state, Driver& driver, LinkFacts& facts, FrameReader& reader)
        : m_state(state), m_settings(state.settings), m_driver(driver), m_facts(facts), m_reader(reader) {}

    // Any other request: 0 or an errno value. Any thread; a lock serialises them.
    int Carry(std::uint32_t request, VnetxInterfaceRequest& record);

private:
    struct Row;
    static const Row kTable[];

    int SetDebug(const Row& row, VnetxInterfaceRequest& record);
    int SetMode(const Row& row, VnetxInterfaceRequest& record);
    int SetFlags(const Row& row, VnetxInterfaceRequest& record);
    int SetAddress(const Row& row, VnetxInterfaceRequest& record);
    int SetMask(const Row& row, VnetxInterfaceRequest& record);
    int SetNumber(const Row& row, VnetxInterfaceRequest& record);
    int SetBuffer(const Row& row, VnetxInterfaceRequest& record);
    int SetMtu(const Row& row, VnetxInterfaceRequest& record);
    int SetMac(const Row& row, VnetxInterfaceRequest& record);
    int GetMac(const Row& row, VnetxInterfaceRequest& record);
    int GetAddress(const Row& row, VnetxInterfaceRequest& record);
    int BringUp();
    void TakeDown();
    void Tell(const Row& row, std::string_view oldValue, std::string_view newValue) const;

    InterfaceState& m_state;
    InterfaceSettings& m_settings;
    Driver& m_driver;
    LinkFacts& m_facts;
    FrameReader& m_reader;

    std::mutex m_mutex;
    std::uint32_t m_debugFlags = 0;
    std::uint16_t m_flags = 0;
    bool m_wasUp = false;
};

} // namespace vnxtest

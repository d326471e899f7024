// The texts of this program's windows, and the look-up in both tables.
#include "helpui/help_texts.h"

#include <algorithm>

namespace vnxtest {

namespace {

constexpr HelpString kProgramStrings[] = {
    // About box
    {6000, L"This box names the program and its version, and shows where to get help.\nAbout VNXTest64UD"},
    {6001, L"This is the name and the version of the program. Please mention the version whenever you report "
           L"a problem.\nVersion"},
    {6002, L"This is the legal notice of the Netorra package.\nLegal Notice"},
    {6003, L"Click here to open the Netorra web page in your browser.\nWeb Page"},
    {6004,
     L"Click here to write a mail to the support contact. Its subject is filled in with the name and the "
     L"version of the program.\nSupport Contact"},

    // Ping dialog
    {6100, L"Use this dialog to define the Ping Test parameters. Performing a ping test verifies proper "
           L"Netorra communication.\nPing Test"},
    {6101, L"Select this option to perform the ping test using the first or only defined virtual "
           L"interface.\nInterface 1"},
    {6102,
     L"Select this option to have the ping test use the second virtual interface instead.\nInterface 2"},
    {6103, L"Enter here the name or IP address of the target system the ping test is to communicate "
           L"with.\nTo"},
    {6104, L"Enter here the optional size of each ping packet. The default is 32 bytes.\nSize"},
    {6105, L"Enter here how many pings the test should send.\nCount"},
    {6106, L"Enter here the maximum amount of time in milliseconds each ping should take before getting a "
           L"response. The default is 1000 milliseconds (i.e. one second).\nTimeout"},
    {6107, L"Enter here the amount of delay in milliseconds between each successive ping. This defines how "
           L"quickly each ping is sent out.\nDelay"},

    // Parameters dialog
    {6200,
     L"Use this dialog to define the virtual interfaces of the simulated \"Vantor\" instance and the host "
     L"adapters they use. The first interface is required, the second one is optional.\nVNXTest64UD "
     L"Parameters"},
    {6201, L"Select this option to open the interface in TUN mode. In this mode only IP packets are "
           L"exchanged.\nTun"},
    {6202, L"Select this option to open the interface in TAP mode. In this mode Ethernet frames of any kind "
           L"are exchanged, ARP packets among them.\nTap"},
    {6203, L"Enter here the IP address the simulated guest is to have. It should belong to the same network "
           L"as the host adapter and must not be used by any other system.\nGuest IP Address"},
    {6204,
     L"Enter here the optional MAC address the simulated guest is to have. The lowest bit (0x01, group) of "
     L"its first byte must be off and the next one (0x02, locally administered) must be on, as in "
     L"02-00-5E-80-00-04. If you leave the field empty, an address is made from the guest's IP "
     L"address.\nGuest MAC Address"},
    {6205, L"Enter here the IP address of the host adapter the interface is to use. Identify the adapter by "
           L"either its IP address or its MAC address, but not both.\nHost Adapter IP Address"},
    {6206, L"Enter here the MAC address of the host adapter the interface is to use. Identify the adapter by "
           L"either its IP address or its MAC address, but not both.\nHost Adapter MAC Address"},
    {6207, L"Check this box to define a second virtual interface for this test.\nUse Two Virtual Interfaces"},

    // Default gateway dialog
    {6300, L"Use this dialog to define the default gateway. Packets for systems outside of the guest's own "
           L"network are sent to it.\nDefault Gateway"},
    {6301,
     L"Enter here the IP address of the default gateway. The address is checked with an ARP request before "
     L"it is used.\nGateway IP Address"},

    // Buffer sizes dialog
    {6400,
     L"Use this dialog to define how much memory is set aside for packets. The sizes are used whenever an "
     L"interface is opened and are not kept when the program ends.\nBuffer Sizes"},
    {6401, L"Enter here the size of the packet driver's capture buffer, 64 to 16384 K bytes. A larger buffer "
           L"loses fewer packets when many arrive at once. The default is 1024 K bytes.\nDriver Buffer Size"},
    {6402,
     L"Enter here the size of the packet buffer of the Vnetx library, 16 to 1024 K bytes. The default is "
     L"64 K bytes.\nDLL Buffer Size"},

    // Debug flags dialog
    {6500, L"Use this dialog to choose whether the Vnetx library writes debugging messages, and "
           L"which.\nDebug Flags"},
    {6501, L"Check this box to see the value before and after each change of a setting of an "
           L"interface.\nOld/New Values"},
    {6502, L"Check this box to see the contents of each traced packet besides its summary.\nPacket Contents"},
    {6503, L"Check this box to see each ARP packet that is read from an interface.\nARP Packets Read"},
    {6504, L"Check this box to see each ARP packet that is written to an interface.\nARP Packets Written"},
    {6505, L"Check this box to see each packet other than ARP that is read from an interface.\nOther Packets "
           L"Read"},
    {6506,
     L"Check this box to see each packet other than ARP that is written to an interface.\nOther Packets "
     L"Written"},
    {6507, L"Check this box to have debugging messages written at all. While it is cleared the boxes below "
           L"keep their check marks but have no effect.\nEnable Debugging Messages"},

    // Main window
    {6600, L"This chart shows the pings of the running test as their replies arrive: the round trip time of "
           L"each, those that timed out, and those that were answered late.\nPing Chart"},
    {6601, L"This shows how much of the ping test is done.\nProgress"},
    {6602,
     L"This is the interface library that the guest uses. When it is not that of the Netorra package, a "
     L"test says nothing about Netorra.\nInterface Library"},

    // About box without a web page
    {6603, L"Click here to open the help book.\nHelp Book"},
};

} // namespace

std::span<const HelpString> ProgramHelpStrings() {
    return kProgramStrings;
}

std::optional<std::wstring_view> FindHelpString(int id) {
    for (const std::span<const HelpString> table : {ProgramHelpStrings(), StandardHelpStrings()}) {
        const auto found = std::ranges::lower_bound(table, id, {}, &HelpString::id);
        if (found != table.end() && found->id == id) {
            return found->text;
        }
    }
    return std::nullopt;
}

} // namespace vnxtest

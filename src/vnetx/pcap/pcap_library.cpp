#include "vnetx/pcap/pcap_library.h"

#include "vnetx/driver/builtin_library.h"
#include "vnetx/failure.h"
#include "vnetx/pcap/pcap_driver.h"

namespace vnxtest {
namespace {

class PcapLibrary final : public BuiltinLibrary {
public:
    PcapLibrary() : BuiltinLibrary(L"built-in pcap") {}

private:
    DriverParts MakeDriver(std::string_view name, InterfaceState& state) override {
        const auto link = FindHostLinkByText(name);
        if (!link) {
            return {};
        }
        auto opened = std::make_unique<PcapDriver>(*link, state);
        if (const int code = opened->Open(); code != 0) {
            Fail(code);
            return {};
        }
        PcapDriver& driver = *opened;
        return {std::move(opened), &driver.Neighbours(), &driver};
    }
};

} // namespace

std::unique_ptr<VnetxLibrary> MakePcapLibrary() {
    return std::make_unique<PcapLibrary>();
}

} // namespace vnxtest

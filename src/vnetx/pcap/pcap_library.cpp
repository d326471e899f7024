#include "vnetx/pcap/pcap_library.h"

#include "vnetx/driver/builtin_library.h"
#include "vnetx/failure.h"
#include "vnetx/pcap/pcap_interface.h"

namespace vnxtest {
namespace {

class PcapLibrary final : public BuiltinLibrary {
public:
    PcapLibrary() : BuiltinLibrary(L"built-in pcap") {}

private:
    std::unique_ptr<VirtualInterface> MakeInterface(std::string_view name, std::unique_ptr<ReaderGate> gate,
                                                    bool socketNotify) override {
        const auto link = FindHostLinkByText(name);
        if (!link) {
            return nullptr;
        }
        auto opened = std::make_unique<PcapInterface>(*link, std::move(gate), socketNotify, DebugSink());
        if (const int code = opened->Open(); code != 0) {
            Fail(code);
            return nullptr;
        }
        return opened;
    }
};

} // namespace

std::unique_ptr<VnetxLibrary> MakePcapLibrary() {
    return std::make_unique<PcapLibrary>();
}

} // namespace vnxtest

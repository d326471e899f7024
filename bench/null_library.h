// A null interface library, whose operations return at once: measured over it is the program's own work.
#pragma once

#include <cstdint>
#include <string>

#include "packets/checksum.h"
#include "vnetx/library.h"

namespace vnxtest {

class NullLibrary : public VnetxLibrary {
public:
    std::int32_t Open(const char*, std::int32_t) override { return 0; }
    void Close(std::int32_t) override {}
    std::int32_t Ioctl(std::int32_t, std::uint32_t, void*) override { return 0; }
    std::int32_t Read(std::int32_t, void*, std::uint32_t) override { return 0; }
    std::int32_t Write(std::int32_t, const void*, std::uint32_t length) override {
        ++m_written;
        return static_cast<std::int32_t>(length);
    }
    std::int32_t GetStats(std::int32_t, VnetxStatistics*) override { return 0; }
    std::uint16_t CalcInetChecksum(const void* bytes, std::uint32_t length) override {
        return InetChecksum({static_cast<const std::uint8_t*>(bytes), length});
    }
    void BuildVantIfaceMac(std::uint8_t*, const std::uint8_t*) override {}
    const char* GetDefaultIface() override { return ""; }
    std::int32_t SetDebugOutputFunc(VnetxDebugOutput) override { return 1; }
    void VersionNumbers(std::int32_t*, std::int32_t*, std::int32_t*, std::int32_t*) override {}
    const char* VersionString() override { return ""; }
    const char* CopyrightString() override { return ""; }
    std::wstring ModuleName() const override { return L"nothing"; }
    std::wstring ModulePath() const override { return {}; }

    std::uint64_t Written() const { return m_written; }

private:
    std::uint64_t m_written = 0;
};

} // namespace vnxtest

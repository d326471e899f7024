// A library that forwards every operation to another one: the base of decorators.
#pragma once

#include "vnetx/library.h"

namespace vnxtest {

class ForwardingLibrary : public VnetxLibrary {
public:
    // `inner` must outlive this object.
    explicit ForwardingLibrary(VnetxLibrary& inner) : m_inner(inner) {}

    std::int32_t Open(const char* name, std::int32_t flags) override { return m_inner.Open(name, flags); }
    void Close(std::int32_t handle) override { m_inner.Close(handle); }
    std::int32_t Ioctl(std::int32_t handle, std::uint32_t request, void* record) override {
        return m_inner.Ioctl(handle, request, record);
    }
    std::int32_t Read(std::int32_t handle, void* buffer, std::uint32_t size) override {
        return m_inner.Read(handle, buffer, size);
    }
    std::int32_t Write(std::int32_t handle, const void* frame, std::uint32_t length) override {
        return m_inner.Write(handle, frame, length);
    }
    std::int32_t GetStats(std::int32_t handle, VnetxStatistics* record) override {
        return m_inner.GetStats(handle, record);
    }
    std::uint16_t CalcInetChecksum(const void* bytes, std::uint32_t length) override {
        return m_inner.CalcInetChecksum(bytes, length);
    }
    void BuildVantIfaceMac(std::uint8_t* mac, const std::uint8_t* ip) override {
        m_inner.BuildVantIfaceMac(mac, ip);
    }
    const char* GetDefaultIface() override { return m_inner.GetDefaultIface(); }
    std::int32_t SetDebugOutputFunc(VnetxDebugOutput callback) override {
        return m_inner.SetDebugOutputFunc(callback);
    }
    void VersionNumbers(std::int32_t* major, std::int32_t* minor, std::int32_t* release,
                        std::int32_t* build) override {
        m_inner.VersionNumbers(major, minor, release, build);
    }
    const char* VersionString() override { return m_inner.VersionString(); }
    const char* CopyrightString() override { return m_inner.CopyrightString(); }
    std::optional<std::uint64_t> DroppedByDriver(std::int32_t handle) override {
        return m_inner.DroppedByDriver(handle);
    }
    std::optional<WireFacts> Noticed(std::int32_t handle) override { return m_inner.Noticed(handle); }
    std::wstring ModuleName() const override { return m_inner.ModuleName(); }
    std::wstring ModulePath() const override { return m_inner.ModulePath(); }
    std::wstring WhyNotThePackage() const override { return m_inner.WhyNotThePackage(); }

protected:
    VnetxLibrary& Inner() { return m_inner; }

private:
    VnetxLibrary& m_inner;
};

} // namespace vnxtest

// A decorator that writes the frames read and written to a capture file, for a protocol analyser.
//
// The file is in the classic pcap format, which has one link type: frames of TAP handles go to an
// Ethernet capture, frames of TUN handles to a raw IP capture, and those of the other kind are left
// out. To keep both, decorate twice.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "vnetx/forwarding_library.h"

namespace vnxtest {

enum class CaptureLink : std::uint32_t { Ethernet = 1, RawIp = 101 };
enum class CaptureStamps { Microseconds, Nanoseconds };

class CaptureLibrary final : public ForwardingLibrary {
public:
    // Makes the file (an old one is overwritten). Null and a sentence in `error` when it cannot be.
    // `inner` must outlive the decorator.
    static std::unique_ptr<CaptureLibrary> Create(VnetxLibrary& inner, const std::filesystem::path& file,
                                                  CaptureLink link, CaptureStamps stamps,
                                                  std::wstring& error);

    // Frames kept so far, and whether all of them could be written.
    std::uint64_t Frames() const;
    bool IsSound() const;
    // Hands what is buffered to the system; done at the end too.
    void Flush();

    void Close(std::int32_t handle) override;
    std::int32_t Ioctl(std::int32_t handle, std::uint32_t request, void* record) override;
    std::int32_t Read(std::int32_t handle, void* buffer, std::uint32_t size) override;
    std::int32_t Write(std::int32_t handle, const void* frame, std::uint32_t length) override;

private:
    CaptureLibrary(VnetxLibrary& inner, std::ofstream file, CaptureLink link, CaptureStamps stamps);
    void Keep(std::int32_t handle, const void* frame, std::int32_t length);

    mutable std::mutex m_mutex;
    std::ofstream m_file;
    const CaptureLink m_link;
    const CaptureStamps m_stamps;
    std::set<std::int32_t> m_handles; // those whose frames are kept
    std::uint64_t m_frames = 0;
};

} // namespace vnxtest

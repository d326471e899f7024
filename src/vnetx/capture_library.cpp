#include "vnetx/capture_library.h"

#include <array>
#include <cerrno>
#include <chrono>

#include "wrenlib/errors.h"
#include "wrenlib/format.h"

namespace vnxtest {

namespace {

// The magic number tells the stamps' unit and, by its byte order, that of the whole file.
constexpr std::uint32_t kMagicMicroseconds = 0xA1B2C3D4;
constexpr std::uint32_t kMagicNanoseconds = 0xA1B23C4D;
constexpr std::uint32_t kSnapshotLength = 262144;

template <std::size_t Count>
void Put(std::ofstream& file, const std::array<std::uint32_t, Count>& words) {
    file.write(reinterpret_cast<const char*>(words.data()), sizeof words);
}

} // namespace

std::unique_ptr<CaptureLibrary> CaptureLibrary::Create(VnetxLibrary& inner, const std::filesystem::path& file,
                                                       CaptureLink link, CaptureStamps stamps,
                                                       std::wstring& error) {
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    if (!stream) {
        error = Sprintf(L"The capture file \"%s\" cannot be written: %s.", file.wstring(), StrError(errno));
        return nullptr;
    }
    return std::unique_ptr<CaptureLibrary>(new CaptureLibrary(inner, std::move(stream), link, stamps));
}

CaptureLibrary::CaptureLibrary(VnetxLibrary& inner, std::ofstream file, CaptureLink link,
                               CaptureStamps stamps)
    : ForwardingLibrary(inner), m_file(std::move(file)), m_link(link), m_stamps(stamps) {
    // Version 2.4 in two 16-bit halves; the order of the halves is that of the machine, too.
    const std::array<std::uint16_t, 2> version{2, 4};
    Put<1>(m_file, {stamps == CaptureStamps::Nanoseconds ? kMagicNanoseconds : kMagicMicroseconds});
    m_file.write(reinterpret_cast<const char*>(version.data()), sizeof version);
    Put<4>(m_file, {0, 0, kSnapshotLength, static_cast<std::uint32_t>(link)});
}

std::uint64_t CaptureLibrary::Frames() const {
    const std::lock_guard lock(m_mutex);
    return m_frames;
}

bool CaptureLibrary::IsSound() const {
    const std::lock_guard lock(m_mutex);
    return m_file.good();
}

void CaptureLibrary::Flush() {
    const std::lock_guard lock(m_mutex);
    m_file.flush();
}

void CaptureLibrary::Close(std::int32_t handle) {
    {
        const std::lock_guard lock(m_mutex);
        m_handles.erase(handle);
    }
    Inner().Close(handle);
}

std::int32_t CaptureLibrary::Ioctl(std::int32_t handle, std::uint32_t request, void* record) {
    const std::uint16_t wanted = m_link == CaptureLink::Ethernet ? VNETX_IFF_TAP : VNETX_IFF_TUN;
    // Read before the call: the library may write to the record.
    const bool ours = (request == VNETX_TUNSETIFF || request == VNETX_TUNSETIFF_OLD) && record &&
                      (static_cast<const VnetxInterfaceRequest*>(record)->u.flags & wanted) != 0;
    const std::int32_t result = Inner().Ioctl(handle, request, record);
    if (ours && result == 0) {
        const ErrorKeeper keeper;
        const std::lock_guard lock(m_mutex);
        m_handles.insert(handle);
    }
    return result;
}

std::int32_t CaptureLibrary::Read(std::int32_t handle, void* buffer, std::uint32_t size) {
    const std::int32_t length = Inner().Read(handle, buffer, size);
    Keep(handle, buffer, length);
    return length;
}

std::int32_t CaptureLibrary::Write(std::int32_t handle, const void* frame, std::uint32_t length) {
    // Before the write, so that a request stands before the reply that it brings. A frame that the
    // library refuses is kept too: it is what the program meant to send.
    Keep(handle, frame, static_cast<std::int32_t>(length));
    return Inner().Write(handle, frame, length);
}

void CaptureLibrary::Keep(std::int32_t handle, const void* frame, std::int32_t length) {
    if (length <= 0) {
        return;
    }
    const ErrorKeeper keeper;
    const std::lock_guard lock(m_mutex);
    if (!m_handles.contains(handle)) {
        return;
    }
    const auto now = std::chrono::duration_cast<std::chrono::nanoseconds>(
                         std::chrono::system_clock::now().time_since_epoch())
                         .count();
    const auto fraction = static_cast<std::uint32_t>(now % 1'000'000'000);
    const auto size = static_cast<std::uint32_t>(length);
    Put<4>(m_file, {static_cast<std::uint32_t>(now / 1'000'000'000),
                    m_stamps == CaptureStamps::Nanoseconds ? fraction : fraction / 1000, size, size});
    m_file.write(static_cast<const char*>(frame), length);
    ++m_frames;
}

} // namespace vnxtest

#include "ui/chart/png_writer.h"

#include <array>
#include <cstdint>
#include <string_view>

#include <wx/image.h>
#include <wx/mstream.h>
#include <wx/zstream.h>

namespace vnxtest {

namespace {

// The table of the checksum, as the standard's appendix makes it.
constexpr auto kCrcTable = [] {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t index = 0; index < table.size(); ++index) {
        std::uint32_t value = index;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value & 1) != 0 ? 0xEDB88320U ^ (value >> 1) : value >> 1;
        }
        table[index] = value;
    }
    return table;
}();

std::string BigEndian(std::uint32_t value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes += static_cast<char>(value >> shift & 0xFF);
    }
    return bytes;
}

std::string Chunk(std::string_view type, std::string_view data) {
    const std::string checked = std::string(type) + std::string(data);
    std::uint32_t crc = 0xFFFFFFFF;
    for (const char each : checked) {
        crc = kCrcTable[(crc ^ static_cast<unsigned char>(each)) & 0xFF] ^ (crc >> 8);
    }
    return BigEndian(static_cast<std::uint32_t>(data.size())) + checked + BigEndian(~crc);
}

std::string Compressed(const wxImage& image) {
    wxMemoryOutputStream memory;
    {
        wxZlibOutputStream zlib(memory, wxZ_DEFAULT_COMPRESSION, wxZLIB_ZLIB);
        const std::size_t row = std::size_t{3} * static_cast<std::size_t>(image.GetWidth());
        for (int y = 0; y < image.GetHeight(); ++y) {
            zlib.PutC(0); // the row's bytes stand as they are
            zlib.Write(image.GetData() + row * static_cast<std::size_t>(y), row);
        }
    } // ends the stream
    std::string bytes(memory.GetSize(), '\0');
    memory.CopyTo(bytes.data(), bytes.size());
    return bytes;
}

} // namespace

std::string PngOf(const wxImage& image) {
    constexpr std::string_view kSignature = "\x89PNG\r\n\x1A\n";
    // Eight bits, red, green and blue; the one method of compression and of filters; not interlaced.
    constexpr std::string_view kFormat("\x08\x02\x00\x00\x00", 5);
    const std::string header = BigEndian(static_cast<std::uint32_t>(image.GetWidth())) +
                               BigEndian(static_cast<std::uint32_t>(image.GetHeight())) +
                               std::string(kFormat);
    return std::string(kSignature) + Chunk("IHDR", header) + Chunk("IDAT", Compressed(image)) +
           Chunk("IEND", {});
}

} // namespace vnxtest

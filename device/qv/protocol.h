#pragma once

// The kernel driver's protocol: its two control codes and the buffers of the vendor
// requests it forwards to the interface. Every port sends exactly these bytes.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qv::protocol
{
// METHOD_BUFFERED, FILE_ANY_ACCESS, FILE_DEVICE_UNKNOWN: (0x22 << 16) | (function << 2).
constexpr std::uint32_t vendor_request = 0x00220008;
constexpr std::uint32_t driver_version = 0x002200A4;

constexpr std::size_t setup_size = 8;
constexpr std::size_t firmware_length = 3;
constexpr std::size_t block_size = 16;
constexpr std::size_t driver_version_size = 4;

constexpr std::uint8_t read_type = 0xC0;  // device to host, vendor, device recipient
constexpr std::uint8_t write_type = 0x40; // host to device, vendor, device recipient
constexpr std::uint8_t request_firmware = 0x56; // "V"
constexpr std::uint8_t request_block = 0x4E;    // "N"

using firmware_buffer = std::array<std::uint8_t, setup_size + firmware_length>;
using block_buffer = std::array<std::uint8_t, setup_size + block_size>;

// USB setup packet, little-endian; value and index are always 0.
template <std::size_t N>
inline void put_setup (std::array<std::uint8_t, N>& buffer, std::uint8_t type, std::uint8_t request)
{
    buffer.fill (0);
    buffer[0] = type;
    buffer[1] = request;
    buffer[6] = static_cast<std::uint8_t> ((N - setup_size) & 0xFF);
    buffer[7] = static_cast<std::uint8_t> ((N - setup_size) >> 8);
}

inline firmware_buffer firmware_request()
{
    firmware_buffer buffer;
    put_setup (buffer, read_type, request_firmware);
    return buffer;
}

// A read carries zeros; a write carries the block to set.
inline block_buffer block_request (bool write, const std::uint8_t (&block)[block_size])
{
    block_buffer buffer;
    put_setup (buffer, write ? write_type : read_type, request_block);
    if (write)
        std::memcpy (buffer.data() + setup_size, block, block_size);
    return buffer;
}

inline void block_reply (const block_buffer& buffer, std::uint8_t (&block)[block_size])
{
    std::memcpy (block, buffer.data() + setup_size, block_size);
}

// Reply bytes d0 d1 d2: major = d1, minor = tens of d2, patch = units of d2; d0 ignored.
// Packed as major << 24 | minor << 16 | patch << 8.
inline std::uint32_t decode_firmware (const firmware_buffer& buffer)
{
    const std::uint32_t d1 = buffer[setup_size + 1];
    const std::uint32_t d2 = buffer[setup_size + 2];
    return (d1 << 24) | ((d2 / 10) << 16) | ((d2 % 10) << 8);
}

inline std::uint32_t decode_driver_version (const std::uint8_t (&bytes)[driver_version_size])
{
    return std::uint32_t (bytes[0]) | (std::uint32_t (bytes[1]) << 8)
         | (std::uint32_t (bytes[2]) << 16) | (std::uint32_t (bytes[3]) << 24);
}

// The block is read at opening only from this firmware (1.1.1) on.
constexpr std::uint32_t first_firmware_with_block = 0x01010100;
} // namespace qv::protocol

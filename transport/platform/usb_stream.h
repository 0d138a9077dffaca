// Byte streams to a chip that sits behind USB: directly through libusb, or
// through the kernel's HCI user channel. Neither carries a byte stream on the
// wire, so both adapt: write() takes H4 bytes and sends each whole packet the
// device's own way; read() answers H4 bytes (type byte, then the packet) of
// what the device sends.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "transport/platform/byte_stream.h"

namespace kestrel {

// Only the character at one position decides, so `\\.\COM1` and some paths
// pass these tests too: a caller tries the other device names first.
bool is_usb_device_name(std::string_view device_name);           // fifth character 'c' or 'C'
bool is_hci_user_channel_name(std::string_view device_name);     // seventh character 'w' or 'W'

// The decimal number that ends the name; 0 when it ends in no digit, and
// UINT_MAX when the number does not fit (it then names no device).
unsigned device_number(std::string_view device_name);

// Cuts a byte stream into whole packets, fed arbitrary chunks.
class H4PacketSplitter {
public:
    // H4 bytes from the host: each packet starts with its type byte
    // (command, ACL or SCO).
    H4PacketSplitter() = default;
    // Packets of one type without type bytes (events from the interrupt
    // endpoint, ACL from the bulk endpoint); the type byte is added to each.
    // std::invalid_argument for a type with no known header.
    explicit H4PacketSplitter(uint8_t implied_type);

    // Appends each packet that `bytes` completes, type byte first. False at a
    // type byte that starts no packet from the host: H4 has no way to find the
    // next packet, so the rest of `bytes` is dropped and the splitter resets.
    bool feed(std::span<const uint8_t> bytes, std::vector<std::vector<uint8_t>>& packets);

    bool mid_packet() const { return !partial_.empty(); }
    void reset();

private:
    std::optional<uint8_t> implied_type_;
    std::vector<uint8_t> partial_;  // type byte first
    size_t wanted_ = 0;             // size partial_ must reach for the next step
    size_t length_at_ = 0;          // offset of the length field in partial_
    bool wide_length_ = false;
    bool header_done_ = false;
};

// Null with `error` set when the name is not of its kind; otherwise a stream
// that open() connects. open() names the device in every error it reports
// ("no USB Bluetooth device number 0 found", "cannot open hci0: ...").
//
// USB: the N-th device whose interface 0 is of class E0/01/01 (Bluetooth);
// commands by control transfer, events from the interrupt endpoint, ACL data
// on the bulk endpoints. SCO is not carried: writing it fails.
std::unique_ptr<ByteStream> make_usb_stream(std::string_view device_name, std::string& error);
// hciN through an HCI socket bound to the user channel (the device must be
// down and the process needs CAP_NET_ADMIN).
std::unique_ptr<ByteStream> make_hci_user_channel_stream(std::string_view device_name,
                                                         std::string& error);

}  // namespace kestrel

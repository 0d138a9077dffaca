// TciLink: the connection to a device that speaks the test control
// interface over H4. It sends commands, events and ACL data that the TCI
// builders made, and checks, traces and queues what the device sends. Either
// side of the interface can be played: Kestrel queues the commands it
// receives as well as the events.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "transport/attached_primitive.h"
#include "transport/primitive_ring.h"

namespace kestrel {

class H4Stack;

// Channel of a TCI command received from the far side: channel 3 with bit 31.
inline constexpr uint32_t kChannelTciCommand = 0x80000003;

class TciLink {
public:
    TciLink();
    ~TciLink();
    TciLink(const TciLink&) = delete;
    TciLink& operator=(const TciLink&) = delete;

    // Starts the H4 stack on the device and waits up to ten seconds for it.
    // On success the link queues into shared_ring (the chip link's, when a
    // chip is connected) or into a ring of its own, and true is returned;
    // otherwise the stack is stopped again.
    bool connect(const std::string& device, unsigned baud, std::shared_ptr<PrimitiveRing> shared_ring);

    // The send paths; the built primitive's envelope is filled here and
    // data held by reference is copied in behind its fixed part.
    // op_code: the command's op code.
    void send_command(uint16_t op_code, const AttachedPrimitive& command);
    // code: an op code (a command complete for it), 0x000E (a command
    // complete as built) or an event id (a TCI event).
    void send_event(uint16_t code, const AttachedPrimitive& event);
    // The record {handle, length, data reference}.
    void send_acl(const AttachedPrimitive& acl);

    PrimitiveRing* ring() { return ring_.get(); }
    std::shared_ptr<PrimitiveRing> shared_ring() { return ring_; }

    // The packets as they leave: what send_command and send_event hand to
    // the H4 stack. Pure; exposed for the units.
    static std::vector<uint8_t> command_packet(uint16_t op_code, const AttachedPrimitive& command);
    static std::vector<uint8_t> event_packet(uint16_t code, const AttachedPrimitive& event);
    static std::vector<uint8_t> acl_packet(const AttachedPrimitive& acl);

private:
    void on_command(std::span<const uint8_t> packet);
    void on_event(std::span<const uint8_t> packet);
    void on_acl(std::span<const uint8_t> packet);

    std::shared_ptr<PrimitiveRing> ring_;
    std::unique_ptr<H4Stack> h4_;
};

}  // namespace kestrel

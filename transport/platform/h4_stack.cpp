#include "transport/platform/h4_stack.h"

#include <vector>

#include "transport/platform/h4_codec.h"

namespace kestrel {

H4Stack::~H4Stack() { stop(); }

void H4Stack::start(const std::string& device, unsigned baud) {
    LineSettings settings;
    settings.baud = baud;
    settings.rts_cts = true;
    std::string error;
    stream_ = make_byte_stream(device, settings, error);
}

bool H4Stack::ready(unsigned milliseconds) {
    if (!stream_) return false;
    if (running_) return true;
    std::string error;
    if (!open_with_deadline(*stream_, milliseconds, error)) return false;
    running_ = true;
    reader_ = std::thread(&H4Stack::reader, this);
    return true;
}

void H4Stack::stop() {
    if (running_.exchange(false)) {
        stream_->interrupt();
        if (reader_.joinable()) reader_.join();
    }
    if (stream_) stream_->close();
}

void H4Stack::send_command(std::span<const uint8_t> packet, const SendDone& done) { send(h4::kCommand, packet, done); }
void H4Stack::send_event(std::span<const uint8_t> packet, const SendDone& done) { send(h4::kEvent, packet, done); }
void H4Stack::send_acl(std::span<const uint8_t> packet, const SendDone& done) { send(h4::kAcl, packet, done); }

void H4Stack::send(uint8_t type, std::span<const uint8_t> packet, const SendDone& done) {
    bool written = false;
    if (running_) {
        // One write per packet, so that a reader on the other side never
        // sees half a header for long.
        const std::vector<uint8_t> bytes = h4::encode(static_cast<h4::PacketType>(type), packet);
        std::lock_guard lock(write_mutex_);
        written = stream_->write(bytes);
    }
    if (done) done(written);
}

void H4Stack::reader() {
    std::vector<uint8_t> buffer(8192);
    h4::Decoder decoder;
    while (running_) {
        const long got = stream_->read(buffer, 250);
        if (got < 0) break;  // end of stream or closed
        decoder.feed(
            std::span<const uint8_t>(buffer.data(), static_cast<size_t>(got)),
            [&](h4::Packet packet) {
                const ReceiveHandler* handler = nullptr;
                switch (packet.type) {
                case h4::kCommand: handler = &on_command_; break;
                case h4::kEvent: handler = &on_event_; break;
                case h4::kAcl: handler = &on_acl_; break;
                case h4::kSco: handler = &on_sco_; break;
                }
                if (handler && *handler) (*handler)(packet.body);
            },
            [&](uint8_t byte) {
                if (on_damaged_) on_damaged_(byte);
            });
    }
}

}  // namespace kestrel

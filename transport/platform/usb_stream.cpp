#include "transport/platform/usb_stream.h"

#include <libusb.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <climits>
#include <cstring>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "transport/platform/file_descriptor.h"
#include "transport/platform/h4_codec.h"

namespace kestrel {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Wake-ups are re-checked against the stream's flags at least this often.
constexpr milliseconds kPollSlice{100};

struct PacketLayout {
    uint8_t type;
    size_t header_length;  // after the type byte
    size_t length_at;      // offset of the length field, type byte included
    bool wide_length;      // 16-bit little-endian, else 8-bit
    bool host_sends;
};
constexpr PacketLayout kPacketLayouts[] = {
    {h4::kCommand, h4::kCommandHeaderLength, 3, false, true},
    {h4::kAcl, h4::kAclHeaderLength, 3, true, true},
    {h4::kSco, h4::kScoHeaderLength, 3, false, true},
    {h4::kEvent, h4::kEventHeaderLength, 2, false, false},
};

const PacketLayout* find_layout(uint8_t type) {
    const auto* row = std::find_if(std::begin(kPacketLayouts), std::end(kPacketLayouts),
                                   [type](const PacketLayout& l) { return l.type == type; });
    return row == std::end(kPacketLayouts) ? nullptr : row;
}

std::string errno_text(int err = errno) {
    char buffer[128];
    return strerror_r(err, buffer, sizeof buffer);  // GNU variant: returns the text
}

// What both streams share: the H4 splitting of writes, the bytes read but not
// yet handed out, and a lifecycle in which close() wakes the reader and the
// writer and then waits for them (each holds its own mutex) before the
// device is released.
class PacketStream : public ByteStream {
public:
    using ByteStream::ByteStream;

    bool open(std::string& error) override {
        std::scoped_lock lock(read_mutex_, write_mutex_);
        if (is_open_) return true;
        closing_ = false;
        interrupted_ = false;
        is_open_ = connect(error);
        return is_open_;
    }

    long read(std::span<uint8_t> buffer, int timeout_ms) override {
        std::lock_guard lock(read_mutex_);
        if (!is_open_) return -1;
        if (interrupted_.exchange(false)) return 0;
        if (buffer.empty()) return 0;
        if (pending_.empty()) {
            if (!receive(timeout_ms)) return -1;
            if (interrupted_.exchange(false)) return 0;
        }
        const size_t n = std::min(buffer.size(), pending_.size());
        std::copy_n(pending_.begin(), n, buffer.begin());
        pending_.erase(pending_.begin(), pending_.begin() + static_cast<long>(n));
        return static_cast<long>(n);
    }

    bool write(std::span<const uint8_t> data) override {
        std::lock_guard lock(write_mutex_);
        if (!is_open_) return false;
        std::vector<std::vector<uint8_t>> packets;
        const bool in_step = splitter_.feed(data, packets);
        for (const auto& packet : packets) {
            if (closing_ || !send_packet(packet)) return false;
        }
        return in_step;
    }

    void interrupt() override {
        interrupted_ = true;
        wake(false);
    }

    void close() override {
        closing_ = true;  // stays set until the next open: every wait gives up
        wake(true);
        std::scoped_lock lock(read_mutex_, write_mutex_);
        if (is_open_) disconnect();
        is_open_ = false;
        pending_.clear();
        splitter_.reset();
    }

protected:
    // Called with both mutexes held.
    virtual bool connect(std::string& error) = 0;
    virtual void disconnect() = 0;
    // Called from any thread: makes a blocked receive() or send_packet() look
    // at the flags again.
    virtual void wake(bool closing) = 0;
    // Appends to pending_ what arrives within the time-out (negative: no
    // limit); returns early once interrupted. False when closing or on error.
    virtual bool receive(int timeout_ms) = 0;
    // One whole packet, type byte first.
    virtual bool send_packet(std::span<const uint8_t> packet) = 0;

    // The milliseconds left before `deadline` (kPollSlice at most), or -1 once passed.
    static int slice_until(Clock::time_point deadline, int timeout_ms) {
        if (timeout_ms < 0) return static_cast<int>(kPollSlice.count());
        const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
        return left.count() <= 0 ? -1 : static_cast<int>(std::min(left, kPollSlice).count());
    }

    std::atomic<bool> closing_{false};
    std::atomic<bool> interrupted_{false};
    std::deque<uint8_t> pending_;  // H4 bytes; guarded by read_mutex_

private:
    std::mutex read_mutex_;
    std::mutex write_mutex_;
    bool is_open_ = false;
    H4PacketSplitter splitter_;  // guarded by write_mutex_
};

// ---- USB through libusb ----

constexpr uint8_t kBluetoothClass[] = {0xE0, 0x01, 0x01};  // wireless controller, RF, Bluetooth
constexpr int kInterface = 0;
constexpr uint8_t kCommandRequestType = 0x20;  // class request to the device
constexpr int kEventBufferSize = 1024;   // whole max-size packets: a short one ends a transfer
constexpr int kAclBufferSize = 16384;

class UsbStream final : public PacketStream {
public:
    UsbStream(std::string name, unsigned number) : PacketStream(std::move(name)), number_(number) {}
    ~UsbStream() override {
        close();
        if (context_) libusb_exit(context_);
    }

protected:
    bool connect(std::string& error) override {
        const std::string device = "USB Bluetooth device number " + std::to_string(number_);
        if (!context_) {  // a context of our own: nothing shared with other streams
            libusb_context* context = nullptr;
            if (int rc = libusb_init(&context); rc != 0) {
                error = "cannot initialise libusb for " + device + ": " + libusb_strerror(rc);
                return false;
            }
            context_ = context;
        }
        libusb_device** list = nullptr;
        const ssize_t count = libusb_get_device_list(context_, &list);
        if (count < 0) {
            error = "cannot list USB devices for " + device + ": " + libusb_strerror(static_cast<int>(count));
            return false;
        }
        libusb_device* found = nullptr;
        // The search stops at the device it wants, so the endpoints remembered are that one's.
        for (ssize_t index = 0, seen = 0; index < count && !found; ++index) {
            if (find_endpoints(list[index]) && static_cast<unsigned>(seen++) == number_) found = list[index];
        }
        int rc = found ? libusb_open(found, &handle_) : 0;
        libusb_free_device_list(list, 1);  // an opened handle keeps its device
        if (!found) {
            error = "no " + device + " found";
            return false;
        }
        // The kernel's own driver is detached while claimed and attached again on release.
        if (rc == 0) libusb_set_auto_detach_kernel_driver(handle_, 1);
        if (rc == 0) rc = libusb_claim_interface(handle_, kInterface);
        claimed_ = rc == 0;
        if (rc == 0) rc = start_in_pipes();
        if (rc != 0) {
            error = "cannot open " + device + ": " + libusb_strerror(rc);
            disconnect();
        }
        return rc == 0;
    }

    void disconnect() override {
        for (InPipe* pipe : {&events_, &acl_in_}) {
            if (pipe->transfer && pipe->in_flight) libusb_cancel_transfer(pipe->transfer);
        }
        // A cancelled transfer still completes; its callback must not outlive us.
        while (in_flight()) handle_events(kPollSlice.count());
        for (InPipe* pipe : {&events_, &acl_in_}) {
            libusb_free_transfer(std::exchange(pipe->transfer, nullptr));
            pipe->splitter.reset();
        }
        if (claimed_) libusb_release_interface(handle_, kInterface);
        if (handle_) libusb_close(handle_);
        handle_ = nullptr;
        claimed_ = failed_ = false;
        inbox_.clear();
    }

    void wake(bool) override {
        if (libusb_context* context = context_) libusb_interrupt_event_handler(context);
    }

    bool receive(int timeout_ms) override {
        const auto deadline = Clock::now() + milliseconds(timeout_ms);
        for (;;) {
            {
                std::lock_guard lock(inbox_mutex_);
                if (!inbox_.empty()) {
                    for (const auto& packet : inbox_)
                        pending_.insert(pending_.end(), packet.begin(), packet.end());
                    inbox_.clear();
                    return true;
                }
                if (failed_) return false;
            }
            if (closing_) return false;
            const int slice = slice_until(deadline, timeout_ms);
            if (interrupted_ || slice < 0) return true;
            handle_events(slice);
        }
    }

    bool send_packet(std::span<const uint8_t> packet) override {
        const auto body = packet.subspan(1);
        std::vector<uint8_t> buffer;
        std::unique_ptr<libusb_transfer, decltype(&libusb_free_transfer)> transfer(
            libusb_alloc_transfer(0), &libusb_free_transfer);
        int completed = 0;
        if (!transfer) return false;
        if (packet[0] == h4::kCommand) {
            buffer.resize(LIBUSB_CONTROL_SETUP_SIZE + body.size());
            libusb_fill_control_setup(buffer.data(), kCommandRequestType, 0,
                                      0, kInterface, static_cast<uint16_t>(body.size()));
            std::copy(body.begin(), body.end(), buffer.begin() + LIBUSB_CONTROL_SETUP_SIZE);
            libusb_fill_control_transfer(transfer.get(), handle_, buffer.data(), on_sent, &completed, 0);
        } else if (packet[0] == h4::kAcl) {
            buffer.assign(body.begin(), body.end());
            libusb_fill_bulk_transfer(transfer.get(), handle_, acl_out_, buffer.data(),
                                      static_cast<int>(buffer.size()), on_sent, &completed, 0);
        } else {
            return false;  // SCO would need isochronous transfers
        }
        if (libusb_submit_transfer(transfer.get()) != 0) return false;
        // Events are handled here too, so a write never waits for the reader.
        for (bool cancelled = false; !completed;) {
            if (closing_ && !cancelled) {
                libusb_cancel_transfer(transfer.get());
                cancelled = true;
            }
            handle_events(kPollSlice.count(), &completed);
        }
        return transfer->status == LIBUSB_TRANSFER_COMPLETED &&
               transfer->actual_length == static_cast<int>(body.size());
    }

private:
    struct InPipe {
        UsbStream* owner;
        H4PacketSplitter splitter;
        libusb_transfer* transfer = nullptr;
        std::vector<uint8_t> buffer{};
        uint8_t endpoint = 0;
        bool in_flight = false;  // guarded by inbox_mutex_
    };

    // True when `device`'s interface 0 is a Bluetooth one with the three
    // endpoints needed; remembers them.
    bool find_endpoints(libusb_device* device) {
        libusb_config_descriptor* config = nullptr;
        if (libusb_get_active_config_descriptor(device, &config) != 0) return false;
        std::unique_ptr<libusb_config_descriptor, decltype(&libusb_free_config_descriptor)> owner(
            config, &libusb_free_config_descriptor);
        if (config->bNumInterfaces <= kInterface || config->interface[kInterface].num_altsetting < 1)
            return false;
        const libusb_interface_descriptor& alt = config->interface[kInterface].altsetting[0];
        if (alt.bInterfaceClass != kBluetoothClass[0] || alt.bInterfaceSubClass != kBluetoothClass[1] ||
            alt.bInterfaceProtocol != kBluetoothClass[2])
            return false;
        events_.endpoint = acl_in_.endpoint = acl_out_ = 0;
        for (int i = 0; i < alt.bNumEndpoints; ++i) {
            const libusb_endpoint_descriptor& ep = alt.endpoint[i];
            const int kind = ep.bmAttributes & LIBUSB_TRANSFER_TYPE_MASK;
            const bool in = (ep.bEndpointAddress & LIBUSB_ENDPOINT_DIR_MASK) == LIBUSB_ENDPOINT_IN;
            if (kind == LIBUSB_TRANSFER_TYPE_INTERRUPT && in) events_.endpoint = ep.bEndpointAddress;
            if (kind == LIBUSB_TRANSFER_TYPE_BULK) (in ? acl_in_.endpoint : acl_out_) = ep.bEndpointAddress;
        }
        return events_.endpoint && acl_in_.endpoint && acl_out_;
    }

    int start_in_pipes() {
        for (InPipe* pipe : {&events_, &acl_in_}) {
            pipe->transfer = libusb_alloc_transfer(0);
            if (!pipe->transfer) return LIBUSB_ERROR_NO_MEM;
            const bool events = pipe == &events_;
            pipe->buffer.resize(events ? kEventBufferSize : kAclBufferSize);
            (events ? libusb_fill_interrupt_transfer : libusb_fill_bulk_transfer)(
                pipe->transfer, handle_, pipe->endpoint, pipe->buffer.data(),
                static_cast<int>(pipe->buffer.size()), on_received, pipe, 0);
            if (int rc = libusb_submit_transfer(pipe->transfer); rc != 0) return rc;
            std::lock_guard lock(inbox_mutex_);
            pipe->in_flight = true;
        }
        return 0;
    }

    bool in_flight() {
        std::lock_guard lock(inbox_mutex_);
        return events_.in_flight || acl_in_.in_flight;
    }

    // Whichever thread calls this runs the callbacks of every completed transfer.
    void handle_events(long ms, int* completed = nullptr) {
        timeval slice{ms / 1000, ms % 1000 * 1000};
        libusb_handle_events_timeout_completed(context_, &slice, completed);
    }

    static void LIBUSB_CALL on_sent(libusb_transfer* transfer) {
        *static_cast<int*>(transfer->user_data) = 1;
    }

    // Runs on whichever thread is handling events: the reader's or the writer's.
    static void LIBUSB_CALL on_received(libusb_transfer* transfer) {
        auto* pipe = static_cast<InPipe*>(transfer->user_data);
        UsbStream& self = *pipe->owner;
        std::lock_guard lock(self.inbox_mutex_);
        if (transfer->status == LIBUSB_TRANSFER_COMPLETED) {
            // A packet may span transfers, and a transfer may hold several.
            const size_t got = static_cast<size_t>(transfer->actual_length);
            pipe->splitter.feed({transfer->buffer, got}, self.inbox_);
            if (self.closing_) {
                pipe->in_flight = false;
            } else if (libusb_submit_transfer(transfer) != 0) {
                pipe->in_flight = false;
                self.failed_ = true;
            }
            return;
        }
        pipe->in_flight = false;
        if (transfer->status != LIBUSB_TRANSFER_CANCELLED) self.failed_ = true;  // stall, device gone
    }

    const unsigned number_;
    std::atomic<libusb_context*> context_{nullptr};  // kept from the first open to the end
    libusb_device_handle* handle_ = nullptr;
    bool claimed_ = false;
    uint8_t acl_out_ = 0;
    InPipe events_{.owner = this, .splitter = H4PacketSplitter(h4::kEvent)};
    InPipe acl_in_{.owner = this, .splitter = H4PacketSplitter(h4::kAcl)};
    std::mutex inbox_mutex_;
    std::vector<std::vector<uint8_t>> inbox_;  // guarded by inbox_mutex_
    bool failed_ = false;                      // guarded by inbox_mutex_
};

// ---- The kernel's HCI user channel ----

constexpr int kAfBluetooth = 31;
constexpr int kBtProtoHci = 1;
constexpr unsigned short kHciChannelUser = 1;
constexpr size_t kMaxHciFrame = 1 + h4::kAclHeaderLength + 65535;

struct SockaddrHci {
    sa_family_t hci_family;
    unsigned short hci_dev;
    unsigned short hci_channel;
};



// The socket keeps packet boundaries and already puts the H4 type byte first.
class UserChannelStream final : public PacketStream {
public:
    UserChannelStream(std::string name, unsigned number) : PacketStream(std::move(name)), number_(number) {}
    ~UserChannelStream() override { close(); }

protected:
    bool connect(std::string& error) override {
        const std::string prefix = "cannot open hci" + std::to_string(number_) + ": ";
        if (interrupt_event_.get() < 0 || closing_event_.get() < 0) {
            error = prefix + "cannot create wake-up events";
            return false;
        }
        if (number_ > USHRT_MAX) {
            error = prefix + errno_text(ENODEV);
            return false;
        }
        socket_.reset(::socket(kAfBluetooth, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, kBtProtoHci));
        const SockaddrHci address{kAfBluetooth, static_cast<unsigned short>(number_), kHciChannelUser};
        if (socket_.get() < 0 ||
            ::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            error = prefix + errno_text();
            socket_.reset();
            return false;
        }
        drain_event(interrupt_event_);
        drain_event(closing_event_);
        return true;
    }

    void disconnect() override { socket_.reset(); }

    void wake(bool closing) override { signal_event(closing ? closing_event_ : interrupt_event_); }

    bool receive(int timeout_ms) override {
        const auto deadline = Clock::now() + milliseconds(timeout_ms);
        for (;;) {
            const int slice = slice_until(deadline, timeout_ms);
            if (interrupted_ || slice < 0) return true;
            pollfd fds[] = {{socket_.get(), POLLIN, 0},
                            {interrupt_event_.get(), POLLIN, 0},
                            {closing_event_.get(), POLLIN, 0}};
            if (::poll(fds, 3, slice) < 0 && errno != EINTR) return false;
            if (closing_ || fds[2].revents != 0) return false;
            if (fds[1].revents != 0) drain_event(interrupt_event_);
            if (fds[0].revents == 0) continue;
            const ssize_t got = ::recv(socket_.get(), frame_.data(), frame_.size(), 0);
            if (got > 0) {
                pending_.insert(pending_.end(), frame_.begin(), frame_.begin() + got);
                return true;
            }
            if (got == 0 || (errno != EAGAIN && errno != EINTR)) return false;  // controller gone
        }
    }

    bool send_packet(std::span<const uint8_t> packet) override {
        for (;;) {
            if (::send(socket_.get(), packet.data(), packet.size(), MSG_NOSIGNAL) >= 0) return true;
            if (errno != EAGAIN && errno != EINTR) return false;
            pollfd fds[] = {{socket_.get(), POLLOUT, 0}, {closing_event_.get(), POLLIN, 0}};
            if (::poll(fds, 2, -1) < 0 && errno != EINTR) return false;
            if (fds[1].revents != 0) return false;
        }
    }

private:
    const unsigned number_;
    UniqueFd socket_;
    const UniqueFd interrupt_event_{make_event()};  // consumed by read
    const UniqueFd closing_event_{make_event()};    // sticky until open
    std::vector<uint8_t> frame_ = std::vector<uint8_t>(kMaxHciFrame);
};

}  // namespace

bool is_usb_device_name(std::string_view name) {
    return name.size() > 4 && (name[4] == 'c' || name[4] == 'C');
}

bool is_hci_user_channel_name(std::string_view name) {
    return name.size() > 6 && (name[6] == 'w' || name[6] == 'W');
}

unsigned device_number(std::string_view name) {
    const size_t digits = name.find_last_not_of("0123456789") + 1;  // npos + 1 == 0: all digits
    unsigned number = 0;
    const auto result = std::from_chars(name.data() + digits, name.data() + name.size(), number);
    return result.ec == std::errc::result_out_of_range ? UINT_MAX : number;
}

H4PacketSplitter::H4PacketSplitter(uint8_t implied_type) : implied_type_(implied_type) {
    if (!find_layout(implied_type)) throw std::invalid_argument("unknown H4 packet type");
}

void H4PacketSplitter::reset() {
    partial_.clear();
    header_done_ = false;
}

bool H4PacketSplitter::feed(std::span<const uint8_t> bytes, std::vector<std::vector<uint8_t>>& packets) {
    while (!bytes.empty()) {
        if (partial_.empty()) {
            const uint8_t type = implied_type_.value_or(bytes.front());
            const PacketLayout* layout = find_layout(type);
            if (!implied_type_) {
                if (!layout || !layout->host_sends) {
                    reset();
                    return false;
                }
                bytes = bytes.subspan(1);
            }
            partial_.push_back(type);
            wanted_ = 1 + layout->header_length;
            length_at_ = layout->length_at;
            wide_length_ = layout->wide_length;
        }
        const size_t take = std::min(wanted_ - partial_.size(), bytes.size());
        partial_.insert(partial_.end(), bytes.begin(), bytes.begin() + static_cast<long>(take));
        bytes = bytes.subspan(take);
        if (partial_.size() < wanted_) break;
        if (!header_done_) {
            header_done_ = true;
            wanted_ += partial_[length_at_];
            if (wide_length_) wanted_ += partial_[length_at_ + 1] << 8;  // little-endian
        }
        if (partial_.size() == wanted_) {
            packets.push_back(std::move(partial_));
            reset();
        }
    }
    return true;
}

std::unique_ptr<ByteStream> make_usb_stream(std::string_view device_name, std::string& error) {
    if (!is_usb_device_name(device_name)) {
        error = "not a USB device name '" + std::string(device_name) + "'";
        return nullptr;
    }
    return std::make_unique<UsbStream>(std::string(device_name), device_number(device_name));
}

std::unique_ptr<ByteStream> make_hci_user_channel_stream(std::string_view device_name, std::string& error) {
    if (!is_hci_user_channel_name(device_name)) {
        error = "not an HCI user channel name '" + std::string(device_name) + "'";
        return nullptr;
    }
    return std::make_unique<UserChannelStream>(std::string(device_name), device_number(device_name));
}

}  // namespace kestrel

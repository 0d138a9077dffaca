#include "sim/simulated_chip.h"

#include <algorithm>
#include <atomic>

namespace kestrel::sim {
namespace {

constexpr uint8_t kPtspStart = 0xC0;
constexpr uint8_t kH4Command = 0x01;
constexpr int kLineWatchMs = 50;  // how often a detecting or halted chip looks up

}  // namespace

// The stream that one link of the chip uses: the line, seen through the
// bytes read while the protocol was detected. Closing it leaves the line
// alone, so that a restarted chip starts a new link on the same line.
class SimulatedChip::Port final : public ByteStream {
public:
    Port(std::shared_ptr<ConditionedStream> line, std::vector<uint8_t> first_bytes, std::function<void()> on_end)
        : ByteStream(line->name()), line_(std::move(line)), first_bytes_(std::move(first_bytes)),
          on_end_(std::move(on_end)) {}

    bool open(std::string& error) override {
        if (!closed_) return true;
        error = "chip link closed";
        return false;
    }

    // Only the link's reader reads.
    long read(std::span<uint8_t> buffer, int timeout_ms) override {
        if (closed_) return -1;
        if (!first_bytes_.empty()) {
            const size_t count = std::min(buffer.size(), first_bytes_.size());
            std::copy_n(first_bytes_.begin(), count, buffer.begin());
            first_bytes_.erase(first_bytes_.begin(), first_bytes_.begin() + static_cast<long>(count));
            return static_cast<long>(count);
        }
        const long got = line_->read(buffer, timeout_ms);
        if (got < 0 && !closed_) on_end_();
        return got;
    }

    bool write(std::span<const uint8_t> data) override { return !closed_ && line_->write(data); }
    void interrupt() override { line_->interrupt(); }
    void close() override { closed_ = true; }

private:
    const std::shared_ptr<ConditionedStream> line_;
    std::vector<uint8_t> first_bytes_;
    const std::function<void()> on_end_;
    std::atomic<bool> closed_{false};
};

SimulatedChip::SimulatedChip(Options options)
    : configured_protocol_(options.protocol),
      model_(std::move(options.ps),
             ChipModel::Outputs{
                 [this](uint8_t channel, std::vector<uint8_t> message) { send_from_chip(channel, std::move(message)); },
                 [this](const ChipRequest& request) { on_request(request); },
             },
             std::move(options.stack)),
      conditions_(options.conditions) {
    thread_ = std::thread(&SimulatedChip::supervise, this);
}

SimulatedChip::~SimulatedChip() {
    if (StackModel* stack = model_.stack()) stack->stop();
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
        wake();
    }
    thread_.join();
}

bool SimulatedChip::attach(std::unique_ptr<ByteStream> stream, std::string& error) {
    Lock lock(mutex_);
    if (stopping_ || line_) {
        error = "a host is connected to the chip already";
        return false;
    }
    auto line = std::make_shared<ConditionedStream>(std::move(stream), conditions_);
    if (!line->open(error)) return false;
    line_ = std::move(line);
    ++generation_;
    state_ = State::detecting;
    protocol_.reset();
    first_bytes_.clear();
    line_ended_ = detach_wanted_ = halt_wanted_ = false;
    restart_wanted_.reset();
    panic_due_.reset();
    wake();
    return true;
}

void SimulatedChip::detach() {
    std::lock_guard lock(mutex_);
    if (!line_) return;
    detach_wanted_ = true;
    wake();
}

void SimulatedChip::set_unplugged_handler(std::function<void()> handler) {
    std::lock_guard lock(mutex_);
    unplugged_handler_ = std::move(handler);
}

SimulatedChip::State SimulatedChip::state() const {
    std::lock_guard lock(mutex_);
    return state_;
}

std::optional<LinkProtocol> SimulatedChip::protocol() const {
    std::lock_guard lock(mutex_);
    return protocol_;
}

uint64_t SimulatedChip::starts() const {
    std::lock_guard lock(mutex_);
    return starts_;
}

void SimulatedChip::wake() {
    wake_.notify_all();
    // A detecting or halted chip waits in a read of the line.
    if (line_) line_->interrupt();
}

// The chip's thread: every change of the chip's life happens here, so that
// links are stopped by a thread that none of them runs on.
void SimulatedChip::supervise() {
    Lock lock(mutex_);
    for (;;) {
        if (stopping_) {
            if (line_) unplug(lock);
            return;
        }
        if (line_ && (line_ended_ || detach_wanted_)) {
            unplug(lock);
            if (stopping_) continue;  // the chip is going: nobody to tell
            std::function<void()> handler = unplugged_handler_;
            lock.unlock();
            if (handler) handler();
            lock.lock();
            continue;
        }
        switch (state_) {
        case State::unplugged:
            wake_.wait(lock);
            break;
        case State::detecting:
            detect(lock);
            break;
        case State::halted:
            if (restart_wanted_) {
                start_chip(lock, *restart_wanted_);
            } else {
                drain_halted(lock);
            }
            break;
        case State::running:
            if (restart_wanted_) {
                const Restart kind = *restart_wanted_;
                stop_link(lock);
                start_chip(lock, kind);
            } else if (halt_wanted_) {
                halt_wanted_ = false;
                stop_link(lock);
                state_ = State::halted;
            } else if (panic_due_ && Clock::now() >= panic_due_->first) {
                const uint16_t code = panic_due_->second;
                panic_due_.reset();
                lock.unlock();
                model_.panic(code);
                lock.lock();
                if (state_ == State::running && !restart_wanted_) restart_wanted_ = Restart::warm;
            } else if (panic_due_) {
                wake_.wait_until(lock, panic_due_->first);
            } else {
                wake_.wait(lock);
            }
            break;
        }
    }
}

void SimulatedChip::detect(Lock& lock) {
    if (configured_protocol_) {
        protocol_ = configured_protocol_;
        start_chip(lock, Restart::power_on);
        return;
    }
    std::shared_ptr<ConditionedStream> line = line_;
    lock.unlock();
    std::vector<uint8_t> buffer(4096);
    const long got = line->read(buffer, kLineWatchMs);
    lock.lock();
    if (got < 0) {
        line_ended_ = true;
        return;
    }
    if (line != line_ || state_ != State::detecting) return;
    const auto end = buffer.begin() + got;
    const auto first = std::find_if(buffer.begin(), end, [](uint8_t b) { return b == kPtspStart || b == kH4Command; });
    if (first == end) return;
    protocol_ = *first == kPtspStart ? LinkProtocol::ptsp : LinkProtocol::h4;
    first_bytes_.assign(first, end);
    start_chip(lock, Restart::power_on);
}

// A halted chip hears nothing: what the host sends is read and dropped.
void SimulatedChip::drain_halted(Lock& lock) {
    std::shared_ptr<ConditionedStream> line = line_;
    lock.unlock();
    std::vector<uint8_t> buffer(4096);
    const long got = line->read(buffer, kLineWatchMs);
    lock.lock();
    if (got < 0 && line == line_) line_ended_ = true;
}

void SimulatedChip::start_chip(Lock& lock, Restart kind) {
    model_.restart(kind);
    const uint64_t generation = generation_;
    auto port = std::make_unique<Port>(line_, std::move(first_bytes_), [this, generation] { on_line_end(generation); });
    first_bytes_.clear();
    MessageLink::Handlers handlers{
        [this](uint8_t channel, std::span<const uint8_t> message) {
            record(channel, message);
            model_.receive(channel, message);
        },
        {},  // the host restarting its link leaves the chip as it is
        {},
    };
    auto link = std::make_shared<MessageLink>(std::move(port), *protocol_, LinkRole::chip, std::move(handlers));
    link_ = link;
    state_ = State::running;
    restart_wanted_.reset();
    halt_wanted_ = false;
    panic_due_.reset();
    ++starts_;
    lock.unlock();
    // Queued before the link starts, so the line comes before any answer.
    model_.announce();
    std::string error;
    link->start(0, error);  // the chip does not wait for the host
    lock.lock();
}

void SimulatedChip::stop_link(Lock& lock) {
    std::shared_ptr<MessageLink> link = std::move(link_);
    link_.reset();
    if (!link) return;
    lock.unlock();
    link->stop();  // joins the reader, which may be sending through link_
    link.reset();
    lock.lock();
}

void SimulatedChip::unplug(Lock& lock) {
    stop_link(lock);
    std::shared_ptr<ConditionedStream> line = std::move(line_);
    line_.reset();
    state_ = State::unplugged;
    lock.unlock();
    if (line) line->close();
    lock.lock();
    line_ended_ = detach_wanted_ = halt_wanted_ = false;
    restart_wanted_.reset();
    panic_due_.reset();
}

void SimulatedChip::on_request(const ChipRequest& request) {
    std::lock_guard lock(mutex_);
    switch (request.kind) {
    case ChipRequest::Kind::restart_cold: restart_wanted_ = Restart::cold; break;
    case ChipRequest::Kind::restart_warm: restart_wanted_ = Restart::warm; break;
    case ChipRequest::Kind::halt: halt_wanted_ = true; break;
    case ChipRequest::Kind::panic:
        panic_due_.emplace(Clock::now() + std::chrono::milliseconds(request.delay_ms), request.code);
        break;
    }
    wake();
}

void SimulatedChip::on_line_end(uint64_t generation) {
    std::lock_guard lock(mutex_);
    if (generation != generation_) return;
    line_ended_ = true;
    wake();
}

void SimulatedChip::record(uint8_t channel, std::span<const uint8_t> message) {
    std::lock_guard lock(record_mutex_);
    if (received_.size() == kMaxReceived) {
        received_.pop_front();
        ++received_lost_;
    }
    received_.push_back({channel, {message.begin(), message.end()}});
}

std::vector<SimulatedChip::Received> SimulatedChip::received() const {
    std::lock_guard lock(record_mutex_);
    return {received_.begin(), received_.end()};
}

uint64_t SimulatedChip::received_lost() const {
    std::lock_guard lock(record_mutex_);
    return received_lost_;
}

void SimulatedChip::clear_received() {
    std::lock_guard lock(record_mutex_);
    received_.clear();
    received_lost_ = 0;
}

// The model's answers. A chip that is restarting has no link: what it says
// meanwhile is lost, as on a chip whose UART is being reset.
void SimulatedChip::send_from_chip(uint8_t channel, std::vector<uint8_t> message) {
    std::shared_ptr<MessageLink> link;
    {
        std::lock_guard lock(mutex_);
        link = link_;
    }
    if (link) link->send(channel, message);
}

bool SimulatedChip::chip_ready(std::string& error) const {
    switch (state_) {
    case State::running: return true;
    case State::unplugged: error = "Error, no host is connected to the chip\n"; return false;
    case State::detecting: error = "Error, the chip is waiting for the host's first byte\n"; return false;
    case State::halted: error = "Error, the chip is halted\n"; return false;
    }
    return false;
}

bool SimulatedChip::send(uint8_t channel, std::span<const uint8_t> message, std::string& error) {
    std::shared_ptr<MessageLink> link;
    {
        std::lock_guard lock(mutex_);
        if (!chip_ready(error)) return false;
        link = link_;
    }
    if (!link || !link->send(channel, message)) {
        error = "Error, a message of " + std::to_string(message.size()) + " bytes is too long for the link\n";
        return false;
    }
    return true;
}

bool SimulatedChip::reset(Restart kind, std::string& error) {
    std::lock_guard lock(mutex_);
    if (state_ != State::halted && !chip_ready(error)) return false;
    restart_wanted_ = kind;
    wake();
    return true;
}

bool SimulatedChip::halt(std::string& error) {
    std::lock_guard lock(mutex_);
    if (state_ == State::halted) return true;
    if (!chip_ready(error)) return false;
    halt_wanted_ = true;
    wake();
    return true;
}

LinkConditions SimulatedChip::conditions() const {
    std::lock_guard lock(mutex_);
    return conditions_;
}

void SimulatedChip::set_conditions(const LinkConditions& conditions) {
    std::lock_guard lock(mutex_);
    conditions_ = conditions;
    if (line_) line_->set_conditions(conditions);
}

uint64_t SimulatedChip::bytes_dropped() const {
    std::lock_guard lock(mutex_);
    return line_ ? line_->bytes_dropped() : 0;
}

uint64_t SimulatedChip::bytes_corrupted() const {
    std::lock_guard lock(mutex_);
    return line_ ? line_->bytes_corrupted() : 0;
}

}  // namespace kestrel::sim
